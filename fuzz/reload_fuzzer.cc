// A whole reload: the bytes stand as the file of the preference domain, are read, and become alarms with
// their next ring times, on two days whose month has 31 days and 29.
#include <signal.h>
#include <stdlib.h>
#include <time.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include "foundation/system/clock.h"
#include "foundation/yield.h"
#include "preferences/core_preferences.h"
#include "preferences/local_preferences.h"
#include "property_list_mutation.h"

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t max_size);

namespace tollmere {

class ProcessEndOfTests {
 public:
  static void TakeBack() { ProcessEnd::requested_ = false; }
};

}  // namespace tollmere

namespace {

constexpr std::int64_t kDays[] = {1'801'389'600,   // 31 January 2027, 10:00:00
                                  1'835'481'599};  // 29 February 2028, 23:59:59
std::int64_t the_clock = kDays[0];

void Expect(bool holds, const char* what) {
  if (!holds) {
    std::fprintf(stderr, "Does not hold: %s\n", what);
    std::abort();
  }
}

// A folder of this process, with the file of the domain in it. It goes with the process where that comes to
// its regular end, which the fuzzer does not always grant.
class ConfigFolder {
 public:
  ConfigFolder() {
    std::string folder = std::filesystem::temp_directory_path() / "tollmere-fuzz-XXXXXX";
    Expect(mkdtemp(folder.data()) != nullptr, "a temporary folder can be made");
    folder_ = folder;
    setenv("XDG_CONFIG_HOME", folder.c_str(), 1);
  }
  ~ConfigFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
  }
  ConfigFolder(const ConfigFolder&) = delete;
  ConfigFolder& operator=(const ConfigFolder&) = delete;

  void Write(const std::uint8_t* data, std::size_t size) const {
    std::ofstream file(folder_ / "com.vendrel.Tollmere9.plist", std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
    Expect(file.good(), "the file can be written");
  }

 private:
  std::filesystem::path folder_;
};

void AskForEnd(int) { tollmere::ProcessEnd::Request(); }

// Asks for the end of the process a while after its construction, as a user would who waits in vain: a
// search may go on for ever. Gone, it leaves nothing asked for.
class Patience {
 public:
  Patience() { Set(kNanoseconds); }
  ~Patience() {
    Set(0);
    tollmere::ProcessEndOfTests::TakeBack();
  }
  Patience(const Patience&) = delete;
  Patience& operator=(const Patience&) = delete;

 private:
  static constexpr long kNanoseconds = 2'000'000;

  static timer_t MakeTimer() {
    struct sigaction action {};
    action.sa_handler = AskForEnd;
    action.sa_flags = SA_RESTART;
    sigaction(SIGRTMIN, &action, nullptr);
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGRTMIN;
    timer_t timer{};
    Expect(timer_create(CLOCK_MONOTONIC, &event, &timer) == 0, "a timer can be made");
    return timer;
  }

  static void Set(long nanoseconds) {
    static const timer_t timer = MakeTimer();
    const itimerspec once{{0, 0}, {0, nanoseconds}};
    timer_settime(timer, 0, &once, nullptr);
  }
};

void ReloadOn(std::int64_t day) {
  using namespace tollmere;
  the_clock = day;
  LocalPreferences::Reload();
  for (const Ref<TLMAlarm>& alarm : LocalPreferences::xAlarmArray) {
    Expect(alarm->Enabled() && !alarm->IsPreset && alarm->Type != AlarmTypeTimer, "the alarm is watched");
    Expect(LocalPreferences::RememberedNextRingDates->HasKey(Int32ToVariant(alarm->UniqueID)),
           "the alarm is remembered");
  }
}

void ReloadTwice() {
  using namespace tollmere;
  CorePreferencesModified::Load();
  LocalPreferences::RememberedNextRingDates = New<Dictionary>();
  LocalPreferences::MasteRingHistory = New<Dictionary>();
  const Patience patience;
  try {
    for (const std::int64_t day : kDays) {
      ReloadOn(day);
    }
  } catch (const IllegalCastException&) {
    return;  // A stored alarm of malformed shape.
  } catch (const EndOfProcess&) {
    return;
  }
}

}  // namespace

namespace tollmere {

std::int64_t ReadWallClock() noexcept { return the_clock; }

}  // namespace tollmere

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t max_size,
                                               unsigned seed) {
  if (seed % 4 == 0) {
    return LLVMFuzzerMutate(data, size, max_size);
  }
  const bool is_binary = std::string_view(reinterpret_cast<const char*>(data), size).starts_with("bplist");
  return is_binary ? tollmere::fuzz::MutateBinary(data, size, max_size)
                   : tollmere::fuzz::MutateXml(data, size, max_size, seed);
}

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  setenv("TZ", "UTC", 1);
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY"}) {
    unsetenv(name);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const ConfigFolder folder;
  folder.Write(data, size);
  ReloadTwice();
  return 0;
}
