// Programs that are started, and processes that are looked at: all of them real.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <thread>

#include "foundation/system/file_item.h"
#include "foundation/system/preference_service.h"
#include "foundation/system/process_list.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace tollmere::testing {
namespace {

namespace fs = std::filesystem;

// Not the main application's: tests that look for that one may run at the same time.
constexpr const char* kIdentifier = "test.launch";

// Waits, generously, for what is to come about.
bool Eventually(const std::function<bool()>& holds) {
  for (int i = 0; i < 6000 && !holds(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return holds();
}

bool HasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

int Launch(const std::string& path) {
  FolderItem item(path);
  item.Launch(true);
  return item.LastErrorCode();
}

TEST(LaunchTest, TheStartedProgramHasNothingOfOurs) {
  TemporaryFolder folder;
  const std::string out = folder.Path() + "/out";
  setenv("OUT", out.c_str(), 1);
  const std::string bundle = folder.WriteBundle("A.app", ReadWholeFile(TEST_DATA "/report.sh"), kIdentifier);
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
  EXPECT_FALSE(HasChildren());
  EXPECT_TRUE(Eventually([&] { return fs::exists(out); }));
  EXPECT_EQ(ReadWholeFile(out),
            "/\n/dev/null\n/dev/null\nown session\nSigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST(LaunchTest, WhatCannotBeStartedSaysWhy) {
  TemporaryFolder folder;
  const auto with_info = [&](const std::string& name, const char* info) {
    folder.Write(name + "/Contents/Info.plist", info);
    return folder.Path() + "/" + name;
  };
  const std::pair<std::string, int> rows[] = {
      {folder.Path() + "/none", ENOENT},
      {folder.Path(), ENOENT},  // a folder that is no bundle
      {folder.Write("text", "x"), EACCES},
      {folder.Write("garbage", "x", true), ENOEXEC},
      {folder.Write("script", "#!/nowhere/sh\n", true), ENOENT},
      {with_info("A", "x"), ENOEXEC},
      {with_info("B", "<plist><dict/></plist>"), ENOEXEC},
      {with_info("C", "<plist><dict><key>CFBundleExecutable</key><string>../x</string></dict></plist>"),
       ENOEXEC}};
  for (const auto& [path, error] : rows) {
    EXPECT_EQ(Launch(path), error) << path;
  }
}

TEST(LaunchTest, AThousandStartsLeaveNothingBehind) {
  TemporaryFolder folder;
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n", kIdentifier);
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
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n", kIdentifier);
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
  // Starts a child from `path`; it has become what it is to be when this returns.
  pid_t Start(std::string path, std::string argument = "", uid_t user = getuid()) {
    char* const argv[] = {path.data(), argument.empty() ? nullptr : argument.data(), nullptr};
    int ready[2];
    EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
    started_ = fork();
    if (started_ == 0) {
      dup2(open("/dev/null", O_RDWR), STDOUT_FILENO);
      _exit(setuid(user) == 0 ? execv(path.c_str(), argv) : 1);
    }
    close(ready[1]);
    char none = 0;
    EXPECT_EQ(read(ready[0], &none, 1), 0);  // exec has closed the other end
    close(ready[0]);
    return started_;
  }
  void End() {
    kill(started_, SIGKILL);
    waitpid(started_, nullptr, 0);
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
  void CopySleepTo(const std::string& path) const {
    fs::copy_file("/bin/sleep", path, fs::copy_options::overwrite_existing);
  }

  TemporaryFolder folder_;
  const std::string identifier_ = "test" + folder_.Path();  // of no other process on this machine
  const std::string bundle_ = folder_.WriteBundle("Tollmere.app", "", identifier_);
  const std::string executable_ = bundle_ + "/Contents/MacOS/Tollmere";
  pid_t started_ = -1;
};

TEST_F(ProcessListTest, AProgramEvenWhenReplacedButNoZombie) {
  CopySleepTo(executable_);
  EXPECT_FALSE(Runs());
  Start(executable_, "600");
  EXPECT_TRUE(Runs());
  fs::remove(executable_);
  folder_.Write("Tollmere.app/Contents/MacOS/Tollmere", "another", true);
  EXPECT_TRUE(Runs());
  ProcessMBS before;
  before.GetFirstProcess();
  kill(started_, SIGKILL);
  EXPECT_TRUE(Eventually([&] { return !Runs(); }));  // dead, and not yet waited for
  End();
  do {
    EXPECT_NE(before.BundleID(), identifier_);  // gone while the list was gone through
  } while (before.GetNextProcess());
  fs::remove(executable_);
  fs::create_symlink("/bin/sleep", executable_);
  Start(executable_, "600");
  EXPECT_TRUE(Runs());  // by its name, where the file is elsewhere
  End();
}

TEST_F(ProcessListTest, AScriptUnderItsInterpreter) {
  for (const char* first_line : {"#!/bin/sh", "#! /bin/sh -e", "#!/usr/bin/env bash",
                                 "#!/usr/bin/env -S bash -e", "#!\t/bin/sh\t-e"}) {
    folder_.Write("Tollmere.app/Contents/MacOS/Tollmere",
                  first_line + std::string("\nwhile :; do sleep 0.05; done\n"), true);
    Start(executable_);
    EXPECT_TRUE(Eventually([&] { return Runs(); })) << first_line;
    End();
  }
}

TEST_F(ProcessListTest, WhatIsNotTheApplication) {
  const std::string helper = bundle_ + "/Contents/MacOS/helper";
  CopySleepTo(helper);
  folder_.WriteBundle("Folder", "", identifier_);
  const std::string in_folder = folder_.Path() + "/Folder/Contents/MacOS/Tollmere";
  CopySleepTo(in_folder);
  for (const auto& [program, argument] : std::map<std::string, std::string>{
           {helper, "600"}, {in_folder, "600"}, {"/usr/bin/tail", "-f" + executable_}}) {
    Start(program, argument);
    EXPECT_FALSE(Runs()) << program;
    End();
  }
  CopySleepTo(executable_);
  fs::permissions(folder_.Path(), fs::perms::all);
  fs::permissions(executable_, fs::perms::all);
  if (getuid() == 0) {
    Start(executable_, "600", 65'534);  // another user's
    EXPECT_FALSE(Runs());
    End();
  }
}

}  // namespace
}  // namespace tollmere::testing
