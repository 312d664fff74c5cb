#include <cstdio>
#include <string>
#include <string_view>

#include "foundation/system/debug_log.h"
#include "foundation/system/event_loop.h"
#include "foundation/system/single_instance.h"
#include "preferences/core_preferences.h"
#include "watch/app.h"

namespace {

constexpr const char* kVersion = "tollmere-helper " TOLLMERE_VERSION "\n";
constexpr const char* kHelp =
    "Usage: tollmere-helper [--help | --version]\n"
    "\n"
    "Starts Tollmere when one of its alarms falls due. It reads the alarms once a second\n"
    "from $XDG_CONFIG_HOME/com.vendrel.Tollmere9.plist (~/.config where that is unset),\n"
    "logs to standard error, and runs until SIGTERM, SIGINT or SIGHUP. It has no settings.\n";

tollmere::Ref<tollmere::Application> MakeApp() {
  // Held to the very end of the process.
  static const tollmere::SingleInstance only_agent(
      tollmere::DomainPath(tollmere::CorePreferencesModified::TLMDomain()->str()));
  return tollmere::New<tollmere::App>();
}

int Answer(const char* text) {
  std::fputs(text, stdout);
  return std::fflush(stdout) == 0 ? 0 : 1;
}

int Refuse(const char* argument) {
  std::fprintf(stderr, "tollmere-helper: unexpected argument: %s (see --help)\n",
               tollmere::EscapeForLog(argument).c_str());
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc <= 1) {
    return tollmere::RunApplication(MakeApp, tollmere::ReleaseGlobals);
  }
  const std::string_view option = argv[1];
  const char* const answer = option == "--help" ? kHelp : option == "--version" ? kVersion : nullptr;
  if (answer == nullptr || argc > 2) {
    return Refuse(argv[answer == nullptr ? 1 : 2]);
  }
  return Answer(answer);
}
