// The stored form of an alarm: one dictionary, 28 keys.
#include "foundation/text.h"
#include "foundation/yield.h"
#include "preferences/global_methods.h"
#include "schedule/alarm.h"

namespace tollmere {
namespace {

bool LookupBoolean(const Dictionary& d, std::string_view key, bool otherwise) {
  return VariantToBoolean(d.Lookup(key, BooleanToVariant(otherwise)));
}

std::int32_t LookupInt32(const Dictionary& d, std::string_view key, std::int32_t otherwise) {
  return VariantToInt32(d.Lookup(key, Int32ToVariant(otherwise)));
}

// The default is the empty text, which is also that of Nil.
std::string LookupString(const Dictionary& d, std::string_view key) {
  return VariantToString(d.Lookup(key, Variant()));
}

Ref<Date> DateAt(double total_seconds) {
  Ref<Date> date = New<Date>();
  date->SetTotalSeconds(total_seconds);
  return date;
}

// A stored value as a dictionary.
const Dictionary& DictionaryOf(const Variant& value) {
  if (value.IsNil()) {
    throw NilObjectException();
  }
  const auto* object = value.If<Ref<Object>>();
  const Dictionary* dictionary = object != nullptr ? If<Dictionary>(*object) : nullptr;
  if (dictionary == nullptr) {
    throw IllegalCastException();  // a text, a number, a flag, an array
  }
  return *dictionary;
}

// Reads {"x0": {flag_key: boolean}, "x1": ...} into `flags`. A missing item leaves its flag as it is; an item
// without the flag clears it.
template <std::size_t kCount>
void ReadFlags(const Dictionary& d, std::string_view key, std::string_view flag_key,
               std::array<bool, kCount>& flags) {
  const Variant* value = d.If(key);
  if (value == nullptr) {
    return;
  }
  const Dictionary& items = DictionaryOf(*value);
  for (std::size_t i = 0; i < kCount; ++i) {
    const std::string item_key = "x" + Str(static_cast<std::int32_t>(i));
    if (const Variant* item = items.If(std::string_view(item_key))) {
      flags[i] = LookupBoolean(DictionaryOf(*item), flag_key, false);
    }
    Yield();
  }
}

}  // namespace

Ref<TLMAlarm> TLMAlarm::Make() {
  Ref<TLMAlarm> alarm = New<TLMAlarm>();
  alarm->Constructor();
  return alarm;
}

void TLMAlarm::Constructor() { SetDictionary(New<Dictionary>()); }

// The keys are read in this order. The setter of Enabled, in the middle of it, works out a next ring time
// from fields of which some are not read yet; the reload works it out again for every alarm that it keeps.
void TLMAlarm::SetDictionary(const Ref<Dictionary>& d) {
  Date now;  // All defaults belong to one instant.
  now.SetMinute(now.Minute());

  AllowMultiple = LookupBoolean(*d, "AllowMultiple", true);
  DateDay = LookupInt32(*d, "DateDay", now.Day());
  DateMonth = LookupInt32(*d, "DateMonth", now.Month());
  DateYear = LookupInt32(*d, "DateYear", now.Year());
  SetEnabled(LookupBoolean(*d, "Enabled", true));
  for (const double seconds : GlobalMethods::SplitDoubleArrayZDN(LookupString(*d, "Exclusions"), ",")) {
    Date moment;
    moment.SetTotalSeconds(seconds);
    Exclusions.push_back(DayOf(moment));
    Yield();
  }
  Hour = LookupInt32(*d, "Hour", now.Hour());
  HourlyChimeMinute = LookupInt32(*d, "HourlyChimeMinute", now.Minute());
  ImportedAB = LookupBoolean(*d, "ImportedAB", false);
  ImportediCal = LookupBoolean(*d, "ImportediCal", false);
  IsPreset = LookupBoolean(*d, "IsPreset", false);
  // After Enabled, whose setter may clear the field.
  if (d->HasKey("LastRungDateTime")) {
    LastRungDateTime = DateAt(VariantToDouble(d->Value("LastRungDateTime")));
  }
  Minute = LookupInt32(*d, "Minute", now.Minute());
  Name = LookupString(*d, "Name");
  PowerManagerIntegration = LookupBoolean(*d, "PowerManagerIntegration", false);
  PrivateAlarm = LookupBoolean(*d, "PrivateAlarm", false);
  TimerHours = LookupInt32(*d, "TimerHours", 0);
  TimerMinutes = LookupInt32(*d, "TimerMinutes", 5);
  TimerSeconds = LookupInt32(*d, "TimerSeconds", 0);
  TimerShowOnStartup = LookupBoolean(*d, "TimerShowOnStartup", false);
  Type = LookupInt32(*d, "AlarmType", AlarmTypeDate);
  UniqueID = LookupInt32(*d, "UniqueID", -1);
  ReadFlags(*d, "WeeklyDays", "WeeklyDayEnabled", WeeklyDays);
  WeeklyDaysMonth = LookupInt32(*d, "WeeklyDaysMonth", kAny);
  ReadFlags(*d, "WeeklyDaysRelative", "WeeklyDayRelativeEnabled", WeeklyDaysRelative);
  WeeklyDaysRelativeFromMonthEnd = LookupBoolean(*d, "WeeklyDaysRelativeFromMonthEnd", false);
  WeeklyDaysRelativeMonth = LookupInt32(*d, "WeeklyDaysRelativeMonth", kAny);
  // The stored key is written with one "r".
  ReadFlags(*d, "WeeklyDaysRelativeOccurences", "WeeklyDayRelativeOccurEnabled",
            WeeklyDaysRelativeOccurrences);
}

}  // namespace tollmere
