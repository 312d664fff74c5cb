// What a bundle folder says of itself.
#pragma once

#include <string>

namespace tollmere {

// An application is a folder NAME.app with a property list "Contents/Info.plist" and an executable in
// "Contents/MacOS".
struct ApplicationBundle {
  std::string identifier;  // "CFBundleIdentifier"; may be empty
  std::string executable;  // absolute path of "CFBundleExecutable"; may be empty
  // 0, or the errno that stands for why there is no executable to start: that of the file that could not
  // be read, ENOEXEC for a folder that does not name one.
  int error = 0;
};

// Reads the bundle at `folder` afresh.
ApplicationBundle ReadApplicationBundle(const std::string& folder);

// The identifier of the bundle whose "CFBundleExecutable" the file at `path` is, by this path or as where
// a link in the bundle leads; empty when there is none.
std::string IdentifierOfExecutable(const std::string& path);

// `path` with all links followed; empty when nothing is there.
std::string ResolvePath(const std::string& path);

}  // namespace tollmere
