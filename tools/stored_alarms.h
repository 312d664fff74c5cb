// The stored list, read as the agent reads it, but each alarm on its own.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "foundation/dictionary.h"
#include "foundation/property_list/stored_objects.h"
#include "foundation/system/preference_service.h"
#include "schedule/alarm.h"

namespace tollmere {

// What is wrong with a stored value, and below which key.
struct KeyProblem {
  std::string key;   // with what lies below it, "WeeklyDays.x1"; empty for the alarm as a whole
  std::string text;  // goes on behind the key: "is an array, not a dictionary"

  std::string InWords() const { return key.empty() ? text : key + " " + text; }
};

// One element of the stored list.
struct StoredAlarm {
  std::size_t index = 0;             // in the list
  Ref<CFObjectMBS> object;           // as it is stored
  Ref<Dictionary> stored;            // Nil where a reload would end at it
  Ref<TLMAlarm> alarm;               // never Nil; of a malformed one as much as could be read
  bool watched = false;              // enabled, no preset, no countdown
  std::string why;                   // it does not ring as one may think; may be empty
  std::vector<KeyProblem> problems;  // for which the agent does not get past it, or passes over it

  // The agent neither gets past it nor to the others.
  bool StopsTheAgent() const { return IsA<CFDictionaryMBS>(object) && !problems.empty(); }
};

struct Store {
  DomainState state;
  std::string elsewhere;       // of an absent file: where there is one that is not read; may be empty
  std::string alarms_problem;  // why there is no list; may be empty
  std::vector<StoredAlarm> alarms;
};

// Reads the preference domain and works out each watched alarm's next ring.
Store ReadStore();

// While it lives the preference domain is empty, and so is the list of days on which no alarm rings.
class EmptyDomain {
 public:
  EmptyDomain();
  ~EmptyDomain();
  EmptyDomain(const EmptyDomain&) = delete;
  EmptyDomain& operator=(const EmptyDomain&) = delete;

 private:
  Ref<CFPreferencesMBS> domain_;
};

// The alarm as a reload at the present moment makes it, but for its next ring.
Ref<TLMAlarm> MakeAlarm(const Ref<Dictionary>& stored);

// "a text", "an array" and so on.
std::string KindInWords(const Ref<CFObjectMBS>& object);

// A key as the agent reads it: empty where it is no text, number or boolean.
std::string KeyText(const Ref<CFObjectMBS>& key);

// The entries in the order in which they are stored.
std::vector<CFDictionaryListMBS::Entry> EntriesOf(const CFDictionaryMBS& dictionary);

}  // namespace tollmere
