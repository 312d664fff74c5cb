#pragma once

#include <ostream>
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
  // A bundle with that identifier, or else the main application's, whose executable is that script.
  std::string WriteBundle(const std::string& name, std::string_view script,
                          const std::string& identifier = "com.vendrel.Tollmere9") const;

 private:
  std::string path_;
};

std::string ReadWholeFile(const std::string& path);

// The rows of a file in tests/data. A row is a line of cells between bars; blank lines and lines that begin
// with '#' are none. The cells come trimmed, with "\n", "\r", "\t", "\\", "\0" to "\7" and "\xNN" decoded.
std::vector<std::vector<std::string>> Table(const std::string& name);

// The cells of one such row.
std::vector<std::string> Cells(const std::string& row);

// The name of a test from words, with '_' for what is no letter or digit.
std::string TestName(std::string words);

// A part of a file in tests/data, which is a test of its own. A line that begins with `mark` is its heading;
// lines before the first heading, blank lines and other lines that begin with '#' belong to none.
struct Section {
  std::string name;  // the heading, as a TestName
  std::vector<std::string> lines;
};
inline void PrintTo(const Section& section, std::ostream* out) { *out << section.name; }
std::vector<Section> Sections(const std::string& file, const std::string& mark);

// The parts of a text between separators, trimmed.
std::vector<std::string> Parts(const std::string& text, const std::string& separator);

}  // namespace tollmere::testing
