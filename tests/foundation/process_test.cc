// Programs that are started, and processes that are looked at: all of them real.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/fanotify.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "foundation/system/child_process.h"
#include "foundation/system/debug_log.h"
#include "foundation/system/descriptor.h"
#include "foundation/system/event_loop.h"
#include "foundation/system/file_item.h"
#include "foundation/system/launch_services.h"
#include "foundation/system/preference_service.h"
#include "foundation/system/process_list.h"
#include "foundation/yield.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace tollmere::testing {
namespace {

namespace fs = std::filesystem;

// Waits, generously, for what is to come about.
bool Eventually(const std::function<bool()>& holds) {
  for (const std::int64_t give_up = MonotonicClock() + 60'000'000'000; MonotonicClock() < give_up;) {
    if (holds()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

bool HasChildren() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

int Launch(const std::string& path) {
  FolderItem item(path);
  item.Launch(true);
  return item.LastErrorCode();
}

TEST(LaunchTest, AThousandStartsLeaveNothingBehind) {
  TemporaryFolder folder;
  // Not the main application's identifier: tests that look for that one may run at the same time.
  const std::string bundle = folder.WriteBundle("A.app", "#!/bin/sh\n", "test.launch");
  const std::size_t descriptors = OpenDescriptors();
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(Launch(bundle), 0);
  }
  EXPECT_EQ(OpenDescriptors(), descriptors);
  EXPECT_FALSE(HasChildren());
}

// As by a system that is out of memory, before it has started anything.
TEST(LaunchTest, AChildThatIsKilledIsAFailure) {
  static bool kills = true;
  pthread_atfork(nullptr, nullptr, [] {
    if (kills) {
      raise(SIGKILL);
    }
  });
  EXPECT_EQ(Launch("/bin/true"), ECHILD);
  kills = false;
  EXPECT_EQ(Launch("/bin/true"), 0);
  EXPECT_FALSE(HasChildren());
}

class ProcessListTest : public ::testing::Test {
 protected:
  ProcessListTest() {
    // Whatever the test starts becomes its child in the end.
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    setenv("HOME", folder_.Path().c_str(), 1);
    setenv("F", folder_.Path().c_str(), 1);
    setenv("B", bundle_.c_str(), 1);
    setenv("X", (bundle_ + "/Contents/MacOS/Tollmere").c_str(), 1);
    setenv("PATH", (folder_.Path() + "/bin:/usr/bin:/bin").c_str(), 1);
    fs::copy_file(WAITING_PROGRAM, folder_.Path() + "/waiting-program");
    EXPECT_TRUE(geteuid() != 0 || Shell("chown -R " + std::to_string(kUser) + " $F"));
  }
  ~ProcessListTest() override {
    End();
    prctl(PR_SET_CHILD_SUBREAPER, 0);
  }

  // With what makes a script or a program that says, by the file up, that it runs. No path is split or
  // expanded, whatever is in it.
  static bool Shell(const std::string& commands) {
    constexpr const char* kFunctions = R"(set -ef; IFS=
      script() { printf '#!/bin/sh\necho >"$F/up"\nsleep 600\n:\n' >$1; chmod 755 $1; }
      program() { cp $F/waiting-program $1; }
      python() {
        printf '#!%s\nimport ctypes, os, time\ndef wait():\n    open(os.environ["F"] + "/up", "w")\n' $2 >$1
        printf '    time.sleep(600)\n%s\nwait()\n' ${3-} >>$1; chmod 755 $1; }
      )";
    return std::system((kFunctions + commands).c_str()) == 0;
  }
  bool IsUp() const {
    return Eventually([&] { return fs::exists(folder_.Path() + "/up"); });
  }
  // Sees to it that `act` holds in a process of its own, which knows nothing of what others have started and
  // may no more than a user may.
  static bool Apart(const std::function<bool()>& act) {
    const pid_t child = fork();
    if (child == 0) {
      _exit((geteuid() != 0 || setuid(kUser) == 0) && act() ? 0 : 1);
    }
    int status = 1;
    waitpid(child, &status, 0);
    return status == 0;
  }
  static pid_t StartByHand(const std::string& command) {
    const pid_t process = fork();
    if (process == 0) {
      execl("/bin/bash", "bash", "-c", ("set -f; IFS=; exec </dev/null >/dev/null; " + command).c_str(),
            nullptr);
    }
    return process;
  }
  // The cursor, told of the place, comes to a process of the bundle.
  bool Runs(const std::string& place) const {
    ProcessMBS process;
    if (!place.empty()) {
      process.ConsiderApplication(New<FolderItem>(folder_.Path() + "/" + place), identifier_);
    }
    process.GetFirstProcess();
    do {
      if (process.BundleID() == identifier_) {
        return true;
      }
    } while (process.GetNextProcess());
    return false;
  }
  static std::vector<pid_t> Children() {
    std::ifstream children("/proc/thread-self/children");
    return {std::istream_iterator<pid_t>(children), {}};
  }
  static void End() {
    do {
      for (const pid_t child : Children()) {
        kill(child, SIGKILL);
      }
    } while (wait(nullptr) > 0);
  }

  static constexpr uid_t kUser = 65'534;
  TemporaryFolder folder_;
  const std::string identifier_ = "test" + folder_.Path();  // of no other process on this machine
  const std::string bundle_ = folder_.WriteBundle("Applications/Tollmere.app", "", identifier_);
};

TEST_F(ProcessListTest, WhatCannotBeStartedSaysWhy) {
  for (const auto& row : Table("cannot_be_started.txt")) {
    ASSERT_TRUE(Shell(row[0]));
    EXPECT_EQ(std::strerror(Launch(folder_.Path() + "/" + row[1])), row[2]) << row[0];
  }
}

// Faults of the system, met in a child that has been brought to its limit.
TEST_F(ProcessListTest, TheSystemSaysNo) {
  EXPECT_TRUE(Apart([&] {
    CFPreferencesMBS preferences;
    const rlimit none = {3, 64};
    setrlimit(RLIMIT_NOFILE, &none);
    const bool no_descriptor =
        Launch(bundle_) == EMFILE && Launch("/bin/true") == EMFILE &&
        StartDetached("/bin/true", "").process == 0 && RunAndWait("true", {}).status == -1 &&
        !preferences.Synchronize(NewCFStringMBS("d"), nullptr, nullptr) && FolderItem("/bin/true").Exists();
    ProcessMBS processes;
    processes.GetFirstProcess();
    const bool no_list = processes.BundleID().empty() && !processes.GetNextProcess();
    const rlimit some = {64, 64};
    setrlimit(RLIMIT_NOFILE, &some);
    const rlimit no_process = {0, 0};  // A full process table.
    setrlimit(RLIMIT_NPROC, &no_process);
    return no_descriptor && no_list && Launch("/bin/true") == EAGAIN && RunAndWait("true", {}).status == -1 &&
           StartDetached("/bin/true", "").process == 0 && FolderItem("/bin/true").Exists();
  }));
}

// The log needs none to say so, in plain characters and no more than a line's worth.
TEST_F(ProcessListTest, WithoutMemoryALineIsStillLogged) {
  if (IsSanitized()) {
    GTEST_SKIP() << "sanitizers end a process that has no memory left";
  }
  TakeLog();
  const std::string text = "\x80 is no letter" + std::string(200, '.');
  EXPECT_TRUE(Apart([&] {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_AS, &none);
    static void* volatile taken;
    // Small pieces are kept by their size, so each size is used up.
    for (std::size_t size = 1U << 20U; size > 8; size = size > 2048 ? size / 2 : size - 8) {
      do {
        taken = std::malloc(size);
      } while (taken != nullptr);
    }
    System::DebugLog(text);
    return true;
  }));
  EXPECT_EQ(TakeLog(), std::vector<std::string>{"?" + text.substr(1, 126)});
}

class WaysTest : public ProcessListTest, public ::testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(WaysTest, IsKnownToRun) {
  std::vector<std::string> row = GetParam();
  row.resize(6);
  const std::string& start = row[2];
  const std::string& place = row[5];
  const bool counts = row[4].empty();
  const auto is_known = [&] { return Eventually([&] { return Runs(place) == counts; }); };
  EXPECT_TRUE(Apart([&] {
    if (!Shell(row[1])) {
      return false;
    }
    if (!start.empty()) {
      StartByHand(start);
    } else if (Launch(place.empty() ? bundle_ : folder_.Path() + "/" + place) != 0) {
      return false;
    }
    return IsUp() && (!counts || is_known()) && Shell(row[3]) && is_known();
  }));
  EXPECT_TRUE(Apart(is_known)) << "to an agent started since";
}
INSTANTIATE_TEST_SUITE_P(Ways, WaysTest, ::testing::ValuesIn(Table("ways.txt")),
                         [](const auto& row) { return TestName(row.param[0]); });

TEST_F(ProcessListTest, AStartedProgramHasNothingOfOurs) {
  ASSERT_TRUE(Shell("program $X"));
  // What could be inherited: an open file, an ignored signal, a blocked signal.
  const Descriptor inherited(open("/dev/null", O_RDONLY));
  signal(SIGUSR1, SIG_IGN);
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGUSR2);
  sigprocmask(SIG_BLOCK, &blocked, nullptr);
  EXPECT_EQ(Launch(bundle_), 0);
  sigprocmask(SIG_UNBLOCK, &blocked, nullptr);
  signal(SIGUSR1, SIG_DFL);
  const pid_t program = Children().at(0);
  const std::string folder = "/proc/" + std::to_string(program);
  EXPECT_EQ(getsid(program), program);
  EXPECT_EQ(fs::read_symlink(folder + "/cwd"), "/");
  // Once it has its libraries, it has no other descriptor.
  EXPECT_TRUE(Eventually([&] { return std::distance(fs::directory_iterator(folder + "/fd"), {}) == 3; }));
  for (const char* stream : {"0", "1", "2"}) {
    EXPECT_EQ(fs::read_symlink(folder + "/fd/" + stream), "/dev/null");
  }
  const std::string status = ReadWholeFile(folder + "/status");
  EXPECT_NE(status.find("SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"), std::string::npos);
}

TEST_F(ProcessListTest, TheDeadAndThoseOfOthersDoNotCount) {
  ASSERT_TRUE(Shell("program $X"));
  StartByHand("exec $X");
  EXPECT_TRUE(Eventually([&] { return Runs(""); }));
  if (geteuid() == 0) {
    EXPECT_TRUE(Apart([&] { return !Runs(""); }));
  }
  ProcessMBS before;
  before.GetFirstProcess();
  siginfo_t dead;
  kill(Children().front(), SIGKILL);
  EXPECT_EQ(waitid(P_ALL, 0, &dead, WEXITED | WNOWAIT), 0);
  EXPECT_FALSE(Runs(""));
  End();
  do {
    EXPECT_NE(before.BundleID(), identifier_);  // gone while the list was gone through
  } while (before.GetNextProcess());
  before.GetFirstProcess();  // from the beginning again
  EXPECT_TRUE(before.GetNextProcess());
}

TEST_F(ProcessListTest, ANumberThatIsGivenOutAgain) {
  const pid_t remembered = StartByHand("exec sleep 600");
  RememberStart(remembered, identifier_);
  EXPECT_TRUE(Runs(""));
  pid_t again = remembered;
  for (int tries = 0; tries == 0 || again != remembered; ++tries) {
    kill(again, SIGKILL);
    waitpid(again, nullptr, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));  // The system counts hundredths of a second.
    if (tries == 100 || !(std::ofstream("/proc/sys/kernel/ns_last_pid") << remembered - 1).flush()) {
      GTEST_SKIP() << "the number is taken, or cannot be chosen here, or not without root";
    }
    again = StartByHand("exec sleep 600");
  }
  EXPECT_FALSE(Runs(""));
  kill(again, SIGKILL);
  waitpid(again, nullptr, 0);
}

// A scanner that looks at each program before it starts, and does not answer.
TEST_F(ProcessListTest, AStartThatHangs) {
  ASSERT_TRUE(Shell("script $X"));
  Descriptor scanner(fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY));
  if (fanotify_mark(scanner.Get(), FAN_MARK_ADD, FAN_OPEN_EXEC_PERM, AT_FDCWD, getenv("X")) != 0) {
    GTEST_SKIP() << "no such scanner here, or not without root";
  }
  rusage before{};
  rusage after{};
  getrusage(RUSAGE_SELF, &before);
  const std::clock_t time = std::clock();
  EXPECT_EQ(Launch(bundle_), ETIMEDOUT);
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, 100);  // It sleeps meanwhile.
  EXPECT_LT(std::clock() - time, 3 * CLOCKS_PER_SEC);
  const std::vector<pid_t> hanging = Children();
  ASSERT_EQ(hanging.size(), 1U);
  const std::string descriptors = "/proc/" + std::to_string(hanging[0]) + "/fd";
  EXPECT_EQ(std::distance(fs::directory_iterator(descriptors), {}),
            4);  // the standard ones, and the report's
  setenv("T", std::to_string(getpid()).c_str(), 1);
  EXPECT_TRUE(Apart([&] {
    signal(SIGTERM, [](int) { ProcessEnd::Request(); });
    signal(SIGPIPE, SIG_IGN);  // as the agent has it: the program may report after this process's end
    // Once this start hangs too: its program is a child of the test then, as the first, this process and that
    // shell are.
    Shell("{ until [ `wc -w </proc/$T/task/$T/children` = 4 ]; do sleep 0.01; done; kill $PPID; } &");
    try {
      Launch(bundle_);
    } catch (const EndOfProcess&) {
      return std::clock() < 3 * CLOCKS_PER_SEC;  // It has not tried on until it gave the start up.
    }
    return false;
  }));
  EXPECT_TRUE(Runs(""));  // In case it comes up.
  scanner.Close();
  EXPECT_TRUE(Apart([&] { return Eventually([&] { return Runs(""); }); }));
}

// The same for each file that is opened: so is it on a mount whose server is gone.
TEST_F(ProcessListTest, APlaceThatDoesNotAnswer) {
  const std::string elsewhere = folder_.WriteBundle("Elsewhere.app", "", identifier_);
  ASSERT_TRUE(Shell("program $F/Elsewhere.app/Contents/MacOS/Tollmere"));
  StartByHand("exec $F/Elsewhere.app/Contents/MacOS/Tollmere");
  ASSERT_TRUE(IsUp());
  Descriptor scanner(fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY));
  for (const std::string& bundle : {bundle_, elsewhere}) {
    const std::string info = bundle + "/Contents/Info.plist";
    if (fanotify_mark(scanner.Get(), FAN_MARK_ADD, FAN_OPEN_PERM, AT_FDCWD, info.c_str()) != 0) {
      GTEST_SKIP() << "no such scanner here, or not without root";
    }
  }
  EXPECT_EQ(LaunchServicesFindApplicationForInfoMBS("", identifier_, ""), nullptr);
  EXPECT_FALSE(FolderItem(bundle_).Exists());
  EXPECT_FALSE(Runs(""));
  scanner.Close();
  End();
  EXPECT_TRUE(Eventually([&] { return FolderItem(folder_.Path()).Exists() && !HasChildren(); }));
}

}  // namespace
}  // namespace tollmere::testing
