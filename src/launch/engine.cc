#include "launch/engine.h"

#include <cmath>

#include "foundation/system/debug_log.h"
#include "foundation/system/launch_services.h"
#include "foundation/system/process_list.h"
#include "foundation/text.h"
#include "foundation/yield.h"
#include "launch/folder_item_extension.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"

namespace tollmere::Engine {
namespace {

constexpr const char* kBundleIdentifier = "com.vendrel.Tollmere9";
constexpr const char* kBundleFileName = "Tollmere.app";

bool IsMissing(const Ref<FolderItem>& item) { return item == nullptr || !item->Exists(); }

// The first line is written once an alarm and minute: not when this alarm's ring is on record for it.
bool RangInMinute(std::int32_t id, const Ref<Date>& now) {
  const Ref<Dictionary>& history = LocalPreferences::MasteRingHistory;
  const Variant key = Int32ToVariant(id);
  return history->HasKey(key) && IsSameMinute(Cast<Date>(VariantToObject(history->Value(key))), now);
}

// Where the main application would be started from, without a search and its log: as it was found last, as it
// has stored its place itself, and as it would be installed. Some may be Nil.
std::vector<Ref<FolderItem>> PlacesOfTollmere() {
  std::vector<Ref<FolderItem>> places = {mTollmereAppFile,
                                         CorePreferencesModified::GetPrefsFileValue("LastExeLocation")};
  for (const std::string& folder : ApplicationFolders()) {
    places.push_back(New<FolderItem>(folder)->Child(kBundleFileName));
  }
  return places;
}

}  // namespace

bool IsRunning() {
  const Ref<ProcessMBS> process = New<ProcessMBS>();
  for (const Ref<FolderItem>& place : PlacesOfTollmere()) {
    process->ConsiderApplication(place, kBundleIdentifier);
  }
  process->GetFirstProcess();
  do {
    if (EqualsIgnoringCase(process->BundleID(), kBundleIdentifier)) {
      return true;
    }
    Yield();
  } while (process->GetNextProcess());
  return false;
}

void LaunchTLM(const std::string& name, std::int32_t id) {
  const Ref<Date> now = New<Date>();
  if (!RangInMinute(id, now)) {
    System::DebugLog("Alarm \"" + name +
                     "\" is to ring, launching Tollmere if not launched within the past minute.");
  }

  if (dLastLaunchAttempt != nullptr &&
      std::floor(now->TotalSeconds()) == std::floor(dLastLaunchAttempt->TotalSeconds())) {
    return;
  }
  if (IsSameMinute(now, dLastLaunchAttempt)) {
    return;
  }
  System::DebugLog("Alarm \"" + name +
                   "\" is to ring, launching Tollmere as it has not been launched within the past minute.");
  // Before anything else, so that whatever becomes of the attempt closes the minute.
  dLastLaunchAttempt = New<Date>();

  if (IsRunning()) {
    System::DebugLog("Tollmere already running.");
    return;
  }
  if (TollmereAppFile() == nullptr || !TollmereAppFile()->Exists()) {
    System::DebugLog("Tollmere could not be found!");
    return;
  }
  TollmereAppFile()->Launch(true);
  const std::int32_t code = TollmereAppFile()->LastErrorCode();
  if (code != 0) {
    System::DebugLog("Failed to Launch Tollmere; error code: " + Str(code) + ".");
  } else {
    System::DebugLog("Successfully launched Tollmere.");
  }
}

bool IsSameMinute(const Ref<Date>& d1, const Ref<Date>& d2) {
  if (d1 == nullptr || d2 == nullptr) {
    return false;
  }
  return d1->Year() == d2->Year() && d1->Month() == d2->Month() && d1->Day() == d2->Day() &&
         d1->Hour() == d2->Hour() && d1->Minute() == d2->Minute();
}

Ref<FolderItem> TollmereAppFile() {
  Ref<FolderItem> candidate = mTollmereAppFile;
  if (!IsMissing(candidate)) {
    return candidate;
  }
  candidate = CorePreferencesModified::GetPrefsFileValue("LastExeLocation");
  if (IsMissing(candidate)) {
    candidate = LaunchServicesFindApplicationForInfoMBS("", kBundleIdentifier, "");
  }
  if (IsMissing(candidate)) {
    const std::vector<std::string> path = {kBundleFileName};
    candidate = FolderItemExtensionModified::GetSubFolderItem(SpecialFolder::Applications(), &path);
  }
  if (IsMissing(candidate)) {
    System::DebugLog("Failed to locate the Tollmere executable.");
  } else {
    System::DebugLog("Found Tollmere: " + UnixpathMBS(candidate));
  }
  SetTollmereAppFile(candidate);  // A failed search is kept, too: it is missing, so the next one starts anew.
  return candidate;
}

void SetTollmereAppFile(const Ref<FolderItem>& value) { mTollmereAppFile = value; }

}  // namespace tollmere::Engine
