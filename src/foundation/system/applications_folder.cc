#include "foundation/system/file_item.h"

namespace tollmere {

Ref<FolderItem> SpecialFolder::Applications() { return New<FolderItem>("/Applications"); }

}  // namespace tollmere
