// The agent's whole output to the world: the main application, found and started.
#pragma once

#include <cstdint>
#include <string>

#include "foundation/date.h"
#include "foundation/object.h"
#include "foundation/system/file_item.h"

namespace tollmere {

class CheckAlarmsTimer;

namespace Engine {

// The one timer of the agent; this reference alone keeps it alive.
inline Ref<CheckAlarmsTimer> tmrCheckAlarms;
// The last time that the main application was looked for, started or not; Nil until then.
inline Ref<Date> dLastLaunchAttempt;
// Where the main application was when it was last looked for; may be Nil, or have gone since.
inline Ref<FolderItem> mTollmereAppFile;

// Makes sure that the main application runs, with at most one attempt in a calendar minute, however many
// alarms ring. `name` and `id` are those of the alarm that is due, and serve the log alone. Every outcome
// is a line of the log; none is an error.
void LaunchTLM(const std::string& name, std::int32_t id);

// True while the main application runs, wherever it lies and however it was started. Throws EndOfProcess.
bool IsRunning();

// True when both are moments of one calendar minute; False when one of them is Nil.
bool IsSameMinute(const Ref<Date>& d1, const Ref<Date>& d2);

// The main application on disk: the place known from before if it is still there, else the place that it has
// stored itself, else what the launch service knows, else where it would lie among the installed
// applications. The result may be Nil, or an item that does not exist.
Ref<FolderItem> TollmereAppFile();
void SetTollmereAppFile(const Ref<FolderItem>& value);

}  // namespace Engine
}  // namespace tollmere
