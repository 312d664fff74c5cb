#include "foundation/system/file_item.h"

#include <pwd.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <filesystem>

#include "foundation/system/application_bundle.h"
#include "foundation/system/child_process.h"
#include "foundation/system/process_list.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

constexpr std::string_view kFileScheme = "file://";

// False where a percent sign is not followed by two hexadecimal digits.
bool DecodePercentEscapes(std::string_view text, std::string& decoded) {
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      decoded += text[at];
      continue;
    }
    const std::string_view digits = text.substr(at + 1, 2);
    unsigned char byte = 0;
    const char* const stop = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16).ptr;
    if (stop != digits.data() + 2) {
      return false;
    }
    decoded += static_cast<char>(byte);
    at += 2;
  }
  return true;
}

Ref<FolderItem> ItemForPath(std::string_view path) {
  if (!path.starts_with('/') || path.find('\0') != std::string_view::npos) {
    return nullptr;
  }
  return New<FolderItem>(path);
}

Ref<FolderItem> ItemForUrl(std::string_view url) {
  if (!EqualsIgnoringCase(Left(url, kFileScheme.size()), kFileScheme)) {
    return nullptr;
  }
  url.remove_prefix(kFileScheme.size());
  const std::string_view host = url.substr(0, url.find('/'));
  if (!host.empty() && !EqualsIgnoringCase(host, "localhost")) {
    return nullptr;
  }
  url.remove_prefix(host.size());
  url = url.substr(0, url.find_first_of("?#"));
  std::string path;
  return DecodePercentEscapes(url, path) ? ItemForPath(path) : nullptr;
}

}  // namespace

FolderItem::FolderItem(std::string_view path) {
  for (const std::string_view segment : Split(path, "/")) {
    if (!segment.empty()) {
      path_.append("/").append(segment);
    }
  }
  if (path_.empty()) {
    path_ = "/";
  }
}

bool FolderItem::Exists() const {
  std::error_code ignored;
  return Answers(path_) && std::filesystem::exists(path_, ignored);
}

Ref<FolderItem> FolderItem::Child(std::string_view name) const {
  using namespace std::string_view_literals;
  if (name.empty() || name == "." || name == ".." || name.find_first_of("/\0"sv) != std::string_view::npos) {
    return nullptr;
  }
  return New<FolderItem>(path_ + "/" + std::string(name));
}

Ref<FolderItem> FolderItem::Parent() const {
  return path_ == "/" ? nullptr : New<FolderItem>(std::string_view(path_).substr(0, path_.rfind('/')));
}

Ref<FolderItem> FolderItem::GetRelative(std::string_view) const { return nullptr; }

void FolderItem::Launch(bool) {
  ApplicationBundle bundle;
  bundle.executable = path_;
  std::error_code ignored;
  if (std::filesystem::is_directory(path_, ignored)) {
    bundle = ReadApplicationBundle(path_);
  }
  last_error_code_ = bundle.error;
  if (last_error_code_ == 0) {
    const Start start = StartDetached(bundle.executable, bundle.identifier);
    last_error_code_ = start.error;
    RememberStart(start.process, bundle.identifier);
  }
}

Ref<FolderItem> Volume(std::int32_t number) { return number == 0 ? New<FolderItem>("/") : nullptr; }

Ref<FolderItem> GetFolderItem(std::string_view text, std::int32_t mode) {
  switch (mode) {
    case kPathModeAbsolute:
      return ItemForPath(text);
    case kPathModeUrl:
      return ItemForUrl(text);
    default:
      return nullptr;
  }
}

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home == '/') {
    return home;
  }
  const passwd* user = getpwuid(getuid());
  return user != nullptr && user->pw_dir != nullptr && *user->pw_dir == '/' ? user->pw_dir : "/";
}

}  // namespace tollmere
