#include "foundation/system/preference_service.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "foundation/property_list/property_list.h"
#include "foundation/system/file_bytes.h"
#include "foundation/system/file_item.h"

namespace tollmere {
namespace {

namespace fs = std::filesystem;

// If any part of the path is a link to nowhere, the file is unreadable and not absent.
bool IsAbsent(const std::string& file, int error) {
  if (error != ENOENT) {
    return false;
  }
  std::error_code ignored;
  const fs::path path = fs::absolute(file, ignored);
  fs::path there = path;
  while (fs::symlink_status(there, ignored).type() == fs::file_type::not_found && there.has_relative_path()) {
    there = there.parent_path();
  }
  return there != path && fs::exists(there, ignored);
}

// Why the file could not be read.
std::string ReadProblem(int error) {
  switch (error) {
    case EINVAL:
      return "it is no regular file";
    case EFBIG:
      return "it is larger than 16 MiB";
    case EBUSY:
      return "it was being written while it was read";
    default:
      return std::strerror(error);
  }
}

}  // namespace

std::string DomainPath(const std::string& domain) {
  const char* folder = std::getenv("XDG_CONFIG_HOME");
  const bool is_usable = folder != nullptr && *folder == '/';
  return (is_usable ? std::string(folder) : HomeFolder() + "/.config") + "/" + domain + ".plist";
}

Ref<CFObjectMBS> CFPreferencesMBS::CopyAppValue(const Ref<CFStringMBS>& key,
                                                const Ref<CFStringMBS>& application_id) {
  const std::string& domain = application_id->str();
  auto view = views_.find(domain);
  if (view == views_.end()) {
    view = views_.try_emplace(domain).first;
    Refresh(view->second, domain);
  }
  const auto value = view->second.values.find(key->str());
  return value != view->second.values.end() ? *value->second : nullptr;
}

bool CFPreferencesMBS::Synchronize(const Ref<CFStringMBS>& application_id, const Ref<CFStringMBS>&,
                                   const Ref<CFStringMBS>&) {
  const std::string& domain = application_id->str();
  return Refresh(views_[domain], domain);
}

DomainState CFPreferencesMBS::StateOf(const Ref<CFStringMBS>& application_id) const {
  const std::string& domain = application_id->str();
  const auto found = views_.find(domain);
  if (found == views_.end()) {
    return {DomainState::Kind::kAbsent, DomainPath(domain), {}};
  }
  const View& view = found->second;
  DomainState state{DomainState::Kind::kRead, view.path.empty() ? DomainPath(domain) : view.path, {}};
  if (IsAbsent(state.path, view.error)) {
    state.kind = DomainState::Kind::kAbsent;
  } else if (view.error != 0 || !view.bytes_are_good) {
    state.kind = DomainState::Kind::kUnreadable;
    state.problem = view.error != 0 ? ReadProblem(view.error) : view.problem;
  }
  return state;
}

void CFPreferencesMBS::SetPath(const Ref<CFStringMBS>& application_id, std::string path) {
  views_[application_id->str()] = View();
  views_[application_id->str()].path = std::move(path);
}

bool CFPreferencesMBS::Refresh(View& view, const std::string& domain) {
  const std::string path = view.path.empty() ? DomainPath(domain) : view.path;
  const int error = ReadFileBytes(path, kMaxPropertyListBytes, view.read);
  view.error = error;
  if (IsAbsent(path, error)) {
    view.bytes.clear();
    view.bytes_are_good = true;
    view.exists = false;
    Show(view, nullptr);
    return true;
  }
  if (error != 0) {
    return false;
  }
  if (!view.exists || view.bytes != view.read) {
    view.exists = true;
    view.bytes.swap(view.read);
    view.bytes_are_good = false;  // until they have been read to the end
    view.problem = "its top is no dictionary";
    const Ref<CFObjectMBS> root = ParsePropertyList(view.bytes, &view.problem);
    view.bytes_are_good = IsA<CFDictionaryMBS>(root);
    if (view.bytes_are_good) {
      Show(view, Cast<CFDictionaryMBS>(root));
    }
  }
  return view.bytes_are_good;
}

void CFPreferencesMBS::Show(View& view, Ref<CFDictionaryMBS> root) {
  view.values.clear();
  view.root = std::move(root);
  if (view.root == nullptr) {
    return;
  }
  const CFDictionaryListMBS& list = view.root->List();
  for (std::size_t i = 0; i < list.Count(); ++i) {
    if (IsA<CFStringMBS>(list.Key(i))) {
      view.values[static_cast<const CFStringMBS&>(*list.Key(i)).str()] = &list.Value(i);
    }
  }
}

}  // namespace tollmere
