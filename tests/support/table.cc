#include "support/table.h"

#include <sstream>

#include "support/temporary_folder.h"

namespace tollmere::testing {
namespace {

std::string Decode(const std::string& text) {
  std::string decoded;
  for (std::size_t at = 0; at < text.size(); ++at) {
    const char next = text[at] == '\\' && at + 1 < text.size() ? text[++at] : '\0';
    switch (next) {
      case '\0':
        decoded += text[at];
        break;
      case 'n':
        decoded += '\n';
        break;
      case 'r':
        decoded += '\r';
        break;
      case 't':
        decoded += '\t';
        break;
      case 'x':
        decoded += static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16)), at += 2;
        break;
      default:
        decoded += static_cast<char>(next - '0');
    }
  }
  return decoded;
}

}  // namespace

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
    rows.emplace_back();
    for (const std::string& cell : Parts(line, "|")) {
      rows.back().push_back(Decode(cell));
    }
  }
  return rows;
}

}  // namespace tollmere::testing
