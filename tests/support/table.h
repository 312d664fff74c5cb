#pragma once

#include <string>
#include <vector>

namespace tollmere::testing {

// The rows of a file in tests/data. A row is a line of cells between bars; blank lines and lines that begin
// with '#' are none. The cells come trimmed, with "\n", "\r", "\t", "\0" to "\7" and "\xNN" decoded.
std::vector<std::vector<std::string>> Table(const std::string& name);

// The parts of a text between separators, trimmed.
std::vector<std::string> Parts(const std::string& text, const std::string& separator);

}  // namespace tollmere::testing
