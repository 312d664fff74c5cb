#include "preferences/local_preferences.h"

#include "foundation/system/debug_log.h"
#include "foundation/yield.h"
#include "preferences/core_preferences.h"
#include "preferences/global_methods.h"

namespace tollmere::LocalPreferences {
namespace {

std::string RingText(const Date& date) { return date.LongDate() + " " + date.LongTime(); }

void LogNextRing(const char* beginning, const TLMAlarm& alarm, const std::string& when) {
  System::DebugLog(beginning + alarm.Name + "\"; Ring At: " + when);
}

// Logs the alarm when it is new to this process or its next ring has moved, and remembers that ring.
void LogAndRemember(const TLMAlarm& alarm) {
  const Variant key = Int32ToVariant(alarm.UniqueID);
  const Ref<Date>& next = alarm.NextRingDateTime;
  const Variant* const known = RememberedNextRingDates->If(key);
  if (known == nullptr) {
    LogNextRing("Found Alarm \"", alarm, next != nullptr ? RingText(*next) : "Never");
  } else {
    const auto remembered = Cast<Date>(VariantToObject(*known));
    const double r = remembered != nullptr ? remembered->TotalSeconds() : 0.0;
    const double n = next != nullptr ? next->TotalSeconds() : 0.0;
    if (r != n && n == 0.0) {
      LogNextRing("Found Updated Alarm \"", alarm, "Never");
    } else if (r != n) {
      Date moment;
      moment.SetTotalSeconds(n);
      LogNextRing("Found Updated Alarm \"", alarm, RingText(moment));
    }
  }
  RememberedNextRingDates->SetValue(key, ObjectToVariant(next));
}

}  // namespace

void Reload() {
  xAlarmArray.clear();
  CorePreferencesModified::Sync();
  for (const Ref<Dictionary>& stored : CorePreferencesModified::GetPrefsDictionariesValue("Alarms")) {
    const Ref<TLMAlarm> a = TLMAlarm::Make();
    a->SetDictionary(stored);
    // A ring of this process replaces the stored one, even by Nil. It is stored without a setter, so that
    // nothing is worked out here.
    const Variant id = Int32ToVariant(a->UniqueID);
    if (MasteRingHistory->HasKey(id)) {
      a->LastRungDateTime = Cast<Date>(VariantToObject(MasteRingHistory->Value(id)));
    }
    if (a->Type != AlarmTypeTimer && a->Enabled() && !a->IsPreset) {
      a->SetNextRingTime(nullptr);
      LogAndRemember(*a);
      xAlarmArray.push_back(a);
    }
    Yield();
  }
}

std::vector<CivilDate> Exclusions_Get() {
  const std::string text = CorePreferencesModified::GetPrefsStrValue("Exclusions", false);
  const std::vector<double> moments = GlobalMethods::SplitDoubleArrayZDN(text, ",");
  std::vector<CivilDate> days;
  days.reserve(moments.size());
  for (const double seconds : moments) {
    Date moment;
    moment.SetTotalSeconds(seconds);
    days.push_back(DayOf(moment));
    Yield();
  }
  return days;
}

}  // namespace tollmere::LocalPreferences
