// What a bundle folder says of itself.
#pragma once

#include <string>

namespace tollmere {

// An application is a folder, usually NAME.app, with a property list "Contents/Info.plist" and an
// executable in "Contents/MacOS".
struct ApplicationBundle {
  std::string identifier;  // "CFBundleIdentifier"; may be empty
  std::string executable;  // absolute path of "CFBundleExecutable"; may be empty, and need not exist
  // 0, or the errno that stands for why it cannot be started: that of the file that could not be read or may
  // not be executed, ENOEXEC for a folder that names no executable.
  int error = 0;
};

// True if the file system answers for the file or bundle at `place`, whether or not it is there. A mount
// whose server is gone would hold whoever asks, beyond every signal, so another process asks first: see
// EndsInTime. A place that does not answer is not asked again for half a minute. Throws EndOfProcess.
bool Answers(const std::string& place);

// Reads the bundle at `folder`. Throws EndOfProcess.
ApplicationBundle ReadApplicationBundle(const std::string& folder);

// Where a bundle's executable of that name lies.
std::string ExecutablePath(const std::string& folder, const std::string& name);

// The bundle in which the file at `path` would be an executable; empty where it would not be one.
std::string BundleFolderOf(const std::string& path);

}  // namespace tollmere
