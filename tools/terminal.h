// Where the program's output goes, and how wide a text stands there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tollmere {

struct Terminal {
  std::size_t width = 0;  // in columns; 0: no terminal, lines are as long as they are
  bool has_colours = false;
};

// Standard output.
Terminal FindTerminal();

// The columns that a text without control characters takes on a terminal.
std::size_t Columns(std::string_view text);

// The text, cut and with an ellipsis at its end where it takes more than `columns`; 0 is no bound.
std::string Fitted(std::string_view text, std::size_t columns);

// The text with blanks up to that many columns.
std::string Padded(std::string text, std::size_t columns);

}  // namespace tollmere
