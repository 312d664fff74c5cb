// A modal message to the user.
#pragma once

#include <string>

namespace tollmere {

// Shows `text` as plain text and returns when the user has dismissed it. With no display, or no program
// that could show it, the text goes to standard error and counts as dismissed at once; one that has
// just been written there is written again only after a minute. Throws EndOfProcess when the end of
// the process is asked for while the box stands; the box goes with it.
void MsgBox(const std::string& text);

}  // namespace tollmere
