// Who may write to what decides which program is run, and whether that program is there.
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "application.h"
#include "check.h"
#include "foundation/system/application_bundle.h"
#include "foundation/system/file_item.h"
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

}  // namespace

void CheckWriters(const std::string& path, Findings& findings) {
  std::set<std::string> looked_at;
  std::error_code error;
  for (const std::string& way : {path, std::filesystem::canonical(path, error).string()}) {
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
  const MainApplication application = FindApplication();
  if (application.path.empty()) {
    findings.push_back({nullptr, "", "Tollmere is in none of the three places: " + application.problem});
    return;
  }
  if (!application.problem.empty()) {
    findings.push_back(
        {nullptr, "", "Tollmere at " + application.path + " cannot be started: " + application.problem});
  }
  CheckWriters(application.path, findings);
  if (!application.executable.empty() && application.executable != application.path) {
    CheckWriters(application.executable, findings);
    CheckWriters(application.path + "/Contents/Info.plist", findings);
  }
}

}  // namespace tollmere
