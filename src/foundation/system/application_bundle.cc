#include "foundation/system/application_bundle.h"

#include <cerrno>
#include <filesystem>
#include <string_view>

#include "foundation/property_list/property_list.h"
#include "foundation/system/file_bytes.h"
#include "foundation/system/file_item.h"

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

}  // namespace

ApplicationBundle ReadApplicationBundle(const std::string& folder) {
  ApplicationBundle bundle;
  std::string bytes;
  bundle.error = ReadFileBytes(folder + "/Contents/Info.plist", kMaxPropertyListBytes, bytes);
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
  const FolderItem programs(folder + std::string(kExecutableFolder));
  const Ref<FolderItem> executable = programs.Child(TextUnder("CFBundleExecutable", list));
  if (executable != nullptr) {
    bundle.executable = executable->Path();
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
  std::error_code error;
  const std::filesystem::path resolved = std::filesystem::canonical(path, error);
  return error ? std::string() : resolved.string();
}

}  // namespace tollmere
