// The system's folder of applications, in the test's own home: what is installed is never met, nor started.
#include "foundation/system/file_item.h"

namespace tollmere {

Ref<FolderItem> SpecialFolder::Applications() { return New<FolderItem>(HomeFolder() + "/system"); }

}  // namespace tollmere
