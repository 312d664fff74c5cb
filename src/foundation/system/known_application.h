// What tells an application's processes.
#pragma once

#include <string>
#include <vector>

#include "foundation/system/running_process.h"

namespace tollmere {

struct KnownApplication {
  std::string identifier;
  std::string folder;      // of the bundle; empty for a program that is none
  std::string executable;  // the path under its own name, which need not exist
  std::string target;      // where that path leads, all links followed; empty where it leads nowhere
  std::vector<std::string> interpreter;  // the words of the first line, for a script
};

// Looks at the application that lies, or has lain, at `place`. One that does not tell its identifier gets
// that one; the executable of a bundle that does not tell its name is taken to be named like the bundle.
KnownApplication DescribeApplication(const std::string& place, const std::string& identifier);

// True when the process runs the application's executable, or interprets it as a script, or was started under
// its name. The names that the process has are compared as texts first, and looked up in the file system only
// when they can lead to the application: a mount that does not answer would hold the caller up.
bool BelongsTo(const RunningProcess& process, const KnownApplication& application);

// The bundles, beside those of the applications, in which the process' executable lies by name; and those in
// which an argument of it lies that has the name of one of these applications' executables, since it may be
// the script.
std::vector<std::string> OtherBundlesOf(const RunningProcess& process,
                                        const std::vector<KnownApplication>& applications);

}  // namespace tollmere
