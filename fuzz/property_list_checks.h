// What must hold of everything that ParsePropertyList accepts.
#pragma once

#include <string_view>

namespace tollmere::fuzz {

// Reads `bytes` and, where they are a property list, walks all of it, writes it as XML, reads that back
// and compares the two. Aborts, with a word on standard error, where something does not hold.
void CheckPropertyList(std::string_view bytes);

}  // namespace tollmere::fuzz
