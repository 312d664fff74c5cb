#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tollmere::testing {

// A folder of the test's own, which goes with it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& Path() const { return path_; }
  // Writes a file, with the folders above it, and gives its path.
  std::string Write(const std::string& name, std::string_view content, bool executable = false) const;
  // A bundle with that identifier whose executable is that script.
  std::string WriteBundle(const std::string& name, std::string_view script,
                          const std::string& identifier) const;

 private:
  std::string path_;
};

std::string ReadWholeFile(const std::string& path);

// The rows of a file in tests/data. A row is a line of cells between bars; blank lines and lines that begin
// with '#' are none. The cells come trimmed, with "\n", "\r", "\t", "\0" to "\7" and "\xNN" decoded.
std::vector<std::vector<std::string>> Table(const std::string& name);

// The parts of a text between separators, trimmed.
std::vector<std::string> Parts(const std::string& text, const std::string& separator);

}  // namespace tollmere::testing
