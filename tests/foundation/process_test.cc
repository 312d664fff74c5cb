// Programs that are started, and processes that are looked at: all of them real.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "foundation/child_process.h"
#include "foundation/event_loop.h"
#include "foundation/file_item.h"
#include "foundation/message_box.h"
#include "foundation/preference_service.h"
#include "foundation/process_list.h"
#include "support/agent_process.h"
#include "support/log_capture.h"
#include "support/temporary_folder.h"

namespace tollmere::testing {
namespace {

namespace fs = std::filesystem;

bool HasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

int Launch(const std::string& path) {
  FolderItem item(path);
  item.Launch(true);
  return item.LastErrorCode();
}

std::string WaitForContent(const std::string& path) {
  Eventually([&] { return fs::exists(path); });
  return ReadWholeFile(path);
}

TEST(LaunchTest, TheStartedProgramHasNothingOfOurs) {
  TemporaryFolder folder;
  const std::string out = folder.Path() + "/out";
  const std::string bundle = folder.WriteBundle(
      "A.app",
      "#!/bin/sh\nexec > " + out +
          ".new\npwd\nreadlink /proc/$$/fd/0 /proc/$$/fd/2\n"
          "ls /proc/$$/fd | grep -vE '^(0|1|2|10)$'\nawk '$5 == $1 && $6 == $1 { print \"own session\" }' "
          "/proc/$$/stat\ngrep -E '^Sig(Blk|Ign)' /proc/self/status\ngrep PPid /proc/$$/status\n"
          "mv " +
          out + ".new " + out + "\n");
  // What could be inherited: an open file, an ignored signal, a blocked signal.
  const int inherited = open("/dev/null", O_RDONLY);
  signal(SIGUSR1, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR2);
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
  EXPECT_EQ(Launch(bundle), 0);
  sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
  signal(SIGUSR1, SIG_DFL);
  close(inherited);
  const std::string report = WaitForContent(out);
  EXPECT_EQ(report.substr(0, report.find("PPid")),
            "/\n/dev/null\n/dev/null\nown session\nSigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
  EXPECT_EQ(report.find("PPid:\t" + std::to_string(getpid()) + "\n"), std::string::npos) << report;
  EXPECT_FALSE(HasChildren());
}

TEST(LaunchTest, WhatCannotBeStartedSaysWhy) {
  TemporaryFolder folder;
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n");
  const auto with_info = [&](const char* info) {
    folder.Write("B.app/Contents/Info.plist", info);
    return folder.Path() + "/B.app";
  };
  EXPECT_EQ(Launch(folder.Path() + "/none"), ENOENT);
  EXPECT_EQ(Launch(folder.Path()), ENOENT);  // a folder that is no bundle
  EXPECT_EQ(Launch(folder.Write("text", "x")), EACCES);
  EXPECT_EQ(Launch(folder.Write("garbage", "x", true)), ENOEXEC);
  EXPECT_EQ(Launch(folder.Write("script", "#!/nowhere/sh\n", true)), ENOENT);
  EXPECT_EQ(Launch(with_info("x")), ENOEXEC);
  EXPECT_EQ(Launch(with_info("<plist><dict/></plist>")), ENOEXEC);
  EXPECT_EQ(
      Launch(with_info("<plist><dict><key>CFBundleExecutable</key><string>../x</string></dict></plist>")),
      ENOEXEC);
  fs::remove(bundle + "/Contents/MacOS/Tollmere");
  EXPECT_EQ(Launch(bundle), ENOENT);
  EXPECT_FALSE(HasChildren());
}

TEST(LaunchTest, AThousandStartsLeaveNothingBehind) {
  TemporaryFolder folder;
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n");
  const std::size_t descriptors = OpenDescriptors();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(Launch(bundle), 0);
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_FALSE(HasChildren());
}

// Faults of the system, met in a child that has been brought to its limit.
TEST(LaunchTest, TheSystemSaysNo) {
  TemporaryFolder folder;
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n");
  const pid_t child = fork();
  if (child == 0) {
    CFPreferencesMBS preferences;
    const rlimit none = {3, 64};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool no_descriptor = Launch(bundle) == EMFILE && Launch("/bin/true") == EMFILE &&
                               !preferences.Synchronize(NewCFStringMBS("d"), nullptr, nullptr);
    ProcessMBS processes;
    processes.GetFirstProcess();
    const bool no_list = processes.BundleID().empty() && !processes.GetNextProcess();
    const rlimit some = {64, 64};
    setrlimit(RLIMIT_NOFILE, &some);
    // A full process table: for root the limit does not hold, so another user it is.
    const rlimit no_process = {0, 0};
    setrlimit(RLIMIT_NPROC, &no_process);
    const bool no_fork = (geteuid() != 0 || setuid(65'534) == 0) && Launch("/bin/true") == EAGAIN;
    _exit((no_descriptor ? 0 : 1) + (no_list ? 0 : 2) + (no_fork ? 0 : 4));
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

class ProcessListTest : public ::testing::Test {
 protected:
  // Starts a child from `path`, and waits until it has become what it is to be.
  pid_t Start(const std::string& path, std::vector<std::string> arguments, uid_t user = getuid()) {
    arguments.insert(arguments.begin(), path);
    std::vector<char*> argv;
    for (std::string& argument : arguments) {
      argv.push_back(argument.data());
    }
    argv.push_back(nullptr);
    int ready[2];
    EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
    const pid_t child = fork();
    if (child == 0) {
      dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
      if (user != getuid() && setuid(user) != 0) {
        _exit(126);
      }
      execv(path.c_str(), argv.data());
      _exit(127);
    }
    close(ready[1]);
    char none = 0;
    EXPECT_EQ(read(ready[0], &none, 1), 0);  // exec has closed the other end
    close(ready[0]);
    started_.push_back(child);
    return child;
  }
  void TearDown() override {
    for (const pid_t child : started_) {
      kill(child, SIGKILL);
      waitpid(child, nullptr, 0);
    }
  }
  bool Runs() const {
    ProcessMBS process;
    process.GetFirstProcess();
    do {
      if (process.BundleID() == identifier_) {
        return true;
      }
    } while (process.GetNextProcess());
    return false;
  }

  TemporaryFolder folder_;
  const std::string identifier_ = "test" + folder_.Path();  // of no other process on this machine
  const std::string bundle_ = folder_.WriteBundle("Tollmere.app", "", identifier_);
  const std::string executable_ = bundle_ + "/Contents/MacOS/Tollmere";
  std::vector<pid_t> started_;
};

TEST_F(ProcessListTest, AProgramEvenWhenReplacedButNoZombie) {
  fs::copy_file("/bin/sleep", executable_, fs::copy_options::overwrite_existing);
  EXPECT_FALSE(Runs());
  const pid_t child = Start(executable_, {"600"});
  EXPECT_TRUE(Runs());
  fs::remove(executable_);
  folder_.Write("Tollmere.app/Contents/MacOS/Tollmere", "another", true);
  EXPECT_TRUE(Runs());
  kill(child, SIGKILL);
  EXPECT_TRUE(Eventually([&] { return !Runs(); }));  // dead, and not yet waited for
}

TEST_F(ProcessListTest, AScriptUnderItsInterpreter) {
  for (const char* first_line : {"#!/bin/sh", "#! /bin/sh -e", "#!/usr/bin/env bash",
                                 "#!/usr/bin/env -S bash -e", "#!\t/bin/sh\t-e"}) {
    folder_.Write("Tollmere.app/Contents/MacOS/Tollmere",
                  first_line + std::string("\nwhile :; do sleep 0.05; done\n"), true);
    const pid_t child = Start(executable_, {});
    EXPECT_TRUE(Eventually([&] { return Runs(); })) << first_line;
    kill(child, SIGKILL);
    EXPECT_TRUE(Eventually([&] { return !Runs(); }));
  }
}

TEST_F(ProcessListTest, WhatIsNotTheApplication) {
  fs::copy_file("/bin/sleep", bundle_ + "/Contents/MacOS/helper");
  Start(bundle_ + "/Contents/MacOS/helper", {"600"});  // a helper inside the bundle
  Start("/usr/bin/tail", {"-f", executable_});         // a program that has its file open
  folder_.WriteBundle("Folder", "", identifier_);      // no bundle by its name
  const std::string in_folder = folder_.Path() + "/Folder/Contents/MacOS/Tollmere";
  fs::copy_file("/bin/sleep", in_folder, fs::copy_options::overwrite_existing);
  Start(in_folder, {"600"});
  if (getuid() == 0) {
    fs::permissions(folder_.Path(), fs::perms::all);
    fs::copy_file("/bin/sleep", executable_, fs::copy_options::overwrite_existing);
    fs::permissions(executable_, fs::perms::all);
    Start(executable_, {"600"}, 65'534);  // another user's
  }
  EXPECT_FALSE(Runs());
}

TEST_F(ProcessListTest, LinksDoNotHideIt) {
  fs::remove(executable_);
  fs::create_symlink("/bin/sleep", executable_);
  Start(executable_, {"600"});
  EXPECT_TRUE(Runs());
}

TEST_F(ProcessListTest, ProcessesThatVanishMeanwhile) {
  ProcessMBS process;
  const pid_t child = Start("/bin/sleep", {"600"});
  process.GetFirstProcess();
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  std::size_t count = 0;
  do {
    process.BundleID();
    ++count;
  } while (process.GetNextProcess());
  EXPECT_GT(count, 1U);
  EXPECT_EQ(process.BundleID(), "");
}

// Stand-ins for the programs that show a box take down their arguments.
TEST(MessageBoxTest, TheTextIsNeverTakenForMore) {
  TemporaryFolder folder;
  const std::string path = getenv("PATH");
  const std::string script = "#!/bin/sh\nprintf '[%s]' \"$@\" > " + folder.Path() + "/seen\n";
  setenv("DISPLAY", ":none", 1);
  struct Row {
    const char* program;
    const char* seen;
  };
  for (const Row& row : std::initializer_list<Row>{
           {"xmessage", "[-center][<b> & \\n --x]"},
           {"kdialog",
            "[--error][<qt><p style=\"white-space: pre-wrap\">&lt;b&gt; &amp; &#92;n --x</p></qt>]"},
           {"zenity", "[--error][--no-markup][--text=<b> & \\\\n --x]"}}) {
    folder.Write(row.program, script, true);
    setenv("PATH", (folder.Path() + ":/usr/bin:/bin").c_str(), 1);
    MsgBox("<b> & \\n --x");
    EXPECT_EQ(ReadWholeFile(folder.Path() + "/seen"), row.seen);
  }
  TakeLog();
  // A box that could not be shown, whatever the reason, leaves its text in the log.
  folder.Write("zenity", "#!/bin/sh\nexit 1\n", true);
  MsgBox("first\nsecond");
  EXPECT_EQ(TakeLog(), std::vector<std::string>({"first", "    second"}));
  setenv("PATH", path.c_str(), 1);
  unsetenv("DISPLAY");
  EXPECT_FALSE(HasChildren());
}

}  // namespace
}  // namespace tollmere::testing
