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

// The identifier of the bundle that the process was started for, by this agent or, as its environment tells,
// by an earlier one.
std::string StartedFor(const RunningProcess& process) {
  for (const RememberedStart& start : RememberedStarts()) {
    if (start.IsOf(process.number)) {
      return start.identifier;
    }
  }
  const std::string mark = process.Variable(kStartMark);
  const std::string own_end = ":" + std::to_string(process.number);
  return mark.ends_with(own_end) ? mark.substr(0, mark.size() - own_end.size()) : std::string();
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
  processes_ = ProcessNumbers();
  at_ = 0;
}

bool ProcessMBS::GetNextProcess() {
  at_ = std::min(at_ + 1, processes_.size());
  return at_ < processes_.size();
}

std::string ProcessMBS::BundleID() const {
  const auto process = at_ < processes_.size() ? LookAtProcess(processes_[at_]) : std::nullopt;
  if (!process) {
    return {};
  }
  if (std::string identifier = StartedFor(*process); !identifier.empty()) {
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
