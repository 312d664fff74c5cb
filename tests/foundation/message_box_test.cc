// Boxes, by stand-ins for the programs that show them. No program is found but those of the test.
#include "foundation/system/message_box.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "support/files.h"
#include "support/log_capture.h"

namespace tollmere::testing {
namespace {

using Lines = std::vector<std::string>;

class MessageBoxTest : public ::testing::Test {
 protected:
  MessageBoxTest() {
    setenv("DISPLAY", ":none", 1);
    setenv("PATH", folder_.Path().c_str(), 1);
    std::filesystem::create_symlink("/usr/bin/env", folder_.Path() + "/env");
    TakeLog();
  }
  ~MessageBoxTest() override {
    setenv("PATH", path_.c_str(), 1);
    for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "LC_ALL"}) {
      unsetenv(name);
    }
  }
  void Install(const std::string& program, const std::string& script) const {
    folder_.Write(program, "#!/bin/sh\n" + script + "\n", true);
  }

  const std::string path_ = getenv("PATH");
  TemporaryFolder folder_;
};

TEST_F(MessageBoxTest, TheProgramGetsTheTextAndNothingElse) {
  signal(SIGUSR1, SIG_IGN);
  const std::string seen = folder_.Path() + "/seen";
  for (const auto& row : Table("box_programs.txt")) {
    Install(row[0], "{ printf '[%s]' \"$LC_ALL\" \"$@\"; /usr/bin/grep SigIgn /proc/self/status; } >" + seen);
    for (const std::string locale : {"C", "C.UTF-8", "C.utf8"}) {
      setenv("LC_ALL", locale.c_str(), 1);
      MsgBox("--ü <b> & \\n --x");
      EXPECT_EQ(ReadWholeFile(seen),
                "[" + (locale == "C" ? "C.UTF-8" : locale) + "]" + row[1] + "SigIgn:\t0000000000000000\n");
    }
  }
  signal(SIGUSR1, SIG_DFL);
  EXPECT_EQ(TakeLog(), Lines());
}

// A box that could not be shown leaves its text in the log; one that was closed at once does not. In a child
// each, since after a failure no box is tried for a minute.
TEST_F(MessageBoxTest, WhatWasNotShownIsLogged) {
  const auto show = []() noexcept {
    MsgBox("first\nsecond");
    MsgBox("third");
  };
  const auto log_of_box = [&] {
    if (fork() == 0) {
      show();
      _exit(0);
    }
    int status = 1;
    wait(&status);
    EXPECT_EQ(status, 0);
    return TakeLog();
  };
  const Lines logged = {"first", "    second", "third"};
  for (const auto& row : Table("box_ends.txt")) {
    Install("zenity", row[0]);
    EXPECT_EQ(log_of_box(), row[1] == "logged" ? logged : Lines()) << row[0];
  }
  Install("zenity", "");
  unsetenv("DISPLAY");
  EXPECT_EQ(log_of_box(), logged);
  setenv("WAYLAND_DISPLAY", "none", 1);
  EXPECT_EQ(log_of_box(), Lines());
  folder_.Write("zenity", "no program", true);
  EXPECT_EQ(log_of_box(), logged);
  std::filesystem::remove(folder_.Path() + "/env");  // which sets the encoding
  Install("zenity", "");
  setenv("LC_ALL", "C", 1);
  EXPECT_EQ(log_of_box(), logged);
}

TEST_F(MessageBoxTest, WithoutAProgramEachOfAThousandTextsIsLoggedOnceAMinute) {
  Lines texts;
  for (int i = 0; i < 3000; ++i) {
    texts.push_back("text " + std::to_string(i % 1500));
    MsgBox(texts.back());
  }
  texts.resize(1000);
  EXPECT_EQ(TakeLog(), texts);
}

}  // namespace
}  // namespace tollmere::testing
