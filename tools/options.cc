#include "options.h"

#include <getopt.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <string_view>
#include <system_error>

#include "foundation/system/debug_log.h"
#include "still_clock.h"

namespace tollmere {
namespace {

// Long options alone, but for the two letters that everyone tries.
constexpr std::array<option, 8> kLongOptions = {{{"next", required_argument, nullptr, 'n'},
                                                 {"check", no_argument, nullptr, 'c'},
                                                 {"at", required_argument, nullptr, 'a'},
                                                 {"store", required_argument, nullptr, 's'},
                                                 {"json", no_argument, nullptr, 'j'},
                                                 {"help", no_argument, nullptr, 'h'},
                                                 {"version", no_argument, nullptr, 'V'},
                                                 {nullptr, 0, nullptr, 0}}};

std::optional<Options> Refuse(const std::string& what) {
  std::fprintf(stderr, "tollmere-alarms: %s; try --help\n", EscapeForLog(what).c_str());
  return std::nullopt;
}

constexpr const char* kBoth = "--next and --check exclude each other";
constexpr std::size_t kMostRings = 100'000;

// A whole number from 1 on; 0 for a text that is none.
std::size_t Count(std::string_view text) {
  std::size_t count = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  return error == std::errc() && end == text.data() + text.size() && count <= kMostRings ? count : 0;
}

// getopt_long names a letter among others, or has passed the long option.
std::string UnknownOption(std::string_view last) {
  return last.starts_with("--") ? std::string(last) : std::string("-") + static_cast<char>(optopt);
}

}  // namespace

const char* const kHelp =
    "Usage: tollmere-alarms [--next N | --check] [--at MOMENT] [--store FILE] [--json]\n"
    "Tells of each stored alarm when it rings next, and why it will not ring as one may think.\n"
    "\n"
    "  --next N       the next N rings of all alarms, in their order\n"
    "  --check        what is wrong or doubtful in the store\n"
    "  --at MOMENT    at another moment than now: \"2027-01-31 09:59:20\", on the clock of the user's zone\n"
    "  --store FILE   another file than the one that the agent reads\n"
    "  --json         for programs\n"
    "  --help         this text\n"
    "  --version      the version\n"
    "\n"
    "Exit status: 0 nothing is wrong, 1 something is, 2 the store or the command line could not be read.\n";

std::optional<Options> ReadOptions(int argc, char** argv) {
  Options options;
  opterr = 0;  // One line is enough, and it is ours.
  int letter = 0;
  while ((letter = getopt_long(argc, argv, ":h", kLongOptions.data(), nullptr)) != -1) {
    const std::string argument = optarg != nullptr ? optarg : "";
    switch (letter) {
      case 'n':
        if (options.form == Options::Form::kCheck) {
          return Refuse(kBoth);
        }
        options.form = Options::Form::kNext;
        options.next = Count(argument);
        if (options.next == 0) {
          return Refuse("\"" + argument + "\" is no number of rings, 1 to 100000");
        }
        break;
      case 'c':
        if (options.form == Options::Form::kNext) {
          return Refuse(kBoth);
        }
        options.form = Options::Form::kCheck;
        break;
      case 'a':
        options.at = StillClock::ParseMoment(argument);
        if (!options.at.has_value()) {
          return Refuse("\"" + argument + "\" is no moment such as \"2027-01-31 09:59:20\"");
        }
        break;
      case 's':
        options.store = argument;
        break;
      case 'j':
        options.json = true;
        break;
      case 'h':
        options.form = Options::Form::kHelp;
        return options;
      case 'V':
        options.form = Options::Form::kVersion;
        return options;
      case ':':
        return Refuse(std::string(argv[optind - 1]) + " needs a value");
      default:
        return Refuse("unknown option " + UnknownOption(argv[optind - 1]));
    }
  }
  if (optind < argc) {
    return Refuse("unknown argument " + std::string(argv[optind]));
  }
  return options;
}

}  // namespace tollmere
