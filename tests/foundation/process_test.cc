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
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <thread>

#include "foundation/system/descriptor.h"
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

rusage Usage() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage;
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
                               !preferences.Synchronize(NewCFStringMBS("d"), nullptr, nullptr) &&
                               FolderItem("/bin/true").Exists();
    ProcessMBS processes;
    processes.GetFirstProcess();
    const bool no_list = processes.BundleID().empty() && !processes.GetNextProcess();
    const rlimit some = {64, 64};
    setrlimit(RLIMIT_NOFILE, &some);
    // A full process table: for root the limit does not hold, so another user it is.
    const rlimit no_process = {0, 0};
    setrlimit(RLIMIT_NPROC, &no_process);
    const bool no_fork = (geteuid() != 0 || setuid(65'534) == 0) && Launch("/bin/true") == EAGAIN &&
                         FolderItem("/bin/true").Exists();
    _exit((no_descriptor ? 0 : 1) + (no_list ? 0 : 2) + (no_fork ? 0 : 4));
  }
  int status = 0;
  waitpid(child, &status, 0);
  EXPECT_EQ(WEXITSTATUS(status), 0);
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
    EXPECT_TRUE(geteuid() != 0 || Shell("chown -R nobody $F"));
  }
  ~ProcessListTest() override {
    End();
    prctl(PR_SET_CHILD_SUBREAPER, 0);
  }

  static bool Shell(const std::string& commands) { return std::system(("set -e; " + commands).c_str()) == 0; }
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
  static void StartByHand(const std::string& command) {
    if (fork() == 0) {
      execl("/bin/bash", "bash", "-c", ("exec </dev/null >/dev/null; " + command).c_str(), nullptr);
    }
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

// How the application lies, how it is started (where nothing is said, by Launch), what happens then, and
// whether it is known as running; and where its last location is stored to be.
struct Way {
  const char* lay;
  const char* start = "";
  const char* then = "";
  bool runs = true;
  const char* place = "";
};
void PrintTo(const Way& way, std::ostream* out) {
  *out << way.lay << " | " << way.start << " | " << way.then;
}

// A script and a program that wait, and a wait for a process of that name.
#define SCRIPT "printf '#!/bin/sh\\nsleep 600\\n:\\n' "
#define PROGRAM "cp " WAITING_PROGRAM " "
#define AWAIT "await() { until grep -qsx $1 /proc/[0-9]*/comm; do sleep 0.01; done; }; await "

constexpr Way kWays[] = {
    {SCRIPT ">$X"},
    {SCRIPT ">$X; mv $B $F/real; ln -s $F/real $B"},
    {SCRIPT ">$X; mv $B $F/real; ln -s $F/real $B", "exec $F/real/Contents/MacOS/Tollmere"},
    {SCRIPT ">$B/run; chmod +x $B/run; ln -sf ../../run $X"},
    {SCRIPT ">$B/run; chmod +x $B/run; ln -sf ../../run $X", "exec $B/run"},
    {SCRIPT ">$F/run; chmod +x $F/run; ln -sf $F/run $X"},
    {SCRIPT ">$F/run; chmod +x $F/run; ln -sf $F/run $X", "cd $F; exec ./run"},
    {PROGRAM "$B/run; ln -sf ../../run $X"},
    {PROGRAM "$B/run; ln -sf ../../run $X", "exec $B/run"},
    {PROGRAM "$F/run; ln -sf $F/run $X"},
    {PROGRAM "$F/run; ln -sf $F/run $X", "cd $F; exec ./run"},
    {"printf '#!/bin/sh\\nexec env -u A tail -f /dev/null' >$X"},
    {SCRIPT ">$X; mv $B $F/Odd", "", "", true, "Odd"},
    {PROGRAM "$X; mv $B $F/Odd.APP", "exec $F/Odd.APP/Contents/MacOS/Tollmere", "", true, "Odd.APP"},
    {SCRIPT ">$F/plain; chmod +x $F/plain", "exec $F/plain", "", true, "plain"},
    // The system does not tell what it runs.
    {PROGRAM "$X; chmod 0111 $X"},
    {PROGRAM "$X; chmod 0111 $X", "exec $X"},
    {PROGRAM "$X; chmod 0111 $X", "cd $B/Contents/MacOS; exec ./Tollmere"},
    {PROGRAM "$F/of-a-very-long-name; chmod 0111 $F/of-a-very-long-name; ln -sf $F/of-a-very-long-name $X",
     "cd $F; exec ./of-a-very-long-name"},
    {"printf '#!/usr/bin/python3\\nimport ctypes, time\\nctypes.CDLL(None).prctl(4, 0)\\ntime.sleep(600)' "
     ">$X"},
    // By hand.
    {SCRIPT ">$X", "exec sh $X"},
    {SCRIPT ">$X", "cd $B/Contents; exec bash -e MacOS/Tollmere"},
    {SCRIPT ">$X; ln -s Tollmere $B/Contents/MacOS/alias", "exec $B/Contents/MacOS/alias"},
    {SCRIPT ">$X; mkdir $F/bin; ln -s $X $F/bin/tlm", "exec tlm"},
    {PROGRAM "$X; mkdir $F/bin; ln -s $X $F/bin/tlm", "exec tlm"},
    {SCRIPT ">$X", "exec env -S 'bash -o pipefail -O extglob' $X"},
    {"printf '#!/usr/bin/env -S python3 -W ignore\\nimport time; time.sleep(600)' >$X", "exec $X"},
    {"printf '#!/usr/bin/env -Spython3 -W ignore\\nimport time; time.sleep(600)' >$X", "exec $X"},
    {"printf '#!/usr/bin/env python\\nimport time; time.sleep(600)' >$X", "exec python3 -B $X"},
    {"printf '#!\\t/bin/sh\\t-e\\nsleep 600\\n:' >$X", "exec $X"},
    {PROGRAM "$X", "exec -a other $X"},
    {SCRIPT ">$X", "exec -a other sh $X"},
    // It changes while it runs.
    {SCRIPT ">$X", "", "mv $B $F/Applications/Old.app"},
    {SCRIPT ">$X", "exec $X", "mv $B $F/Applications/Old.app"},
    {PROGRAM "$X", "exec $X", "mv $B $F/Applications/Old.app"},
    {PROGRAM "$X", "cd $B/Contents/MacOS; exec ./Tollmere", "mv $B $F/Old.app"},
    {PROGRAM "$X", "exec $X", "mv $X $X.old; " PROGRAM "$X"},
    {PROGRAM "$X", "exec -a other $X", "rm $X; " SCRIPT ">$X"},
    {SCRIPT ">$X", "exec $X", "rm $X; " PROGRAM "$X"},
    {SCRIPT ">$X", "", "echo '<plist><dict>' >$B/Contents/Info.plist"},
    {PROGRAM "$X", "exec -a other $X", "echo '<plist><dict>' >$B/Contents/Info.plist", true,
     "Applications/Tollmere.app"},
    {"printf '#!/usr/bin/python3\\nimport ctypes, threading, time\\n"
     "threading.Thread(target=time.sleep, args=(600,)).start()\\nctypes.CDLL(None).pthread_exit(None)' >$X",
     "exec $X", "until grep -qs 'Tollmere) Z' /proc/[0-9]*/stat; do sleep 0.01; done"},
    // What does not count, even if it has inherited the mark.
    {PROGRAM "$B/Contents/MacOS/helper", "exec $B/Contents/MacOS/helper", AWAIT "helper", false},
    {PROGRAM "$B/Contents/MacOS/helper; printf '#!/bin/sh\\n$B/Contents/MacOS/helper &' >$X", "",
     AWAIT "helper", false},
    {"cp /usr/bin/tail $F/editor", "exec $F/editor -f $X", AWAIT "editor", false},
    {"cp /bin/sh $F/mysh; printf 'sleep 600\\n:' >$F/run", "exec $F/mysh $F/run $X", AWAIT "mysh", false},
    {"cp /bin/sh $F/mysh; printf 'sleep 600\n:' >$F/run", "cd $F; exec $F/mysh -x run $X", AWAIT "mysh",
     false},
    {"cp /bin/sh $F/mysh", "exec $F/mysh -c 'sleep 600; :' $X", AWAIT "mysh", false},
};

class WaysTest : public ProcessListTest, public ::testing::WithParamInterface<Way> {};

TEST_P(WaysTest, IsKnownToRun) {
  const Way& way = GetParam();
  const auto is_known = [&] { return Eventually([&] { return Runs(way.place) == way.runs; }); };
  EXPECT_TRUE(Apart([&] {
    if (!Shell(way.lay)) {
      return false;
    }
    if (*way.start != '\0') {
      StartByHand(way.start);
    } else if (Launch(*way.place != '\0' ? folder_.Path() + "/" + way.place : bundle_) != 0) {
      return false;
    }
    return (!way.runs || is_known()) && Shell(way.then) && is_known();
  }));
  EXPECT_TRUE(Apart(is_known)) << "to an agent started since";
}
INSTANTIATE_TEST_SUITE_P(Ways, WaysTest, ::testing::ValuesIn(kWays));

TEST_F(ProcessListTest, TheDeadAndThoseOfOthersDoNotCount) {
  ASSERT_TRUE(Shell(PROGRAM "$X"));
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
}

TEST_F(ProcessListTest, ANumberThatIsGivenOutAgain) {
  const auto start = [] {
    const pid_t process = fork();
    if (process == 0) {
      pause();
      _exit(0);
    }
    return process;
  };
  const pid_t remembered = start();
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
    again = start();
  }
  EXPECT_FALSE(Runs(""));
  kill(again, SIGKILL);
  waitpid(again, nullptr, 0);
}

// A scanner that looks at each program before it starts, and does not answer.
TEST_F(ProcessListTest, AStartThatHangs) {
  ASSERT_TRUE(Shell(SCRIPT ">$X"));
  Descriptor scanner(fanotify_init(FAN_CLASS_CONTENT | FAN_CLOEXEC, O_RDONLY));
  if (fanotify_mark(scanner.Get(), FAN_MARK_ADD, FAN_OPEN_EXEC_PERM, AT_FDCWD, getenv("X")) != 0) {
    GTEST_SKIP() << "no such scanner here, or not without root";
  }
  const rusage before = Usage();
  EXPECT_EQ(Launch(bundle_), ETIMEDOUT);
  const rusage after = Usage();
  EXPECT_LT(after.ru_nvcsw - before.ru_nvcsw, 100);  // It sleeps meanwhile,
  EXPECT_LT(after.ru_utime.tv_sec + after.ru_stime.tv_sec,
            before.ru_utime.tv_sec + before.ru_stime.tv_sec + 3);
  EXPECT_TRUE(Runs(""));  // in case it comes up
  const std::vector<pid_t> hanging = Children();
  ASSERT_EQ(hanging.size(), 1U);
  const std::string descriptors = "/proc/" + std::to_string(hanging[0]) + "/fd";
  EXPECT_EQ(std::distance(fs::directory_iterator(descriptors), {}),
            4);  // the standard ones, and the report's
  EXPECT_TRUE(Apart([&] {
    signal(SIGTERM, [](int) { ProcessEnd::Request(); });
    Shell("{ sleep 0.2; kill " + std::to_string(getpid()) + "; } &");
    try {
      return Launch(bundle_) == -1;
    } catch (const EndOfProcess&) {
      return true;
    }
  }));
  scanner.Close();
  EXPECT_TRUE(Apart([&] { return Eventually([&] { return Runs(""); }); }));
}

// The same for each file that is opened: so is it on a mount whose server is gone.
TEST_F(ProcessListTest, APlaceThatDoesNotAnswer) {
  const std::string elsewhere = folder_.WriteBundle("Elsewhere.app", "", identifier_);
  ASSERT_TRUE(Shell(PROGRAM "$F/Elsewhere.app/Contents/MacOS/Tollmere"));
  StartByHand("exec $F/Elsewhere.app/Contents/MacOS/Tollmere");
  EXPECT_TRUE(Eventually([&] { return Runs(""); }));
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
