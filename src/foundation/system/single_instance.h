// One process of a kind for each file.
#pragma once

#include <string>

#include "foundation/system/descriptor.h"

namespace tollmere {

// Makes this process the only one of its user that works on a file, for as long as the object lives. No file
// is written, and however a process ends, the next one takes over.
class SingleInstance {
 public:
  // Where another process of the same user holds the file at `path`, which need not exist, says so in one
  // line of the log and waits until it is gone. By which links the file's folder is reached makes no
  // difference. Throws EndOfProcess when the end of the process is asked for meanwhile. Where the system
  // refuses what this takes, it returns at once: two agents are better than none.
  explicit SingleInstance(const std::string& path);

 private:
  Descriptor socket_;
};

}  // namespace tollmere
