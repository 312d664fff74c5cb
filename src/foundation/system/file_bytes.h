// The bytes of a file.
#pragma once

#include <cstddef>
#include <string>

namespace tollmere {

// Reads the regular file at `path` into `bytes`. Returns 0, or the errno of what failed: EINVAL for what is
// no regular file, EFBIG for more than `limit` bytes, EBUSY for a file that was written while it was read;
// `bytes` is then unspecified. Does not wait for other processes, also if the path is a FIFO. Throws
// EndOfProcess.
int ReadFileBytes(const std::string& path, std::size_t limit, std::string& bytes);

// The beginning of a file, at most `limit` bytes of it; what there is before an error, if it cannot be read
// on.
std::string ReadHead(const std::string& path, std::size_t limit);

}  // namespace tollmere
