#include "json.h"

#include <array>
#include <cstdio>
#include <string_view>

#include "foundation/unicode.h"
#include "schedule_words.h"
#include "still_clock.h"

namespace tollmere {
namespace {

std::string Quoted(std::string_view text) {
  std::string json = "\"";
  for (const char c : RepairUtf8(text)) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      std::array<char, 8> escape{};
      std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
      json += escape.data();
    } else {
      json += c;
    }
  }
  return json + '"';
}

std::string QuotedOrNull(std::string_view text) { return text.empty() ? "null" : Quoted(text); }

std::string Moment(const Ref<Date>& date) {
  return date == nullptr ? "null" : Quoted(StillClock::MomentText(*date, 'T'));
}

// "[", each item on a line of its own, "]".
template <class Item, class Write>
std::string Array(const std::vector<Item>& items, Write write) {
  std::string json = "[";
  for (const Item& item : items) {
    json += (&item == items.data() ? "\n    " : ",\n    ") + write(item);
  }
  return json + (items.empty() ? "]" : "\n  ]");
}

std::string NameAndId(const StoredAlarm& stored) {
  return "\"name\": " + Quoted(stored.alarm->Name) +
         ", \"unique_id\": " + std::to_string(stored.alarm->UniqueID);
}

std::string AlarmObject(const StoredAlarm& stored) {
  std::string problems;
  for (const KeyProblem& problem : stored.problems) {
    problems += (problems.empty() ? "" : ", ") + Quoted(problem.InWords());
  }
  return "{\"index\": " + std::to_string(stored.index) + ", " + NameAndId(stored) +
         ", \"kind\": " + Quoted(KindOfSchedule(*stored.alarm)) +
         ", \"watched\": " + (stored.watched ? "true" : "false") + ", \"why\": " + QuotedOrNull(stored.why) +
         ", \"next_ring\": " + Moment(stored.alarm->NextRingDateTime) + ", \"problems\": [" + problems + "]}";
}

std::string RingObject(const Ring& ring) {
  return "{\"moment\": " + Moment(ring.moment) + ", " + NameAndId(*ring.alarm) + "}";
}

std::string FindingObject(const Finding& finding) {
  const std::string alarm = finding.alarm == nullptr
                                ? "\"index\": null, \"name\": null"
                                : "\"index\": " + std::to_string(finding.alarm->index) +
                                      ", \"name\": " + Quoted(finding.alarm->alarm->Name);
  return "{" + alarm + ", \"key\": " + QuotedOrNull(finding.key) + ", \"text\": " + Quoted(finding.text) +
         "}";
}

std::string StateName(DomainState::Kind kind) {
  switch (kind) {
    case DomainState::Kind::kAbsent:
      return "absent";
    case DomainState::Kind::kUnreadable:
      return "unreadable";
    case DomainState::Kind::kRead:
      break;
  }
  return "read";
}

}  // namespace

std::string StoreAsJson(const Store& store, const std::string& zone, const JsonExtras& extras) {
  const std::string& problem = store.state.problem.empty() ? store.alarms_problem : store.state.problem;
  std::string json = "{\n  \"store\": " + Quoted(store.state.path) +
                     ",\n  \"state\": " + Quoted(StateName(store.state.kind)) +
                     ",\n  \"problem\": " + QuotedOrNull(problem) +
                     ",\n  \"moment\": " + Moment(New<Date>()) + ",\n  \"zone\": " + Quoted(zone) +
                     ",\n  \"alarms\": " + Array(store.alarms, AlarmObject);
  if (extras.rings != nullptr) {
    json += ",\n  \"rings\": " + Array(*extras.rings, RingObject);
  }
  if (extras.findings != nullptr) {
    json += ",\n  \"findings\": " + Array(*extras.findings, FindingObject);
  }
  return json + "\n}\n";
}

}  // namespace tollmere
