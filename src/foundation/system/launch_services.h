// What the system knows of installed applications.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "foundation/system/file_item.h"

namespace tollmere {

// The folders in which applications are installed: the user's own first, then the system's.
std::vector<std::string> ApplicationFolders();

// The bundles there, those of each folder in the order of their names. Throws EndOfProcess when the end of
// the process is asked for meanwhile.
std::vector<std::string> InstalledApplications();

// The application with that bundle identifier (the case of letters does not count) and that file name; an
// empty text takes no part in the search. It is the first of the installed applications that fits and
// can be started. Nil when none does, and when no text is given. Applications here have no creator: one that
// is given is matched by none.
Ref<FolderItem> LaunchServicesFindApplicationForInfoMBS(std::string_view creator, std::string_view bundle_id,
                                                        std::string_view name);

}  // namespace tollmere
