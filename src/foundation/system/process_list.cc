#include "foundation/system/process_list.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <string_view>

#include "foundation/system/application_bundle.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

std::string ProcessPath(pid_t process, const char* name) {
  return "/proc/" + std::to_string(process) + "/" + name;
}

// The beginning of a file, as much as a line or a command needs; empty when it cannot be read.
std::string ReadHead(const std::string& path, std::size_t size) {
  std::string head(size, '\0');
  std::size_t length = 0;
  const int file = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
  if (file < 0) {
    return {};
  }
  while (length < size) {
    const ssize_t count = read(file, head.data() + length, size - length);
    if (count < 0 && errno == EINTR) {
      continue;
    }
    if (count <= 0) {
      break;
    }
    length += static_cast<std::size_t>(count);
  }
  close(file);
  head.resize(length);
  return head;
}

std::string ReadLink(const std::string& path) {
  char target[PATH_MAX];
  const ssize_t length = readlink(path.c_str(), target, sizeof target);
  return length > 0 ? std::string(target, static_cast<std::size_t>(length)) : std::string();
}

// What `status` says of a process behind `field`, such as "Uid:".
std::string_view StatusField(std::string_view status, std::string_view field) {
  for (const std::string_view line : Split(status, "\n")) {
    if (line.starts_with(field)) {
      const std::size_t at = line.find_first_not_of(" \t", field.size());
      return at != std::string_view::npos ? line.substr(at) : std::string_view();
    }
  }
  return {};
}

// Alive, and the current user's own.
bool Counts(pid_t process) {
  const std::string status = ReadHead(ProcessPath(process, "status"), 4096);
  const std::string_view state = StatusField(status, "State:");
  if (state.empty() || state.front() == 'Z' || state.front() == 'X') {
    return false;
  }
  const std::string_view user = StatusField(status, "Uid:");
  return user.substr(0, user.find('\t')) == std::to_string(getuid());
}

// The file that the process runs. A file that has been replaced since is known by the path that it had.
std::string ExecutableOf(pid_t process) {
  static constexpr std::string_view kDeleted = " (deleted)";
  std::string path = ReadLink(ProcessPath(process, "exe"));
  if (path.ends_with(kDeleted) && access(path.c_str(), F_OK) != 0) {
    path.resize(path.size() - kDeleted.size());
  }
  return path;
}

std::string_view FileName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// True when the script at `path` names, in its first line, the program that the process runs: only then is
// the process an interpreter at work on it, and not, say, an editor that has it open.
bool NamesInterpreter(const std::string& path, const std::string& executable, std::string_view command) {
  const std::string head = ReadHead(path, 256);
  if (!head.starts_with("#!")) {
    return false;
  }
  std::vector<std::string_view> words;
  const std::string_view line = std::string_view(head).substr(2, head.find('\n') - 2);
  for (std::size_t at = 0; (at = line.find_first_not_of(" \t", at)) != std::string_view::npos;) {
    const std::size_t end = std::min(line.find_first_of(" \t", at), line.size());
    words.push_back(line.substr(at, end - at));
    at = end;
  }
  if (words.empty()) {
    return false;
  }
  if (ResolvePath(std::string(words.front())) == executable) {
    return true;
  }
  if (FileName(words.front()) == "env") {
    // It has given way to the program that it was told to find.
    return std::any_of(words.begin() + 1, words.end(), [&](std::string_view word) {
      const std::string_view name = FileName(word);
      return !name.starts_with('-') && (FileName(command) == name || FileName(executable) == name);
    });
  }
  // The interpreter's own file may have been replaced, too.
  return words.front() == executable;
}

// The bundle whose script the process interprets.
std::string BundleOfScript(pid_t process, const std::string& executable,
                           const std::vector<std::string_view>& arguments) {
  const auto script = std::find_if(arguments.begin() + 1, arguments.end(),
                                   [](std::string_view argument) { return !argument.starts_with('-'); });
  if (script == arguments.end() || script->empty()) {
    return {};
  }
  std::string path(*script);
  if (path.front() != '/') {
    path = ReadLink(ProcessPath(process, "cwd")) + "/" + path;
  }
  path = ResolvePath(path);
  const std::string identifier = path.empty() ? std::string() : IdentifierOfExecutable(path);
  return !identifier.empty() && NamesInterpreter(path, executable, arguments.front()) ? identifier
                                                                                      : std::string();
}

}  // namespace

void ProcessMBS::GetFirstProcess() {
  processes_.clear();
  at_ = 0;
  DIR* folder = opendir("/proc");
  if (folder == nullptr) {
    return;
  }
  while (const dirent* entry = readdir(folder)) {
    const std::string_view name = entry->d_name;
    pid_t process = 0;
    const auto [stop, error] = std::from_chars(name.data(), name.data() + name.size(), process);
    if (error == std::errc() && stop == name.data() + name.size()) {
      processes_.push_back(process);
    }
  }
  closedir(folder);
}

bool ProcessMBS::GetNextProcess() {
  at_ = std::min(at_ + 1, processes_.size());
  return at_ < processes_.size();
}

std::string ProcessMBS::BundleID() const {
  if (at_ >= processes_.size() || !Counts(processes_[at_])) {
    return {};
  }
  const pid_t process = processes_[at_];
  const std::string executable = ExecutableOf(process);
  if (executable.empty()) {
    return {};
  }
  if (std::string identifier = IdentifierOfExecutable(executable); !identifier.empty()) {
    return identifier;
  }
  constexpr std::size_t kEnoughOfCommand = 16'384;
  const std::string command = ReadHead(ProcessPath(process, "cmdline"), kEnoughOfCommand);
  const std::vector<std::string_view> arguments = Split(command, std::string_view("\0", 1));
  if (arguments.empty()) {
    return {};  // A process may have no arguments, not even its name.
  }
  // The bundle's executable may be a link to a file elsewhere, and is then known by the name under which
  // it was started.
  const std::string name(arguments.front());
  if (name.starts_with('/') && ResolvePath(name) == executable) {
    if (std::string identifier = IdentifierOfExecutable(name); !identifier.empty()) {
      return identifier;
    }
  }
  return BundleOfScript(process, executable, arguments);
}

}  // namespace tollmere
