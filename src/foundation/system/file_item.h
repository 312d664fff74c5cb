// Files and folders, which need not exist.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "foundation/object.h"

namespace tollmere {

// A reference to a file or folder by its absolute path. It opens nothing and keeps nothing open.
class FolderItem final : public Object {
 public:
  // `path` is absolute; blank segments and slashes at its end do not count.
  explicit FolderItem(std::string_view path);

  // True when something stands at the path. A link to nowhere does not count, nor does what lies on a mount
  // that does not answer within 5 s. Throws EndOfProcess.
  bool Exists() const;
  // The named item inside this folder, whether or not it exists. Nil for what can be no single name:
  // an empty one, ".", "..", one with a slash or a NUL in it.
  Ref<FolderItem> Child(std::string_view name) const;
  // The folder that holds the item; Nil at the top.
  Ref<FolderItem> Parent() const;
  // Resolves a stored reference to a file against this item. That form of reference does not exist on
  // this system, so the result is Nil for every text.
  Ref<FolderItem> GetRelative(std::string_view reference) const;

  // Starts the application that the item is: the executable of a bundle, or the item itself. It
  // becomes a process of its own, which this one does not wait for. `activate` asks that it come to
  // the front, which here every application decides for itself.
  void Launch(bool activate);
  // 0 after a launch that went well and before any, else the errno of what failed. Nothing but a launch
  // changes it.
  std::int32_t LastErrorCode() const noexcept { return last_error_code_; }

  const std::string& Path() const noexcept { return path_; }

 private:
  std::string path_;
  std::int32_t last_error_code_ = 0;
};

// The root item of a volume. Number 0, the volume that the system runs from, is the one there is;
// Nil for any other.
Ref<FolderItem> Volume(std::int32_t number);

inline constexpr std::int32_t kPathModeAbsolute = 0;
inline constexpr std::int32_t kPathModeUrl = 2;

// The item for an absolute path (mode 0) or for a "file://" URL with percent escapes (mode 2). Nil for a
// text that is none, for a URL that names another machine, and for any other mode.
Ref<FolderItem> GetFolderItem(std::string_view text, std::int32_t mode);

// The item's path in POSIX form.
inline std::string UnixpathMBS(const Ref<FolderItem>& item) { return item->Path(); }

// The current user's home folder: HOME where it is an absolute path, else what the system's list of users
// says; "/" where neither knows.
std::string HomeFolder();

namespace SpecialFolder {

// The system's folder of installed applications.
Ref<FolderItem> Applications();

}  // namespace SpecialFolder

}  // namespace tollmere
