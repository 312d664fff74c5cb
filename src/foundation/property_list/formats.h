// The two readers behind ParsePropertyList.
#pragma once

#include <array>
#include <functional>
#include <iterator>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "foundation/property_list/stored_objects.h"

namespace tollmere {

// What a reader throws at the first fault; ParsePropertyList answers it with Nil.
struct MalformedPropertyList {};

// Dictionaries as they are read. A list of alarms holds thousands that have one and the same key and value,
// its flags; of these each is made once as long as it is among those met lately.
class DictionaryMaker {
 public:
  // Takes the entries over.
  Ref<CFObjectMBS> Make(std::span<CFDictionaryListMBS::Entry> entries) {
    if (entries.size() != 1) {
      return New<CFDictionaryMBS>(Moved(entries));
    }
    const CFObjectMBS* const key = entries[0].first.Get();
    const CFObjectMBS* const value = entries[0].second.Get();
    const std::hash<const CFObjectMBS*> hash;
    Recent& recent = recent_[(hash(key) / 16 + hash(value) / 32) % recent_.size()];
    if (recent.dictionary == nullptr || recent.key != key || recent.value != value) {
      recent = {key, value, New<CFDictionaryMBS>(Moved(entries))};
    }
    return recent.dictionary;
  }

 private:
  static std::vector<CFDictionaryListMBS::Entry> Moved(std::span<CFDictionaryListMBS::Entry> entries) {
    return {std::make_move_iterator(entries.begin()), std::make_move_iterator(entries.end())};
  }

  struct Recent {
    const CFObjectMBS* key = nullptr;  // held by the dictionary, as the value is
    const CFObjectMBS* value = nullptr;
    Ref<CFObjectMBS> dictionary;
  };

  std::array<Recent, 64> recent_;
};

// `text` is UTF-8. Throws MalformedPropertyList.
Ref<CFObjectMBS> ParseXmlPropertyList(std::string_view text);
// `bytes` begin with "bplist". Throws MalformedPropertyList.
Ref<CFObjectMBS> ParseBinaryPropertyList(std::string_view bytes);

}  // namespace tollmere
