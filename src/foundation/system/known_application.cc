#include "foundation/system/known_application.h"

#include <algorithm>
#include <filesystem>
#include <string_view>

#include "foundation/system/application_bundle.h"
#include "foundation/system/file_bytes.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

namespace fs = std::filesystem;

std::string_view FileName(std::string_view path) { return path.substr(path.rfind('/') + 1); }

// `path` comes from a process, and may lie on a mount that does not answer.
bool IsSameFile(const std::string& path, const std::string& known) {
  std::error_code ignored;
  return Answers(path) && fs::equivalent(path, known, ignored);
}

// The words of a script's first line, which names its interpreter, or `env` and its arguments. What `env -S`
// allows around them is removed. Empty if the file is no script.
std::vector<std::string> InterpreterWords(const std::string& path) {
  constexpr std::size_t kMostRead = 256;  // as the system does
  std::error_code ignored;
  const std::string head = fs::is_regular_file(path, ignored) ? ReadHead(path, kMostRead) : std::string();
  std::vector<std::string> words;
  if (head.starts_with("#!")) {
    const std::string line = head.substr(2, head.find('\n') - 2);
    constexpr std::string_view kBetween = " \t'\"=";
    for (std::size_t at = 0; (at = line.find_first_not_of(kBetween, at)) != std::string::npos;) {
      const std::size_t end = std::min(line.find_first_of(kBetween, at), line.size());
      words.push_back(line.substr(at, end - at));
      if (words.back().starts_with("-S")) {
        words.back().erase(0, 2);
      }
      at = end;
    }
  }
  return words;
}

// "python" of "python3.11".
std::string_view WithoutVersion(std::string_view name) {
  return name.substr(0, name.find_last_not_of("0123456789.") + 1);
}

bool HasNameOf(const KnownApplication& application, const std::string& path) {
  const std::string_view name = FileName(path);
  return !name.empty() && (name == FileName(application.executable) || name == FileName(application.target));
}

// True for the executable, by its name, of a bundle whose property list cannot be read: it was renamed while
// the process ran, or is just being written.
bool IsInSilentBundle(const std::string& path, const KnownApplication& application) {
  const std::string folder = BundleFolderOf(path);
  return !folder.empty() && FileName(path) == FileName(application.executable) && Answers(folder) &&
         ReadApplicationBundle(folder).executable.empty();
}

// True when the path is the application's, or leads to it.
bool LeadsTo(const KnownApplication& application, const std::string& path) {
  if (path.empty()) {
    return false;
  }
  if (path == application.executable || path == application.target) {
    return true;
  }
  const bool is_inside = !application.folder.empty() && path.starts_with(application.folder + "/");
  return (is_inside || HasNameOf(application, path)) &&
         (IsSameFile(path, application.executable) || IsInSilentBundle(path, application));
}

bool RunsExecutable(const RunningProcess& process, const KnownApplication& application) {
  const std::string& path = process.executable;
  if (path.empty()) {
    // The system does not tell. If it was not started by a path, the file's name is all there is.
    constexpr std::size_t kNameLength = 15;
    return !process.arguments.front().starts_with('/') &&
           (process.name == FileName(application.executable).substr(0, kNameLength) ||
            process.name == FileName(application.target).substr(0, kNameLength));
  }
  return path == application.executable || path == application.target ||
         (HasNameOf(application, path) &&
          (IsSameFile(process.file, application.executable) || IsInSilentBundle(path, application)));
}

bool WasStartedAs(const RunningProcess& process, const KnownApplication& application) {
  const std::string& name = process.arguments.front();
  return name.find('/') != std::string::npos && LeadsTo(application, process.PathOf(name));
}

// An interpreter of the script, or a shell, which may be told to read any script; but not, say, an editor.
bool IsInterpreter(const RunningProcess& process, const KnownApplication& application) {
  const std::string& path = process.executable;
  for (const std::string_view name : {FileName(path), FileName(process.arguments.front())}) {
    if (name.ends_with("sh") || std::any_of(application.interpreter.begin(), application.interpreter.end(),
                                            [&](std::string_view word) {
                                              return !name.empty() &&
                                                     WithoutVersion(FileName(word)) == WithoutVersion(name);
                                            })) {
      return true;
    }
  }
  return false;
}

// A link with another name is followed only in the folders of PATH.
bool LiesAlongPath(const RunningProcess& process, const std::string& path) {
  const std::string folders = process.Variable("PATH");
  const std::vector<std::string_view> along = Split(folders, ":");
  return std::find(along.begin(), along.end(), fs::path(path).parent_path().string()) != along.end();
}

// Of a shell's options only these take a value, the name of a mode.
bool MayTakeValue(const RunningProcess& process, const std::string& option) {
  const bool is_shell = FileName(process.executable).ends_with("sh");
  return !is_shell || option.ends_with('o') || option.ends_with('O');
}

// True when the argument may be the value of the option before it.
bool IsValue(const std::string& argument, const KnownApplication& application) {
  const auto& words = application.interpreter;
  return std::find(words.begin(), words.end(), argument) != words.end() ||
         argument.find_first_of(" \t\n/.") == std::string::npos;
}

// The script is the first argument that is neither an option nor an option's value.
bool InterpretsScript(const RunningProcess& process, const KnownApplication& application) {
  if (!IsInterpreter(process, application)) {
    return false;
  }
  bool after_option = false;
  for (auto argument = process.arguments.begin() + 1; argument != process.arguments.end(); ++argument) {
    const bool is_option = argument->starts_with('-');
    const std::string path = is_option ? std::string() : process.PathOf(*argument);
    if (LeadsTo(application, path) ||
        (!path.empty() && LiesAlongPath(process, path) && IsSameFile(path, application.executable))) {
      return true;
    }
    if (*argument == "-c" || (!is_option && !(after_option && IsValue(*argument, application)))) {
      return false;
    }
    after_option = is_option && MayTakeValue(process, *argument);
  }
  return false;
}

}  // namespace

KnownApplication DescribeApplication(const std::string& place, const std::string& identifier) {
  KnownApplication application;
  application.identifier = identifier;
  application.executable = place;
  std::error_code error;
  if (!fs::is_regular_file(place, error)) {
    const ApplicationBundle bundle = ReadApplicationBundle(place);
    application.folder = place;
    application.executable = ExecutablePath(place, fs::path(place).stem());
    if (!bundle.executable.empty()) {
      application.executable = bundle.executable;
    }
    if (!bundle.identifier.empty()) {
      application.identifier = bundle.identifier;
    }
  }
  application.target = fs::canonical(application.executable, error);
  application.interpreter = InterpreterWords(application.executable);
  return application;
}

bool BelongsTo(const RunningProcess& process, const KnownApplication& application) {
  return !process.arguments.empty() &&
         (RunsExecutable(process, application) || WasStartedAs(process, application) ||
          InterpretsScript(process, application));
}

std::vector<std::string> OtherBundlesOf(const RunningProcess& process,
                                        const std::vector<KnownApplication>& applications) {
  std::vector<std::string> folders = {BundleFolderOf(process.executable)};
  for (const std::string& argument : process.arguments) {
    if (&argument == &process.arguments.front() ||
        std::any_of(applications.begin(), applications.end(),
                    [&](const KnownApplication& known) { return HasNameOf(known, argument); })) {
      folders.push_back(BundleFolderOf(process.PathOf(argument)));
    }
  }
  std::erase_if(folders, [&](const std::string& folder) {
    return folder.empty() ||
           std::any_of(applications.begin(), applications.end(),
                       [&](const KnownApplication& known) { return known.folder == folder; });
  });
  return folders;
}

}  // namespace tollmere
