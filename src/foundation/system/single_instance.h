// One process of a kind for each file.
#pragma once

#include <string>

#include "foundation/system/descriptor.h"

namespace tollmere {

// As long as it lives, no other process of this user has one for the same file. It writes no file, and
// however a process ends, the next one takes over.
class SingleInstance {
 public:
  // If another process of this user holds the file at `path`, which need not exist, logs one line and waits
  // until that process has ended. Links in the file's folder are resolved. Throws EndOfProcess. If the system
  // refuses the socket that this takes, it returns at once: two agents are better than none.
  explicit SingleInstance(const std::string& path);

 private:
  Descriptor socket_;
};

}  // namespace tollmere
