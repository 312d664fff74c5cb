// The running processes, and the applications that they belong to.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/object.h"
#include "foundation/system/file_item.h"
#include "foundation/system/known_application.h"

namespace tollmere {

// Remembers that the process was started for the bundle with that identifier. It belongs to that bundle as
// long as it lives. 0 is no process.
void RememberStart(pid_t process, const std::string& identifier);

// A cursor over the processes of the current user. Processes that end while it moves are passed over.
//
// A process belongs to a bundle when it was started for it, by this agent or an earlier one, or when that
// bundle's own executable is what it runs, or the script that it interprets, or what it was started as; a
// helper elsewhere in a bundle does not. It still does when the bundle has been renamed, replaced or half
// rewritten since. A process that has ended, even if its parent does not know yet, belongs to none.
class ProcessMBS final : public Object {
 public:
  // Adds a place where an application may be to those that the launch service knows; Nil adds none. A bundle
  // there that does not state its identifier, or a program that is no bundle, gets `identifier`.
  void ConsiderApplication(const Ref<FolderItem>& place, const std::string& identifier);

  // Takes the list of processes as it is now and places the cursor on the first of them. Throws EndOfProcess
  // when the end of the process is asked for meanwhile.
  void GetFirstProcess();
  // Moves on; False when there is no next, and the cursor then stands on none.
  bool GetNextProcess();
  // The identifier of the bundle that the process belongs to; empty where it belongs to none.
  std::string BundleID() const;

 private:
  std::vector<KnownApplication> applications_;
  std::vector<pid_t> processes_;  // by their numbers
  std::size_t at_ = 0;
};

}  // namespace tollmere
