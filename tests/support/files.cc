#include "support/files.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

namespace tollmere::testing {
namespace {

std::string Decode(const std::string& text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '\\' || at + 1 == text.size()) {
      decoded += text[at];
    } else if (text[++at] == 'x') {
      decoded += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16));
      at += 2;
    } else {
      static const std::map<char, char> kNamed = {{'n', '\n'}, {'r', '\r'}, {'t', '\t'}, {'\\', '\\'}};
      decoded += kNamed.contains(text[at]) ? kNamed.at(text[at]) : static_cast<char>(text[at] - '0');
    }
  }
  return decoded;
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
  std::string pattern = std::filesystem::temp_directory_path() / "tollmere-test-XXXXXX";
  path_ = mkdtemp(pattern.data());
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryFolder::Write(const std::string& name, std::string_view content, bool executable) const {
  const std::filesystem::path path = path_ + "/" + name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  if (executable) {
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }
  return path;
}

std::string TemporaryFolder::WriteBundle(const std::string& name, std::string_view script,
                                         const std::string& identifier) const {
  Write(name + "/Contents/Info.plist",
        "<plist><dict><key>CFBundleIdentifier</key><string>" + identifier +
            "</string><key>CFBundleExecutable</key><string>Tollmere</string></dict></plist>");
  Write(name + "/Contents/MacOS/Tollmere", script, true);
  return path_ + "/" + name;
}

std::string ReadWholeFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> Parts(const std::string& text, const std::string& separator) {
  std::vector<std::string> parts;
  for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + separator.size()) {
    end = text.find(separator, at);
    const std::string part = text.substr(at, end == std::string::npos ? end : end - at);
    const std::size_t first = std::min(part.find_first_not_of(' '), part.size());
    parts.push_back(part.substr(first, part.find_last_not_of(' ') + 1 - first));
  }
  return parts;
}

std::vector<std::vector<std::string>> Table(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  std::istringstream lines(ReadWholeFile(TEST_DATA "/" + name));
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.front() == '#') {
      continue;
    }
    rows.push_back(Cells(line));
  }
  static_cast<void>(rows.at(0));  // A file that is not there fails its test.
  return rows;
}

std::vector<std::string> Cells(const std::string& row) {
  std::vector<std::string> cells = Parts(row, "|");
  std::transform(cells.begin(), cells.end(), cells.begin(), Decode);
  return cells;
}

std::string TestName(std::string words) {
  std::replace_if(
      words.begin(), words.end(), [](char c) { return !isalnum(c); }, '_');
  return words;
}

std::vector<Section> Sections(const std::string& file, const std::string& mark) {
  std::vector<Section> sections;
  std::istringstream lines(ReadWholeFile(TEST_DATA "/" + file));
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(mark)) {
      sections.push_back({TestName(line.substr(mark.size())), {}});
    } else if (!line.empty() && line.front() != '#' && !sections.empty()) {
      sections.back().lines.push_back(line);
    }
  }
  static_cast<void>(sections.at(0));
  return sections;
}

}  // namespace tollmere::testing
