// The frame that all kinds of alarm share: the guards, the floor, the candidate, and the final test.
#include "schedule/alarm.h"

namespace tollmere {

void TLMAlarm::SetNextRingTime(const Ref<Date>& d) {
  if (!Enabled()) {
    NextRingDateTime = nullptr;
    return;
  }
  if (IsPreset) {
    NextRingDateTime = nullptr;
    return;
  }

  // The floor: the earliest moment of the next ring. Only the minute counts, and an alarm that rang in this
  // minute starts from the next one. A last ring stored with seconds never equals the floor.
  Date dStart;
  if (d != nullptr) {
    dStart.SetTotalSeconds(d->TotalSeconds());
  }
  dStart.SetSecond(0);
  if (LastRungDateTime != nullptr && LastRungDateTime->TotalSeconds() == dStart.TotalSeconds()) {
    dStart.SetMinute(dStart.Minute() + 1);
  }

  // The candidate always starts on the present day, also if `d` is another.
  std::optional<Date> dNext;
  dNext.emplace();
  dNext->SetHour(Hour);
  dNext->SetMinute(Minute);
  dNext->SetSecond(0);

  switch (Type) {
    case AlarmTypeDate:
      SetNextRingTime_Date(dNext, dStart);
      break;
    case AlarmTypeWeekly:
      SetNextRingTime_Weekly(dNext, dStart);
      break;
    case AlarmTypeWeeklyRelative:
      SetNextRingTime_WeeklyRelative(dNext, d);
      break;
    case AlarmTypeHourlyChime:
      SetNextRingTime_HourlyChime(dNext, dStart);
      break;
    case AlarmTypeTimer:
      SetNextRingTime_Timer(dNext, dStart, d);
      break;
    default:
      break;  // The candidate stays as it is.
  }

  if (dNext.has_value() && dNext->WholeSeconds() >= dStart.WholeSeconds()) {
    NextRingDateTime = CopyOf(*dNext);
  } else {
    NextRingDateTime = nullptr;
  }
}

}  // namespace tollmere
