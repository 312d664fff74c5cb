// The keys of the store and the values below them.
#include <algorithm>
#include <cmath>
#include <set>
#include <string_view>

#include "check.h"
#include "foundation/calendar_math.h"
#include "foundation/text.h"
#include "stored_keys.h"

namespace tollmere {
namespace {

std::string Quoted(std::string_view text) {
  constexpr std::size_t kMost = 40;
  return "\"" + std::string(Left(text, kMost)) + (Left(text, kMost).size() < text.size() ? "…" : "") + "\"";
}

bool IsTrueWord(std::string_view text) {
  return EqualsIgnoringCase(text, "true") || EqualsIgnoringCase(text, "yes") ||
         EqualsIgnoringCase(text, "on") || IsNumeric(text);
}

bool IsContainer(const Ref<CFObjectMBS>& value) {
  return IsA<CFArrayMBS>(value) || IsA<CFDictionaryMBS>(value);
}

std::string FlagFault(const Ref<CFObjectMBS>& value) {
  if (const auto* text = If<CFStringMBS>(value)) {
    const bool is_word = IsFalseWord(text->str()) || IsTrueWord(text->str());
    return is_word ? "" : "is the text " + Quoted(text->str()) + ", which counts as true";
  }
  return IsContainer(value) ? "is " + KindInWords(value) + ", which counts as false" : "";
}

std::string RangeFault(const StoredKey& key, double number, unsigned type_bit) {
  if ((key.read_by & type_bit) == 0) {
    return {};
  }
  if (number != std::floor(number)) {
    return "is " + Str(number) + ", which is no whole number";
  }
  const bool is_any = key.or_any && number == -1;
  return is_any || (number >= key.first && number <= key.last)
             ? ""
             : "is " + Str(number) + ", out of the range " + Str(key.first) + " to " + Str(key.last) +
                   (key.or_any ? " and -1" : "");
}

std::string NumberFault(const StoredKey& key, const Ref<CFObjectMBS>& value, unsigned type_bit) {
  if (const auto* number = If<CFNumberMBS>(value)) {
    return RangeFault(key, number->doubleValue(), type_bit);
  }
  if (const auto* text = If<CFStringMBS>(value)) {
    return IsNumeric(text->str())
               ? RangeFault(key, Val(text->str()), type_bit)
               : "is the text " + Quoted(text->str()) + ", which counts as " + Str(Val(text->str()));
  }
  if (const auto* flag = If<CFBooleanMBS>(value)) {
    return "is a boolean, which counts as " + std::string(flag->Value() ? "1" : "0");
  }
  return IsContainer(value) ? "is " + KindInWords(value) + ", which counts as 0" : "";
}

std::string DaysFault(const Ref<CFObjectMBS>& value) {
  if (const auto* text = If<CFStringMBS>(value)) {
    std::string faults;
    ForEachPiece(text->str(), ",", [&](std::string_view piece) {
      if (faults.empty() && !text->str().empty() && !IsNumeric(piece)) {
        faults = "has the piece " + Quoted(piece) + ", which is no number and excludes nothing";
      }
    });
    return faults;
  }
  return IsA<CFNumberMBS>(value) ? "" : "is " + KindInWords(value) + ", not a text, and excludes nothing";
}

std::string Fault(const StoredKey& key, const Ref<CFObjectMBS>& value, unsigned type_bit) {
  switch (key.kind) {
    case ValueKind::kFlag:
      return FlagFault(value);
    case ValueKind::kNumber:
      return NumberFault(key, value, type_bit);
    case ValueKind::kText:
      return IsContainer(value) ? "is " + KindInWords(value) + ", which counts as an empty text" : "";
    case ValueKind::kDays:
      return DaysFault(value);
    case ValueKind::kMoment:
      return IsA<CFNumberMBS>(value) ? "" : "is " + KindInWords(value) + ", not a number";
    case ValueKind::kData:
      return IsA<CFBinaryDataMBS>(value) ? "" : "is " + KindInWords(value) + ", not data, and is not read";
    case ValueKind::kFlags:
    case ValueKind::kArray:
      break;  // Told where the alarms are read.
  }
  return {};
}

std::string NotRead(std::string_view key, std::span<const std::string_view> names) {
  const std::string_view close = CloseName(key, names);
  return close.empty() ? "is read by nothing" : "is read by nothing; is " + std::string(close) + " meant?";
}

// {"x0": {flag_key: boolean}, "x1": ...}
void CheckFlags(const StoredAlarm& alarm, const StoredKey& key, const CFDictionaryMBS& items,
                Findings& findings) {
  for (const auto& [item_key, item] : EntriesOf(items)) {
    const std::string name = KeyText(item_key);
    const std::string path = std::string(key.name) + "." + name;
    const bool is_item = name.size() == 2 && name[0] == 'x' && name[1] >= '0' && name[1] < '0' + key.flags;
    const auto* dictionary = If<CFDictionaryMBS>(item);
    if (!is_item) {
      findings.push_back({&alarm, path, "is read by nothing; x0 to x" + Str(key.flags - 1) + " are"});
    } else if (dictionary != nullptr) {
      for (const auto& [flag_key, flag] : EntriesOf(*dictionary)) {
        const std::string flag_name = KeyText(flag_key);
        const std::string fault =
            flag_name == key.flag_key ? FlagFault(flag) : NotRead(flag_name, std::span(&key.flag_key, 1));
        if (!fault.empty()) {
          findings.push_back({&alarm, path, fault});
          findings.back().key.append(".").append(flag_name);
        }
      }
    }
  }
}

// What a reload puts in the place of a key that the alarm's kind needs.
void CheckMissing(const StoredAlarm& stored, const CFDictionaryMBS& dictionary, Findings& findings) {
  std::set<std::string> present;
  for (const auto& [key, value] : EntriesOf(dictionary)) {
    present.insert(KeyText(key));
  }
  const unsigned type_bit = 1U << static_cast<unsigned>(std::clamp(stored.alarm->Type, 0, 31));
  for (const char* name : {"DateDay", "DateMonth", "DateYear", "Hour", "HourlyChimeMinute", "Minute"}) {
    if ((FindKey(AlarmKeys(), name)->read_by & type_bit) != 0 && !present.contains(name)) {
      findings.push_back({&stored, name, "is missing: that of the present moment is taken"});
    }
  }
}

// A date that does not come: the fields of a Date would run on into the next month.
void CheckDate(const StoredAlarm& stored, Findings& findings) {
  const TLMAlarm& alarm = *stored.alarm;
  if (alarm.Type == AlarmTypeDate && alarm.DateYear != kAny && alarm.DateMonth >= 1 &&
      alarm.DateMonth <= 12 && alarm.DateDay <= 31 &&
      alarm.DateDay > DaysInMonth(alarm.DateYear, alarm.DateMonth)) {
    findings.push_back(
        {&stored, "DateDay", "is " + Str(alarm.DateDay) + ", a day that its month does not have"});
  }
}

}  // namespace

void CheckValue(const StoredAlarm* alarm, const std::string& key, const Ref<CFObjectMBS>& value,
                Findings& findings) {
  const StoredKey* const known = FindKey(alarm != nullptr ? AlarmKeys() : DomainKeys(), key);
  if (alarm != nullptr && (IsA<CFBinaryDataMBS>(value) || IsA<CFDateMBS>(value))) {
    findings.push_back({alarm, key, "is " + KindInWords(value) + ", which counts as missing"});
    return;
  }
  const unsigned type_bit =
      alarm != nullptr ? 1U << static_cast<unsigned>(std::clamp(alarm->alarm->Type, 0, 31)) : 0U;
  const std::string fault = known != nullptr ? Fault(*known, value, type_bit) : "";
  if (!fault.empty()) {
    findings.push_back({alarm, key, fault});
  }
  const auto* items = If<CFDictionaryMBS>(value);
  if (known != nullptr && known->kind == ValueKind::kFlags && items != nullptr) {
    CheckFlags(*alarm, *known, *items, findings);
  }
}

void CheckKeys(const StoredAlarm& alarm, Findings& findings) {
  const auto* dictionary = If<CFDictionaryMBS>(alarm.object);
  if (dictionary == nullptr) {
    return;
  }
  std::vector<std::string_view> names;
  for (const StoredKey& key : AlarmKeys()) {
    names.push_back(key.name);
  }
  std::set<std::string> met;
  for (const auto& [key_object, value] : EntriesOf(*dictionary)) {
    const std::string key = KeyText(key_object);
    if (!met.insert(key).second) {
      findings.push_back({&alarm, key, "is there twice, and the later one counts"});
    }
    if (FindKey(AlarmKeys(), key) == nullptr) {
      findings.push_back({&alarm, key, NotRead(key, names)});
    } else if (std::none_of(alarm.problems.begin(), alarm.problems.end(),
                            [&](const KeyProblem& problem) { return problem.key == key; })) {
      CheckValue(&alarm, key, value, findings);
    }
  }
  CheckMissing(alarm, *dictionary, findings);
  CheckDate(alarm, findings);
}

}  // namespace tollmere
