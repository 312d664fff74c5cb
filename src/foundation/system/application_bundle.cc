#include "foundation/system/application_bundle.h"

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <map>
#include <string_view>

#include "foundation/property_list/property_list.h"
#include "foundation/system/child_process.h"
#include "foundation/system/event_loop.h"
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

int WhyNotStartable(const std::string& path) {
  if (access(path.c_str(), X_OK) != 0) {
    return errno;
  }
  std::error_code ignored;
  return std::filesystem::is_regular_file(path, ignored) ? 0 : EACCES;
}

}  // namespace

bool Answers(const std::string& place) {
  constexpr std::int64_t kSilence = 30'000'000'000;
  static std::map<std::string, std::int64_t> silent_until;
  std::erase_if(silent_until, [](const auto& silent) { return MonotonicClock() >= silent.second; });
  if (silent_until.contains(place)) {
    return false;
  }
  const bool answers = EndsInTime([&] {
    std::error_code ignored;
    if (std::filesystem::is_directory(place, ignored)) {
      ReadApplicationBundle(place);
    }
  });
  if (!answers) {
    silent_until[place] = MonotonicClock() + kSilence;
  }
  return answers;
}

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
  const std::string name = TextUnder("CFBundleExecutable", list);
  if (FolderItem(folder).Child(name) == nullptr) {  // no name of a file
    bundle.error = ENOEXEC;
    return bundle;
  }
  bundle.executable = ExecutablePath(folder, name);
  bundle.error = WhyNotStartable(bundle.executable);
  return bundle;
}

std::string ExecutablePath(const std::string& folder, const std::string& name) {
  return folder + std::string(kExecutableFolder) + name;
}

std::string BundleFolderOf(const std::string& path) {
  const std::size_t end = path.rfind(kExecutableFolder);
  const bool is_inside =
      end != std::string::npos && path.find('/', end + kExecutableFolder.size()) == std::string::npos;
  return is_inside ? path.substr(0, end) : std::string();
}

}  // namespace tollmere
