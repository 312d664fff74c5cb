// The bytes of a file.
#pragma once

#include <cstddef>
#include <string>

namespace tollmere {

// Reads the regular file at `path` into `bytes`, whose content on entry is what is thought to stand there:
// as long as the file agrees with it, nothing is copied. Returns 0, or the errno of what failed: EINVAL for
// what is no regular file, EFBIG for more than `limit` bytes, EBUSY for a file that was written while
// it was read. Never waits for another process, whatever stands at the path. After a failure
// `bytes` is as it was. `changed` tells whether the bytes differ from those on entry.
int ReadFileBytes(const std::string& path, std::size_t limit, std::string& bytes, bool& changed);

}  // namespace tollmere
