#pragma once

#include <string>
#include <vector>

namespace tollmere::testing {

// Sends standard error into memory, for the rest of the process. Reports of sanitizers still go where it
// went before.
void CaptureLog();

// The lines logged since the last call.
std::vector<std::string> TakeLog();

// Whether this program is built with sanitizers.
bool IsSanitized();

// The number of descriptors that this process has open.
std::size_t OpenDescriptors();

}  // namespace tollmere::testing
