// The running processes.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/object.h"

namespace tollmere {

// A cursor over the processes of the current user. Processes that end while it moves are passed over.
class ProcessMBS final : public Object {
 public:
  // Takes the list of processes as it is now and places the cursor on the first of them.
  void GetFirstProcess();
  // Moves on; False when there is no next, and the cursor then stands on none.
  bool GetNextProcess();
  // The identifier of the bundle that the process belongs to; empty where it belongs to none. It belongs
  // to a bundle when that bundle's own executable is what it runs, or the script that it interprets; a
  // helper elsewhere in a bundle does not. A process that has ended, even if its parent does not
  // know yet, belongs to none; one whose file was replaced while it runs still does.
  std::string BundleID() const;

 private:
  std::vector<int> processes_;  // by their numbers
  std::size_t at_ = 0;
};

}  // namespace tollmere
