#include "stored_alarms.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "foundation/system/file_item.h"
#include "preferences/core_preferences.h"
#include "preferences/global_methods.h"
#include "search_deadline.h"

namespace tollmere {
namespace {

using Entry = CFDictionaryListMBS::Entry;

// What the agent's own reading makes of a stored dictionary; throws IllegalCastException as it does.
Ref<Dictionary> Convert(const CFDictionaryMBS& stored) {
  return CorePreferencesModified::RBDictFromCFDict(stored.List());
}

KeyProblem NoDictionary(const std::string& key, const Ref<CFObjectMBS>& object) {
  return {key, "is " + KindInWords(object) + ", not a dictionary"};
}

bool IsReadable(const CFDictionaryMBS& stored) {
  try {
    MakeAlarm(Convert(stored));
    return true;
  } catch (const IllegalCastException&) {
    return false;
  }
}

// The first array item below the object that is no dictionary.
std::optional<KeyProblem> ForeignItem(const Ref<CFObjectMBS>& object, const std::string& path) {
  if (const auto* dictionary = If<CFDictionaryMBS>(object)) {
    for (const auto& [key, value] : EntriesOf(*dictionary)) {
      if (auto found = ForeignItem(value, path + "." + KeyText(key))) {
        return found;
      }
    }
  } else if (const auto* array = If<CFArrayMBS>(object)) {
    for (std::size_t i = 0; i < array->Count(); ++i) {
      const std::string item = path + "[" + std::to_string(i) + "]";
      if (!IsA<CFDictionaryMBS>(array->Item(i))) {
        return NoDictionary(item, array->Item(i));
      }
      if (auto found = ForeignItem(array->Item(i), item)) {
        return found;
      }
    }
  }
  return std::nullopt;
}

// What keeps an alarm with that entry from being read.
KeyProblem Malformed(const Entry& entry) {
  const std::string key = KeyText(entry.first);
  if (auto foreign = ForeignItem(entry.second, key)) {
    return *foreign;
  }
  if (const auto* items = If<CFDictionaryMBS>(entry.second)) {
    for (const Entry& item : EntriesOf(*items)) {
      const Ref<CFDictionaryMBS> alone = New<CFDictionaryMBS>(std::vector<Entry>{item});
      if (!IsReadable(*New<CFDictionaryMBS>(std::vector<Entry>{{entry.first, alone}}))) {
        return NoDictionary(key + "." + KeyText(item.first), item.second);
      }
    }
  }
  return NoDictionary(key, entry.second);
}

// As much of a malformed alarm as can be read, and what keeps the rest from it.
void ReadPartly(StoredAlarm& stored, const CFDictionaryMBS& dictionary) {
  std::vector<Entry> readable;
  for (const Entry& entry : EntriesOf(dictionary)) {
    if (IsReadable(*New<CFDictionaryMBS>(std::vector<Entry>{entry}))) {
      readable.push_back(entry);
    } else {
      stored.problems.push_back(Malformed(entry));
    }
  }
  stored.alarm = MakeAlarm(Convert(*New<CFDictionaryMBS>(std::move(readable))));
}

// Nothing limits a weekly search, and this one would not end.
bool IsMonthThatNeverComes(const TLMAlarm& alarm) {
  return alarm.Type == AlarmTypeWeekly && alarm.WeeklyDaysMonth != kAny &&
         (alarm.WeeklyDaysMonth < 1 || alarm.WeeklyDaysMonth > 12) &&
         std::find(alarm.WeeklyDays.begin(), alarm.WeeklyDays.end(), true) != alarm.WeeklyDays.end();
}

void FindNextRing(StoredAlarm& stored) {
  TLMAlarm& alarm = *stored.alarm;
  if (IsMonthThatNeverComes(alarm)) {
    stored.problems.push_back(
        {"WeeklyDaysMonth", std::to_string(alarm.WeeklyDaysMonth) +
                                " is a month that never comes; the search for it has no end"});
  } else if (!SearchDeadline::Finishes([&] { alarm.SetNextRingTime(nullptr); })) {
    stored.problems.push_back({"", "the search for its next ring had come to no end when it was given up"});
  }
}

void Read(StoredAlarm& stored) {
  const auto* dictionary = If<CFDictionaryMBS>(stored.object);
  if (dictionary == nullptr) {
    stored.alarm = TLMAlarm::Make();
    stored.alarm->UniqueID = -1;
    stored.alarm->Type = -1;
    stored.problems.push_back({"", "it is " + KindInWords(stored.object) + ", no alarm, and passed over"});
  } else {
    try {
      stored.stored = Convert(*dictionary);
      stored.alarm = MakeAlarm(stored.stored);
    } catch (const IllegalCastException&) {
      stored.stored = nullptr;
      ReadPartly(stored, *dictionary);
    }
  }
  const TLMAlarm& alarm = *stored.alarm;
  stored.alarm->NextRingDateTime =
      nullptr;  // Reading it has worked one out, from fields that were half read.
  stored.watched =
      stored.stored != nullptr && alarm.Type != AlarmTypeTimer && alarm.Enabled() && !alarm.IsPreset;
  if (stored.watched) {
    FindNextRing(stored);
  }
}

// Where the file also could lie, and would not be read; empty for nowhere.
std::string Elsewhere(const std::string& path) {
  const std::string name = path.substr(path.rfind('/'));
  for (const char* folder : {"/.config", "/Library/Preferences"}) {
    const FolderItem item(HomeFolder() + folder + name);
    if (item.Exists()) {
      return item.Path();
    }
  }
  return {};
}

}  // namespace

EmptyDomain::EmptyDomain() : domain_(CorePreferencesModified::xPreferences) {
  static const Ref<CFPreferencesMBS> empty = [] {
    Ref<CFPreferencesMBS> service = New<CFPreferencesMBS>();
    service->SetPath(CorePreferencesModified::TLMDomain(), "/dev/null");
    return service;
  }();
  CorePreferencesModified::xPreferences = empty;
}

EmptyDomain::~EmptyDomain() { CorePreferencesModified::xPreferences = std::move(domain_); }

Ref<TLMAlarm> MakeAlarm(const Ref<Dictionary>& stored) {
  const EmptyDomain no_search_yet;  // What reading works out on the way is not used, and could take long.
  Ref<TLMAlarm> alarm = TLMAlarm::Make();
  alarm->SetDictionary(stored);
  return alarm;
}

std::string KindInWords(const Ref<CFObjectMBS>& object) {
  switch (object->Kind()) {
    case CFObjectMBS::TypeId::kString:
      return "a text";
    case CFObjectMBS::TypeId::kNumber:
      return "a number";
    case CFObjectMBS::TypeId::kBoolean:
      return "a boolean";
    case CFObjectMBS::TypeId::kData:
      return "data";
    case CFObjectMBS::TypeId::kDate:
      return "a date";
    case CFObjectMBS::TypeId::kArray:
      return "an array";
    case CFObjectMBS::TypeId::kDictionary:
      break;
  }
  return "a dictionary";
}

std::string KeyText(const Ref<CFObjectMBS>& key) { return GlobalMethods::ToStringZDN(key, ""); }

std::vector<Entry> EntriesOf(const CFDictionaryMBS& dictionary) {
  const CFDictionaryListMBS& list = dictionary.List();
  std::vector<Entry> entries;
  for (std::size_t i = 0; i < list.Count(); ++i) {
    entries.emplace_back(list.Key(i), list.Value(i));
  }
  return entries;
}

Store ReadStore() {
  CorePreferencesModified::Sync();
  const Ref<CFPreferencesMBS>& service = CorePreferencesModified::xPreferences;
  const Ref<CFStringMBS> domain = CorePreferencesModified::TLMDomain();
  Store store;
  store.state = service->StateOf(domain);
  if (store.state.kind == DomainState::Kind::kAbsent) {
    store.elsewhere = Elsewhere(store.state.path);
  }
  const Ref<CFObjectMBS> list = service->CopyAppValue(NewCFStringMBS("Alarms"), domain);
  const auto* const array = If<CFArrayMBS>(list);
  if (array == nullptr) {
    if (store.state.kind == DomainState::Kind::kRead) {
      store.alarms_problem = list == nullptr ? "it has no key \"Alarms\""
                                             : "\"Alarms\" is " + KindInWords(list) + ", not an array";
    }
    return store;
  }
  store.alarms.resize(array->Count());
  for (std::size_t i = 0; i < array->Count(); ++i) {
    store.alarms[i].index = i;
    store.alarms[i].object = array->Item(i);
    Read(store.alarms[i]);
  }
  return store;
}

}  // namespace tollmere
