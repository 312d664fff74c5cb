// Two ways to a file: by a stored location, and down a list of names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/object.h"
#include "foundation/system/file_item.h"

namespace tollmere::FolderItemExtensionModified {

// The item that a stored location leads to: a reference relative to the system's volume, a "file://" URL or
// an absolute path, tried in this order. Nil for a text that is none of them. The item need not exist.
Ref<FolderItem> GetRelFolderItemZDN(const std::string& path);

// The item that the names in `path` lead down to from `item`; `item` itself where there are none or `path` is
// null. Nil when a name is no name of an item, or the folder that would hold the result does not exist; and
// for whatever error comes up on the way. The item itself need not exist.
Ref<FolderItem> GetSubFolderItem(const Ref<FolderItem>& item, const std::vector<std::string>* path);

}  // namespace tollmere::FolderItemExtensionModified
