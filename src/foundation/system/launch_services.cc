#include "foundation/system/launch_services.h"

#include <dirent.h>

#include <algorithm>
#include <string>
#include <vector>

#include "foundation/system/application_bundle.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

std::vector<std::string> BundleNames(const std::string& folder) {
  std::vector<std::string> names;
  DIR* stream = opendir(folder.c_str());
  if (stream == nullptr) {
    return names;
  }
  while (const dirent* entry = readdir(stream)) {
    if (std::string_view(entry->d_name).ends_with(".app")) {
      names.emplace_back(entry->d_name);
    }
  }
  closedir(stream);
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace

Ref<FolderItem> LaunchServicesFindApplicationForInfoMBS(std::string_view creator, std::string_view bundle_id,
                                                        std::string_view name) {
  if (!creator.empty() || (bundle_id.empty() && name.empty())) {
    return nullptr;
  }
  for (const std::string& folder : {HomeFolder() + "/Applications", SpecialFolder::Applications()->Path()}) {
    for (const std::string& file_name : BundleNames(folder)) {
      if (!name.empty() && !EqualsIgnoringCase(file_name, name)) {
        continue;
      }
      std::string path = folder;
      path.append("/").append(file_name);
      if (bundle_id.empty() || EqualsIgnoringCase(ReadApplicationBundle(path).identifier, bundle_id)) {
        return New<FolderItem>(path);
      }
    }
  }
  return nullptr;
}

}  // namespace tollmere
