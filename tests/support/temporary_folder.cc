#include "support/temporary_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace tollmere::testing {

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

}  // namespace tollmere::testing
