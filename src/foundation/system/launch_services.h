// What the system knows of installed applications.
#pragma once

#include <string_view>

#include "foundation/system/file_item.h"

namespace tollmere {

// The application with that bundle identifier (the case of letters does not count) and that file name; an
// empty text takes no part in the search. It looks at the bundles in the user's own "Applications"
// folder, then in the system's, each in the order of their names. Nil when none is known, and when no text
// is given. Applications here have no creator: one that is given is matched by none.
Ref<FolderItem> LaunchServicesFindApplicationForInfoMBS(std::string_view creator, std::string_view bundle_id,
                                                        std::string_view name);

}  // namespace tollmere
