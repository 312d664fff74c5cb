// The main application, as the agent would find it.
#pragma once

#include <string>

namespace tollmere {

struct MainApplication {
  std::string path;        // empty: not found
  std::string executable;  // empty where there is none
  std::string problem;     // why it would not be started; may be empty
};

MainApplication FindApplication();

}  // namespace tollmere
