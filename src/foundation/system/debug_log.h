// The system's debug log.
#pragma once

#include <string>
#include <string_view>

namespace tollmere {

namespace System {

// Writes one line to standard error. Control characters, line separators and bytes that are no UTF-8 are
// written escaped, so that one call is one line whatever the text holds. It never blocks and never
// fails: a line that a full pipe would not take is dropped, and so is all that would go to a terminal of
// another user; a closed log is no error. Without memory a line is cut to 127 bytes.
void DebugLog(std::string_view text) noexcept;

}  // namespace System

// The text as DebugLog writes it: "\n", "\t" and "\r" for those three, "\xNN" for other single bytes,
// "\u2028" and its like for the rest.
std::string EscapeForLog(std::string_view text);

}  // namespace tollmere
