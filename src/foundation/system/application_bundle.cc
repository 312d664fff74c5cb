#include "foundation/system/application_bundle.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>

#include "foundation/property_list/property_list.h"
#include "foundation/system/file_bytes.h"

namespace tollmere {
namespace {

constexpr std::string_view kExecutableFolder = "/Contents/MacOS/";

std::string TextUnder(std::string_view key, const CFDictionaryListMBS& list) {
  std::string text;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    if (IsA<CFStringMBS>(list.Key(i)) && Cast<CFStringMBS>(list.Key(i))->str() == key &&
        IsA<CFStringMBS>(list.Value(i))) {
      text = Cast<CFStringMBS>(list.Value(i))->str();
    }
  }
  return text;
}

bool IsFileName(std::string_view name) {
  using namespace std::string_view_literals;
  return !name.empty() && name != "." && name != ".." &&
         name.find_first_of("/\0"sv) == std::string_view::npos;
}

}  // namespace

ApplicationBundle ReadApplicationBundle(const std::string& folder) {
  ApplicationBundle bundle;
  std::string bytes;
  bool changed = false;
  bundle.error = ReadFileBytes(folder + "/Contents/Info.plist", kMaxPropertyListBytes, bytes, changed);
  if (bundle.error != 0) {
    return bundle;
  }
  const Ref<CFObjectMBS> info = ParsePropertyList(bytes);
  if (!IsA<CFDictionaryMBS>(info)) {
    bundle.error = ENOEXEC;
    return bundle;
  }
  const CFDictionaryListMBS& list = Cast<CFDictionaryMBS>(info)->List();
  bundle.identifier = TextUnder("CFBundleIdentifier", list);
  const std::string executable = TextUnder("CFBundleExecutable", list);
  if (IsFileName(executable)) {
    bundle.executable = folder + std::string(kExecutableFolder) + executable;
  } else {
    bundle.error = ENOEXEC;
  }
  return bundle;
}

std::string IdentifierOfExecutable(const std::string& path) {
  const std::size_t folder_end = path.rfind(kExecutableFolder);
  if (folder_end == std::string::npos) {
    return {};
  }
  const std::string folder = path.substr(0, folder_end);
  if (!folder.ends_with(".app")) {
    return {};
  }
  const ApplicationBundle bundle = ReadApplicationBundle(folder);
  const bool is_executable =
      !bundle.executable.empty() && (bundle.executable == path || ResolvePath(bundle.executable) == path);
  return is_executable ? bundle.identifier : std::string();
}

std::string ResolvePath(const std::string& path) {
  char* resolved = realpath(path.c_str(), nullptr);
  if (resolved == nullptr) {
    return {};
  }
  std::string result = resolved;
  std::free(resolved);
  return result;
}

}  // namespace tollmere
