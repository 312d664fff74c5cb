#include "foundation/system/launch_services.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include "foundation/system/application_bundle.h"
#include "foundation/text.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

bool FitsText(const std::string& value, std::string_view wanted) {
  return wanted.empty() || EqualsIgnoringCase(value, wanted);
}

}  // namespace

std::vector<std::string> ApplicationFolders() {
  return {HomeFolder() + "/Applications", SpecialFolder::Applications()->Path()};
}

std::vector<std::string> InstalledApplications() {
  std::vector<std::string> bundles;
  for (const std::string& folder : ApplicationFolders()) {
    const std::size_t first = bundles.size();
    std::error_code error;
    for (std::filesystem::directory_iterator item(folder, error), end; !error && item != end;
         item.increment(error)) {
      if (item->path().extension() == ".app") {
        bundles.push_back(item->path());
      }
      Yield();
    }
    std::sort(bundles.begin() + static_cast<std::ptrdiff_t>(first), bundles.end());
  }
  return bundles;
}

Ref<FolderItem> LaunchServicesFindApplicationForInfoMBS(std::string_view creator, std::string_view bundle_id,
                                                        std::string_view name) {
  if (!creator.empty() || (bundle_id.empty() && name.empty())) {
    return nullptr;
  }
  for (const std::string& path : InstalledApplications()) {
    if (FitsText(std::filesystem::path(path).filename(), name) && Answers(path)) {
      const ApplicationBundle bundle = ReadApplicationBundle(path);
      if (bundle.error == 0 && FitsText(bundle.identifier, bundle_id)) {
        return New<FolderItem>(path);
      }
    }
    Yield();
  }
  return nullptr;
}

}  // namespace tollmere
