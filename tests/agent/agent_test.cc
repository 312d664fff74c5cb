// The built agent, in a home of its own, with a real store and a real bundle.
#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <thread>

#include "support/agent_process.h"
#include "support/stored_lists.h"
#include "support/temporary_folder.h"

namespace tollmere::testing {
namespace {

namespace fs = std::filesystem;
using Lines = std::vector<std::string>;

Lines AttemptFor(const std::string& name) {
  return {"Alarm \"" + name + "\" is to ring, launching Tollmere if not launched within the past minute.",
          "Alarm \"" + name +
              "\" is to ring, launching Tollmere as it has not been launched within the past minute."};
}

class AgentTest : public ::testing::Test {
 protected:
  // What the stand-in does: it says who it is, and runs until its home goes.
  AgentTest() {
    environment_ = {{"HOME", folder_.Path()},
                    {"XDG_CONFIG_HOME", folder_.Path()},
                    {"PATH", "/usr/bin:/bin"},
                    {"TZ", "UTC"},
                    {"ASAN_OPTIONS", "detect_leaks=1"}};
  }

  std::string Script() const {
    const std::string id = folder_.Path() + "/id";
    return "#!/bin/sh\necho $$ >> " + id + "\nwhile [ -e " + folder_.Path() + " ]; do sleep 0.05; done\n";
  }
  // The process ids of the stand-ins that have been started.
  Lines Started() const {
    Lines ids;
    const std::string text = ReadWholeFile(folder_.Path() + "/id");
    for (std::size_t at = 0, end = 0; (end = text.find('\n', at)) != text.npos; at = end + 1) {
      ids.push_back(text.substr(at, end - at));
    }
    return ids;
  }

  // The present minute, once it has some seconds left.
  static std::string MinuteWithRoom() {
    std::time_t now = std::time(nullptr);
    for (; now % 60 > 40; now = std::time(nullptr)) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    char text[16];
    return std::string(text, std::strftime(text, sizeof text, "%H:%M", std::gmtime(&now)));
  }
  // The words of an alarm that is due in it.
  static std::string Due(const std::string& name) {
    const std::string minute = MinuteWithRoom();
    return "Name=" + name + " UniqueID=1 DateYear=-1 DateMonth=-1 DateDay=-1 Hour=" + minute.substr(0, 2) +
           " Minute=" + minute.substr(3);
  }
  void StoreForeign(const std::string& form, const std::string& location = "") const {
    const std::string command = std::string("/usr/bin/python3 '") + FOREIGN_STORE + "' '" + store_ + "' " +
                                form + " " + MinuteWithRoom() + " " + location;
    ASSERT_EQ(std::system(command.c_str()), 0) << command;
  }
  void Store(std::string_view content) const {
    folder_.Write("new", content);
    fs::rename(folder_.Path() + "/new", store_);
  }

  // The log without what the date decides: its lines from the first attempt on, but for those about next
  // rings.
  static Lines Attempts(AgentProcess& agent) {
    Lines lines;
    std::copy_if(
        agent.Log().begin() + 2, agent.Log().end(), std::back_inserter(lines),
        [](const std::string& line) { return !line.starts_with("Found ") || line.starts_with("Found T"); });
    return lines;
  }

  TemporaryFolder folder_;
  const std::string store_ = folder_.Path() + "/com.vendrel.Tollmere9.plist";
  std::map<std::string, std::string> environment_;
};

TEST_F(AgentTest, FromAForeignStoreToTheRunningApplication) {
  const std::string bundle = folder_.WriteBundle("Elsewhere/Tollmere.app", Script());
  std::size_t starts = 0;
  for (const char* form : {"xml", "binary", "plistutil"}) {
    StoreForeign(form, bundle);
    AgentProcess agent(environment_);
    ASSERT_TRUE(agent.WaitForLine("Successfully launched Tollmere.")) << form;
    ASSERT_TRUE(agent.WaitForLine(AttemptFor("Due as well")[0]));
    EXPECT_EQ(Lines(agent.Log().begin(), agent.Log().begin() + 2),
              Lines({"Tollmere Helper Launched", "Tollmere Helper Launch Complete"}));
    EXPECT_EQ(Attempts(agent),
              Lines({AttemptFor("Due “now”")[0], AttemptFor("Due “now”")[1], "Found Tollmere: " + bundle,
                     "Successfully launched Tollmere.", AttemptFor("Due as well")[0]}));
    EXPECT_EQ(agent.Log()[4], "Found Alarm \"Gone\"; Ring At: Never");
    EXPECT_TRUE(agent.Log()[5].starts_with("Found Alarm \"Weekly\"; Ring At: "));
    ASSERT_TRUE(Eventually([&] { return Started().size() == starts + 1; }));
    const std::string children =
        "/proc/" + std::to_string(agent.Id()) + "/task/" + std::to_string(agent.Id()) + "/children";
    EXPECT_EQ(ReadWholeFile(children), "");  // neither a child nor a zombie
    EXPECT_EQ(agent.End(SIGTERM), 0);
    const pid_t application = std::stoi(Started().back());
    EXPECT_EQ(kill(application, 0), 0);  // It lives on.
    kill(application, SIGKILL);
    ASSERT_TRUE(Eventually([&] { return kill(application, 0) != 0; }));
    ++starts;
  }
}

TEST_F(AgentTest, ARunningApplicationIsFound) {
  const std::string bundle = folder_.WriteBundle("Applications/Tollmere.app", Script());
  Store(ListXml({Due("first")}));
  AgentProcess agent(environment_);
  ASSERT_TRUE(agent.WaitForLine("Successfully launched Tollmere."));
  ASSERT_TRUE(Eventually([&] { return Started().size() == 1; }));
  EXPECT_EQ(agent.End(SIGINT), 0);
  Store(ListXml({Due("second")}));
  AgentProcess next(environment_);
  ASSERT_TRUE(next.WaitForLine("Tollmere already running."));
  EXPECT_EQ(Attempts(next),
            Lines({AttemptFor("second")[0], AttemptFor("second")[1], "Tollmere already running."}));
  EXPECT_EQ(next.End(SIGHUP), 0);
  EXPECT_EQ(Started().size(), 1U);
}

TEST_F(AgentTest, TheSystemsApplicationsFolderIsTheThirdSource) {
  // Without an identifier of its own the launch service does not know it: the place alone tells.
  folder_.WriteBundle("system/Tollmere.app", Script(), "");
  Store(ListXml({Due("a")}));
  // In a system whose root has that folder: the same one, seen through a namespace of the test's own.
  const std::string root = folder_.Path() + "/root";
  const pid_t child = fork();
  if (child == 0) {
    bool ready = unshare(CLONE_NEWNS) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0;
    ready = ready && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
    fs::create_directory(root);
    ready = ready && mount("tmpfs", root.c_str(), "tmpfs", 0, nullptr) == 0;
    for (const auto& entry : fs::directory_iterator("/")) {
      const std::string target = root + entry.path().string();
      if (entry.is_symlink()) {
        fs::copy_symlink(entry.path(), target);
      } else if (entry.is_directory() && entry.path() != "/Applications") {
        fs::create_directory(target);
        ready = ready && mount(entry.path().c_str(), target.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
      }
    }
    fs::create_directory(root + "/Applications");
    fs::copy(folder_.Path() + "/system", root + "/Applications", fs::copy_options::recursive);
    if (!ready || chroot(root.c_str()) != 0 || chdir("/") != 0) {
      _exit(77);
    }
    AgentProcess agent(environment_);
    const bool found = agent.WaitForLine("Found Tollmere: /Applications/Tollmere.app") &&
                       agent.WaitForLine("Successfully launched Tollmere.");
    _exit(found && agent.End(SIGTERM) == 0 ? 0 : 1);
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (WEXITSTATUS(status) == 77) {
    GTEST_SKIP() << "no namespaces here";
  }
  EXPECT_EQ(WEXITSTATUS(status), 0);
  EXPECT_EQ(Started().size(), 1U);
}

TEST_F(AgentTest, NotFoundAndFailed) {
  Store(ListXml({Due("a")}));
  {
    AgentProcess agent(environment_);
    EXPECT_TRUE(agent.WaitForLine("Tollmere could not be found!"));
  }
  const std::string bundle = folder_.WriteBundle("Applications/Tollmere.app", "no program");
  Store(ListXml({Due("a")}));
  AgentProcess agent(environment_);
  EXPECT_TRUE(agent.WaitForLine("Failed to Launch Tollmere; error code: 8."));
  EXPECT_EQ(Attempts(agent), Lines({AttemptFor("a")[0], AttemptFor("a")[1], "Found Tollmere: " + bundle,
                                    "Failed to Launch Tollmere; error code: 8."}));
}

TEST_F(AgentTest, AStoppedAgentGoesOn) {
  Store(ListXml({}));
  folder_.WriteBundle("Applications/Tollmere.app", Script());
  AgentProcess agent(environment_);
  ASSERT_TRUE(agent.WaitForLine("Tollmere Helper Launch Complete"));
  std::this_thread::sleep_for(std::chrono::milliseconds(1200));  // a tick, so that there is a gap to walk
  kill(agent.Id(), SIGSTOP);
  std::this_thread::sleep_for(std::chrono::seconds(3));
  Store(ListXml({Due("a")}, "RingPastAlarms=true"));
  kill(agent.Id(), SIGCONT);
  EXPECT_TRUE(agent.WaitForLine("Successfully launched Tollmere."));
}

TEST_F(AgentTest, BadFilesChangeNothing) {
  Store(ListXml({"Name=a UniqueID=1 AlarmType=9 Hour=48"}));
  AgentProcess agent(environment_);
  ASSERT_TRUE(Eventually([&] { return agent.Log().size() == 3; }));
  Store("<plist><dict><key>Alarms</key>");
  std::this_thread::sleep_for(std::chrono::milliseconds(2500));
  Store(ListXml({"Name=a UniqueID=1 AlarmType=9 Hour=48", "Name=b UniqueID=2 AlarmType=9 Hour=48"}));
  ASSERT_TRUE(Eventually([&] { return agent.Log().size() >= 4; }));
  EXPECT_TRUE(agent.Log()[3].starts_with("Found Alarm \"b\""));
  Store(ListXml({"Name=c <key>WeeklyDays</key><array/>"}));
  EXPECT_EQ(agent.WaitForEnd(), 1);
  EXPECT_EQ(agent.Log().back(), "Ended by an uncaught error: IllegalCastException");
}

// A log that nobody reads, or that nobody can read any more, stops nothing.
TEST_F(AgentTest, TheLogIsNoOnesHostage) {
  folder_.WriteBundle("Applications/Tollmere.app", Script());
  std::string list;
  for (int i = 0; i < 1500; ++i) {
    list +=
        StoredXml("Name=" + std::string(60, 'x') + " AlarmType=9 Hour=48 UniqueID=" + std::to_string(i + 2));
  }
  for (const bool closed : {false, true}) {
    Store("<plist><dict><key>Alarms</key><array>" + list + StoredXml(Due("a")) + "</array></dict></plist>");
    AgentProcess agent(environment_);
    if (closed) {
      agent.CloseLog();
    }
    ASSERT_TRUE(Eventually([&] { return Started().size() == 1; })) << closed;
    EXPECT_EQ(agent.End(SIGTERM), 0);
    kill(std::stoi(Started().back()), SIGKILL);
    fs::remove(folder_.Path() + "/id");
  }
}

TEST_F(AgentTest, TheEndIsInTimeWhereverTheAgentIs) {
  folder_.Write("bin/zenity", "#!/bin/sh\necho $$ >> " + folder_.Path() + "/id\nexec sleep 600\n", true);
  environment_["PATH"] = folder_.Path() + "/bin:/usr/bin:/bin";
  environment_["DISPLAY"] = ":none";
  const struct {
    const char* where;
    std::string store;
    bool is_box;
  } rows[] = {{"between ticks", ListXml({}), false},
              {"the search without an end", ListXml({"AlarmType=1 WeeklyDays=1 WeeklyDaysMonth=13"}), false},
              {"a standing message box", ListXml({"UniqueID=1"}, "<key>Exclusions</key><array/>"), true}};
  for (const auto& row : rows) {
    Store(row.store);
    AgentProcess agent(environment_);
    ASSERT_TRUE(agent.WaitForLine("Tollmere Helper Launch Complete"));
    if (row.is_box) {
      ASSERT_TRUE(Eventually([&] { return Started().size() == 1; }));
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    }
    EXPECT_EQ(agent.End(SIGTERM), 0) << row.where;
    if (row.is_box) {
      EXPECT_NE(kill(std::stoi(Started().back()), 0), 0);
    }
  }
}

}  // namespace
}  // namespace tollmere::testing
