#include "application.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "foundation/system/application_bundle.h"
#include "foundation/system/file_item.h"
#include "launch/engine.h"

namespace tollmere {

MainApplication FindApplication() {
  MainApplication found;
  const Ref<FolderItem> item = Engine::TollmereAppFile();
  if (item == nullptr || !item->Exists()) {
    found.problem = "not at LastExeLocation, no application com.vendrel.Tollmere9 in " + HomeFolder() +
                    "/Applications or /Applications, no /Applications/Tollmere.app";
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
    found.problem = error == ENOEXEC ? "it does not name its executable" : std::strerror(error);
  }
  return found;
}

}  // namespace tollmere
