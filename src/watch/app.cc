#include "watch/app.h"

#include "foundation/system/debug_log.h"
#include "launch/engine.h"
#include "preferences/core_preferences.h"
#include "preferences/global_methods.h"
#include "preferences/local_preferences.h"
#include "watch/check_alarms_timer.h"

namespace tollmere {

void App::Event_Open() {
  constexpr std::int32_t kPeriodMilliseconds = 1000;
  constexpr std::int32_t kRepeating = 2;
  System::DebugLog("Tollmere Helper Launched");
  LocalPreferences::RememberedNextRingDates = New<Dictionary>();
  LocalPreferences::MasteRingHistory = New<Dictionary>();
  GlobalMethods::MasterRandom = New<Random>();
  CorePreferencesModified::Load();
  Engine::tmrCheckAlarms = New<CheckAlarmsTimer>();
  Engine::tmrCheckAlarms->SetPeriod(kPeriodMilliseconds);
  Engine::tmrCheckAlarms->SetMode(kRepeating);
  System::DebugLog("Tollmere Helper Launch Complete");
}

void ReleaseGlobals() {
  Engine::tmrCheckAlarms = nullptr;
  LocalPreferences::xAlarmArray.clear();
  CheckAlarmsTimer::dRecentCheck = nullptr;
  LocalPreferences::RememberedNextRingDates = nullptr;
  LocalPreferences::MasteRingHistory = nullptr;
  GlobalMethods::MasterRandom = nullptr;
  Engine::dLastLaunchAttempt = nullptr;
  Engine::mTollmereAppFile = nullptr;
  CorePreferencesModified::xPreferences = nullptr;
  CorePreferencesModified::dPreferenceDefaults = nullptr;
}

}  // namespace tollmere
