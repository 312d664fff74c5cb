#include "foundation/system/file_bytes.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <string_view>

#include "foundation/system/descriptor.h"

namespace tollmere {
namespace {

bool SameState(const struct stat& before, const struct stat& after) noexcept {
  const auto same = [](const timespec& a, const timespec& b) {
    return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
  };
  return before.st_size == after.st_size && same(before.st_mtim, after.st_mtim) &&
         same(before.st_ctim, after.st_ctim);
}

}  // namespace

int ReadFileBytes(const std::string& path, std::size_t limit, std::string& bytes, bool& changed) {
  // Non-blocking, so that a FIFO without a writer does not hold the caller up.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  struct stat before {};
  if (file.Get() < 0 || fstat(file.Get(), &before) != 0) {
    return errno;
  }
  if (!S_ISREG(before.st_mode)) {
    return EINVAL;
  }
  std::string differing;  // all of the file, once it has been seen to differ
  bool differs = false;
  std::size_t length = 0;
  std::array<char, 65'536> chunk;
  while (true) {
    const ssize_t count = read(file.Get(), chunk.data(), chunk.size());
    if (count < 0) {
      if (errno == EINTR) {
        continue;
      }
      return errno;
    }
    const std::string_view part(chunk.data(), static_cast<std::size_t>(count));
    if (!differs && (part.empty() ? length != bytes.size() : bytes.compare(length, part.size(), part) != 0)) {
      differs = true;
      differing.assign(bytes, 0, length);
    }
    if (part.empty()) {
      break;
    }
    length += part.size();
    if (length > limit) {
      return EFBIG;
    }
    if (differs) {
      differing.append(part);
    }
  }
  struct stat after {};
  if (fstat(file.Get(), &after) != 0) {
    return errno;
  }
  if (!SameState(before, after)) {
    return EBUSY;
  }
  changed = differs;
  if (differs) {
    bytes = std::move(differing);
  }
  return 0;
}

}  // namespace tollmere
