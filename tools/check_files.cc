// Who may write to what decides which program is run, and whether that program is there.
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>

#include "check.h"
#include "foundation/system/application_bundle.h"
#include "foundation/system/file_item.h"
#include "launch/engine.h"
#include "preferences/core_preferences.h"

namespace tollmere {
namespace {

std::string UserName(uid_t user) {
  const passwd* const entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : std::to_string(user);
}

// A group that has the user's own name is, by custom, the user's alone.
bool IsOwnGroup(gid_t group) {
  const struct group* const entry = getgrgid(group);
  return entry != nullptr && UserName(geteuid()) == entry->gr_name;
}

// Which other users may write; empty for none. Of a folder whose entries only their owners may rename, all
// may.
std::string OtherWriters(const struct stat& status) {
  if (status.st_uid != geteuid() && status.st_uid != 0) {
    return "belongs to " + UserName(status.st_uid);
  }
  if (S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0) {
    return {};
  }
  if ((status.st_mode & S_IWOTH) != 0) {
    return "may be written by every user";
  }
  return (status.st_mode & S_IWGRP) != 0 && !IsOwnGroup(status.st_gid) ? "may be written by a group of users"
                                                                       : "";
}

std::string StartProblem(const std::string& path) {
  struct stat status {};
  int error = stat(path.c_str(), &status) == 0 ? 0 : errno;
  std::string executable = path;
  if (error == 0 && S_ISDIR(status.st_mode)) {
    const ApplicationBundle bundle = ReadApplicationBundle(path);
    error = bundle.error;
    executable = bundle.executable;
  }
  if (error == 0 && (access(executable.c_str(), X_OK) != 0 || stat(executable.c_str(), &status) != 0)) {
    error = errno;
  }
  return error == ENOEXEC ? "it does not name its executable" : error != 0 ? std::strerror(error) : "";
}

}  // namespace

void CheckWriters(const std::string& path, Findings& findings) {
  std::set<std::string> looked_at;
  for (const std::string& way : {path, ResolvePath(path)}) {
    if (way.empty()) {
      continue;
    }
    for (Ref<FolderItem> item = New<FolderItem>(way); item != nullptr; item = item->Parent()) {
      struct stat status {};
      if (!looked_at.insert(item->Path()).second || stat(item->Path().c_str(), &status) != 0) {
        continue;
      }
      const std::string writers = OtherWriters(status);
      if (!writers.empty()) {
        findings.push_back(
            {nullptr, "", item->Path() + " " + writers + ", who can have any program run as this user"});
      }
    }
  }
}

void CheckApplication(Findings& findings) {
  const std::string location = CorePreferencesModified::GetPrefsBinaryValue("LastExeLocation");
  const Ref<FolderItem> stored = CorePreferencesModified::GetPrefsFileValue("LastExeLocation");
  if (!location.empty() && (stored == nullptr || !stored->Exists())) {
    findings.push_back({nullptr, "LastExeLocation", "leads nowhere: " + location});
  }
  const Ref<FolderItem> application = Engine::TollmereAppFile();
  if (application == nullptr || !application->Exists()) {
    findings.push_back(
        {nullptr, "",
         "Tollmere is in none of the three places: not at LastExeLocation, not as an application "
         "com.vendrel.Tollmere9 in " +
             HomeFolder() + "/Applications or /Applications, not as /Applications/Tollmere.app"});
    return;
  }
  const std::string& path = application->Path();
  const std::string problem = StartProblem(path);
  if (!problem.empty()) {
    findings.push_back({nullptr, "", "Tollmere at " + path + " cannot be started: " + problem});
  }
  CheckWriters(path, findings);
  const ApplicationBundle bundle = ReadApplicationBundle(path);
  if (!bundle.executable.empty()) {
    CheckWriters(bundle.executable, findings);
    CheckWriters(path + "/Contents/Info.plist", findings);
  }
}

}  // namespace tollmere
