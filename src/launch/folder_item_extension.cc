#include "launch/folder_item_extension.h"

#include "foundation/text.h"
#include "foundation/yield.h"

namespace tollmere::FolderItemExtensionModified {

Ref<FolderItem> GetRelFolderItemZDN(const std::string& path) {
  if (path.empty()) {
    return nullptr;
  }
  Ref<FolderItem> result = Volume(0)->GetRelative(path);
  if (result == nullptr && EqualsIgnoringCase(Left(path, 7), "file://")) {
    result = GetFolderItem(path, kPathModeUrl);
  }
  if (result == nullptr) {
    result = GetFolderItem(path, kPathModeAbsolute);
  }
  return result;
}

Ref<FolderItem> GetSubFolderItem(const Ref<FolderItem>& item, const std::vector<std::string>* path) {
  Ref<FolderItem> current = item;
  if (current == nullptr) {
    return nullptr;
  }
  try {
    if (path != nullptr) {
      for (const std::string& name : *path) {
        current = current->Child(name);
        if (current == nullptr) {
          return nullptr;
        }
        Yield();
      }
    }
    // Only the folder has to be there. At the top there is none, and to ask it is an error like any other.
    return current->Parent()->Exists() ? current : nullptr;
  } catch (const EndOfProcess&) {
    throw;
  } catch (...) {
    return nullptr;
  }
}

}  // namespace tollmere::FolderItemExtensionModified
