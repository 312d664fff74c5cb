// The command line.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tollmere {

struct Options {
  enum class Form { kListing, kNext, kCheck, kHelp, kVersion };
  Form form = Form::kListing;
  bool json = false;
  std::size_t next = 0;      // of kNext
  std::optional<double> at;  // the moment to take for the present one
  std::optional<std::string> store;
};

// What the arguments ask for; empty after one line on standard error that says what is wrong with them.
std::optional<Options> ReadOptions(int argc, char** argv);

// What --help prints.
extern const char* const kHelp;

}  // namespace tollmere
