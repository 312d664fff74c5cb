#include "foundation/system/process_list.h"

#include <algorithm>

#include "foundation/system/application_bundle.h"
#include "foundation/system/child_process.h"
#include "foundation/system/launch_services.h"
#include "foundation/system/running_process.h"
#include "foundation/yield.h"

namespace tollmere {
namespace {

struct RememberedStart {
  pid_t process;
  std::string time;
  std::string identifier;

  bool IsOf(pid_t number) const { return process == number && time == StartTimeOf(number); }
};

// The processes that this one has started. Those that have ended are removed at the next start.
std::vector<RememberedStart>& RememberedStarts() {
  static std::vector<RememberedStart> starts;
  return starts;
}

// The identifier of the bundle that this agent has started the process for.
std::string StartedHereFor(pid_t process) {
  for (const RememberedStart& start : RememberedStarts()) {
    if (start.IsOf(process)) {
      return start.identifier;
    }
  }
  return {};
}

// The same for an earlier agent, as the process's environment tells.
std::string StartedEarlierFor(const RunningProcess& process) {
  const std::string mark = process.Variable(kStartMark);
  const std::string own_end = ":" + std::to_string(process.number);
  return mark.ends_with(own_end) ? mark.substr(0, mark.size() - own_end.size()) : std::string();
}

// A process that is stuck in exec, on a mount that does not answer, blocks whoever looks at it, beyond every
// signal but SIGKILL. So a copy of this process looks at all of them first, and only if that takes long at
// each by itself. What was started here is known without a look.
void LeaveOutStuck(std::vector<pid_t>& processes) {
  constexpr std::int64_t kLongestLook = 2'000'000'000;  // ample on a busy machine
  const auto look = [](pid_t number) {
    if (StartedHereFor(number).empty()) {
      if (const auto process = LookAtProcess(number)) {
        process->Variable(kStartMark);
      }
    }
  };
  if (!EndsInTime([&] { std::for_each(processes.begin(), processes.end(), look); }, kLongestLook)) {
    std::erase_if(processes, [&](pid_t number) { return !EndsInTime([&] { look(number); }, kLongestLook); });
  }
}

}  // namespace

void RememberStart(pid_t process, const std::string& identifier) {
  std::vector<RememberedStart>& starts = RememberedStarts();
  std::erase_if(starts, [](const RememberedStart& start) { return !start.IsOf(start.process); });
  if (const std::string time = StartTimeOf(process); !time.empty()) {
    starts.push_back({process, time, identifier});
  }
}

void ProcessMBS::ConsiderApplication(const Ref<FolderItem>& place, const std::string& identifier) {
  if (place != nullptr && Answers(place->Path())) {
    applications_.push_back(DescribeApplication(place->Path(), identifier));
  }
}

void ProcessMBS::GetFirstProcess() {
  for (const std::string& place : InstalledApplications()) {
    ConsiderApplication(New<FolderItem>(place), "");
  }
  std::erase_if(applications_, [](const KnownApplication& known) { return known.identifier.empty(); });
  processes_ = AllProcesses();
  LeaveOutStuck(processes_);
  at_ = 0;
}

bool ProcessMBS::GetNextProcess() {
  at_ = std::min(at_ + 1, processes_.size());
  return at_ < processes_.size();
}

std::string ProcessMBS::BundleID() const {
  if (at_ >= processes_.size() || !IsOwnAndAlive(processes_[at_])) {
    return {};
  }
  if (std::string identifier = StartedHereFor(processes_[at_]); !identifier.empty()) {
    return identifier;
  }
  const auto process = LookAtProcess(processes_[at_]);
  if (!process) {
    return {};
  }
  if (std::string identifier = StartedEarlierFor(*process); !identifier.empty()) {
    return identifier;
  }
  for (const KnownApplication& application : applications_) {
    if (BelongsTo(*process, application)) {
      return application.identifier;
    }
  }
  // An application at another place.
  for (const std::string& folder : OtherBundlesOf(*process, applications_)) {
    if (!Answers(folder)) {
      continue;
    }
    const KnownApplication application = DescribeApplication(folder, "");
    if (BelongsTo(*process, application)) {
      return application.identifier;
    }
  }
  return {};
}

}  // namespace tollmere
