#include "support/log_capture.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <sstream>

extern "C" void __sanitizer_set_report_fd(void* descriptor) __attribute__((weak));

namespace tollmere::testing {
namespace {

off_t taken_up_to = 0;

}  // namespace

void CaptureLog() {
  if (IsSanitized()) {
    __sanitizer_set_report_fd(reinterpret_cast<void*>(static_cast<std::intptr_t>(dup(STDERR_FILENO))));
  }
  dup2(memfd_create("log", 0), STDERR_FILENO);
}

bool IsSanitized() { return __sanitizer_set_report_fd != nullptr; }

std::vector<std::string> TakeLog() {
  std::string text(static_cast<std::size_t>(lseek(STDERR_FILENO, 0, SEEK_END) - taken_up_to), '\0');
  taken_up_to += pread(STDERR_FILENO, text.data(), text.size(), taken_up_to);
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::size_t OpenDescriptors() {
  return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}));
}

}  // namespace tollmere::testing
