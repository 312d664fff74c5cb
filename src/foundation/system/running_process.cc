#include "foundation/system/running_process.h"

#include <unistd.h>

#include <charconv>
#include <filesystem>
#include <string_view>

#include "foundation/system/file_bytes.h"
#include "foundation/text.h"

namespace tollmere {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;

std::string ReadLink(const std::string& path) {
  std::error_code error;
  const fs::path target = fs::read_symlink(path, error);
  return error ? std::string() : target.string();
}

// What a process or thread says of itself behind `field`, such as "Uid:".
std::string StatusField(std::string_view status, std::string_view field) {
  for (const std::string_view line : Split(status, "\n")) {
    if (line.starts_with(field)) {
      const std::string_view value = line.substr(field.size());
      return std::string(value.substr(std::min(value.find_first_not_of(" \t"), value.size())));
    }
  }
  return {};
}

std::string Status(const std::string& folder) { return ReadHead(folder + "/status", 4096); }

bool IsAlive(std::string_view status) {
  const std::string state = StatusField(status, "State:");
  return !state.empty() && state.front() != 'Z' && state.front() != 'X';
}

// Where the system tells of a living process of the current user: its own folder, or that of another thread
// when the first one has ended. Empty for any other process.
std::string FolderOf(pid_t number) {
  std::string folder = "/proc/" + std::to_string(number);
  const std::string status = Status(folder);
  const std::string user = StatusField(status, "Uid:");
  if (user.substr(0, user.find('\t')) != std::to_string(getuid())) {
    return {};
  }
  if (IsAlive(status)) {
    return folder;
  }
  for (const pid_t thread : NumbersIn(folder + "/task")) {
    std::string of_thread = folder + "/task/" + std::to_string(thread);
    if (IsAlive(Status(of_thread))) {
      return of_thread;
    }
  }
  return {};
}

}  // namespace

std::string RunningProcess::PathOf(const std::string& argument) const {
  if (argument.starts_with('/')) {
    return argument;
  }
  const std::string own_folder = ReadLink(folder + "/cwd");
  return own_folder.empty() ? own_folder : (fs::path(own_folder) / argument).lexically_normal().string();
}

std::string RunningProcess::Variable(const std::string& variable) const {
  constexpr std::size_t kMostRead = 1'048'576;
  const std::string environment = ReadHead(folder + "/environ", kMostRead);
  for (const std::string_view entry : Split(environment, "\0"sv)) {
    if (entry.starts_with(variable) && entry.substr(variable.size()).starts_with('=')) {
      return std::string(entry.substr(variable.size() + 1));
    }
  }
  return {};
}

std::optional<RunningProcess> LookAtProcess(pid_t number) {
  RunningProcess process;
  process.number = number;
  process.folder = FolderOf(number);
  if (process.folder.empty()) {
    return std::nullopt;
  }
  const std::string name = ReadHead("/proc/" + std::to_string(number) + "/comm", 64);
  process.name = name.substr(0, name.rfind('\n'));
  process.file = process.folder + "/exe";
  process.executable = ReadLink(process.file);
  constexpr std::string_view kMark = " (deleted)";  // The file has been removed or replaced.
  if (process.executable.ends_with(kMark)) {
    process.executable.resize(process.executable.size() - kMark.size());
  }
  constexpr std::size_t kEnoughOfCommand = 16'384;
  const std::string command = ReadHead(process.folder + "/cmdline", kEnoughOfCommand);
  for (const std::string_view argument : Split(command, "\0"sv)) {
    process.arguments.emplace_back(argument);
  }
  return process;
}

bool IsOwnAndAlive(pid_t number) { return !FolderOf(number).empty(); }

std::string StartTimeOf(pid_t number) {
  const std::string stat = ReadHead("/proc/" + std::to_string(number) + "/stat", 4096);
  // Its name may hold anything, and stands in the last brackets of the line.
  const std::vector<std::string_view> fields = Split(std::string_view(stat).substr(stat.rfind(')') + 1), " ");
  constexpr std::size_t kStartTime = 20;  // counted from that bracket
  return fields.size() > kStartTime ? std::string(fields[kStartTime]) : std::string();
}

std::vector<pid_t> AllProcesses() { return NumbersIn("/proc"); }

std::vector<int> NumbersIn(const std::string& folder) {
  std::vector<int> numbers;
  std::error_code error;
  for (fs::directory_iterator item(folder, error), end; !error && item != end; item.increment(error)) {
    const std::string name = item->path().filename();
    int number = 0;
    const auto [stop, failure] = std::from_chars(name.data(), name.data() + name.size(), number);
    if (failure == std::errc() && *stop == '\0') {
      numbers.push_back(number);
    }
  }
  return numbers;
}

}  // namespace tollmere
