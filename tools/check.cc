#include "check.h"

#include <map>

#include "preferences/core_preferences.h"
#include "reasons.h"
#include "stored_keys.h"

namespace tollmere {
namespace {

void CheckFile(const Store& store, Findings& findings) {
  switch (store.state.kind) {
    case DomainState::Kind::kAbsent:
      findings.push_back({nullptr, "",
                          "there is no file " + store.state.path +
                              (store.elsewhere.empty() ? "" : "; " + store.elsewhere + " is not read")});
      return;
    case DomainState::Kind::kUnreadable:
      findings.push_back({nullptr, "", store.state.path + " could not be read: " + store.state.problem});
      break;
    case DomainState::Kind::kRead:
      break;
  }
  if (!store.alarms_problem.empty()) {
    findings.push_back({nullptr, "", "no alarm can be read: " + store.alarms_problem});
  }
  CheckWriters(store.state.path, findings);
}

// The domain is the main application's, and most of its keys are nobody else's business.
void CheckDomain(Findings& findings) {
  for (const StoredKey& key : DomainKeys()) {
    const Ref<CFObjectMBS> value = CorePreferencesModified::xPreferences->CopyAppValue(
        NewCFStringMBS(std::string(key.name)), CorePreferencesModified::TLMDomain());
    if (value != nullptr) {
      CheckValue(nullptr, std::string(key.name), value, findings);
    }
  }
}

void CheckAlarm(const StoredAlarm& stored, Findings& findings) {
  for (const KeyProblem& problem : stored.problems) {
    findings.push_back(
        {&stored, problem.key,
         problem.text + (stored.StopsTheAgent() ? "; no alarm rings at all until it is put right" : "")});
  }
  CheckKeys(stored, findings);
  if (stored.watched) {
    const std::string never = NeverInItsSchedule(*stored.alarm);
    if (!never.empty()) {
      findings.push_back({&stored, "", "never rings: " + never});
    }
  }
}

// Alarms of one UniqueID share one memory of rings, and those without have -1 in common.
void CheckIdentities(const Store& store, Findings& findings) {
  std::map<std::int32_t, const StoredAlarm*> known;
  for (const StoredAlarm& stored : store.alarms) {
    if (stored.stored == nullptr) {
      continue;
    }
    const bool has_id = stored.stored->HasKey("UniqueID");
    if (!has_id) {
      findings.push_back({&stored, "UniqueID", "is missing"});
    }
    const auto [first, is_new] = known.try_emplace(stored.alarm->UniqueID, &stored);
    if (has_id && !is_new) {
      findings.push_back({&stored, "UniqueID",
                          std::to_string(stored.alarm->UniqueID) + " is that of alarm " +
                              std::to_string(first->second->index) + ", too"});
    }
  }
}

}  // namespace

Findings CheckStore(const Store& store) {
  Findings findings;
  CheckFile(store, findings);
  CheckDomain(findings);
  for (const StoredAlarm& stored : store.alarms) {
    CheckAlarm(stored, findings);
  }
  CheckIdentities(store, findings);
  CheckApplication(findings);
  return findings;
}

}  // namespace tollmere
