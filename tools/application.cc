#include "application.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/system/application_bundle.h"
#include "foundation/system/file_item.h"
#include "foundation/system/launch_services.h"
#include "foundation/text.h"
#include "launch/engine.h"

namespace tollmere {
namespace {

constexpr const char* kIdentifier = "com.vendrel.Tollmere9";

std::string Reason(int error) {
  return error == ENOEXEC ? "it does not name its executable" : std::strerror(error);
}

// The installed applications that the search passes over, since they cannot be started.
std::string PassedOver() {
  std::string text;
  for (const std::string& path : InstalledApplications()) {
    const ApplicationBundle bundle = ReadApplicationBundle(path);
    if (EqualsIgnoringCase(bundle.identifier, kIdentifier) && bundle.error != 0) {
      text.append("; ").append(path).append(" cannot be started: ").append(Reason(bundle.error));
    }
  }
  return text;
}

}  // namespace

MainApplication FindApplication() {
  MainApplication found;
  const Ref<FolderItem> item = Engine::TollmereAppFile();
  if (item == nullptr || !item->Exists()) {
    found.problem = "not at LastExeLocation, no application com.vendrel.Tollmere9 in " + HomeFolder() +
                    "/Applications or /Applications, no /Applications/Tollmere.app" + PassedOver();
    return found;
  }
  found.path = item->Path();
  found.executable = found.path;
  struct stat status {};
  int error = stat(found.path.c_str(), &status) == 0 ? 0 : errno;
  if (error == 0 && S_ISDIR(status.st_mode)) {
    const ApplicationBundle bundle = ReadApplicationBundle(found.path);
    error = bundle.error;
    found.executable = bundle.executable;
  }
  if (error == 0 && access(found.executable.c_str(), X_OK) != 0) {
    error = errno;
  }
  if (error != 0) {
    found.problem = Reason(error);
  }
  return found;
}

}  // namespace tollmere
