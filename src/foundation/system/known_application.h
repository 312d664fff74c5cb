// How the processes of an application are recognised.
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

// Describes the application that is, or was, at `place`. If it does not state its identifier, it gets
// `identifier`. If a bundle does not state its executable's name, the bundle's own name is taken.
KnownApplication DescribeApplication(const std::string& place, const std::string& identifier);

// True when the process runs the application's executable, or interprets it as a script, or was started under
// its name. The process's names are compared as texts first, and looked up in the file system only if they
// can lead to the application, since a mount that does not answer would block the caller.
bool BelongsTo(const RunningProcess& process, const KnownApplication& application);

// The bundles, other than those of the applications, that contain the process's executable by its path, or an
// argument that has the name of one of these applications' executables and so may be the script.
std::vector<std::string> OtherBundlesOf(const RunningProcess& process,
                                        const std::vector<KnownApplication>& applications);

}  // namespace tollmere
