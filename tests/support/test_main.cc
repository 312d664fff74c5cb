#include <gtest/gtest.h>

#include <cstdlib>

#include "support/log_capture.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  setenv("TZ", "UTC", 1);
  unsetenv("DISPLAY");
  unsetenv("WAYLAND_DISPLAY");
  if (!testing::GTEST_FLAG(list_tests)) {
    tollmere::testing::CaptureLog();
  }
  return RUN_ALL_TESTS();
}
