// Prints the keys of the store that are read, one a line, for the checks of the documents.
#include <cstdio>

#include "stored_keys.h"

int main() {
  for (const auto keys : {tollmere::AlarmKeys(), tollmere::DomainKeys()}) {
    for (const tollmere::StoredKey& key : keys) {
      std::printf("%s\n", key.name.data());  // The names are literals.
    }
  }
}
