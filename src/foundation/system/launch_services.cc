#include "foundation/system/launch_services.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "foundation/system/application_bundle.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

std::vector<std::filesystem::path> BundlesIn(const std::string& folder) {
  std::vector<std::filesystem::path> bundles;
  std::error_code error;
  for (std::filesystem::directory_iterator item(folder, error), end; !error && item != end;
       item.increment(error)) {
    if (item->path().extension() == ".app") {
      bundles.push_back(item->path());
    }
  }
  std::sort(bundles.begin(), bundles.end());
  return bundles;
}

}  // namespace

Ref<FolderItem> LaunchServicesFindApplicationForInfoMBS(std::string_view creator, std::string_view bundle_id,
                                                        std::string_view name) {
  if (!creator.empty() || (bundle_id.empty() && name.empty())) {
    return nullptr;
  }
  for (const std::string& folder : {HomeFolder() + "/Applications", SpecialFolder::Applications()->Path()}) {
    for (const std::filesystem::path& bundle : BundlesIn(folder)) {
      if (!name.empty() && !EqualsIgnoringCase(bundle.filename().string(), name)) {
        continue;
      }
      if (bundle_id.empty() || EqualsIgnoringCase(ReadApplicationBundle(bundle).identifier, bundle_id)) {
        return New<FolderItem>(bundle.string());
      }
    }
  }
  return nullptr;
}

}  // namespace tollmere
