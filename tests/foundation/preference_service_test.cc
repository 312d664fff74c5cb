#include "foundation/system/preference_service.h"

#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "foundation/property_list/property_list.h"
#include "support/files.h"
#include "support/log_capture.h"

namespace tollmere::testing {
namespace {

namespace fs = std::filesystem;

class PreferenceServiceTest : public ::testing::Test {
 protected:
  void SetUp() override { setenv("XDG_CONFIG_HOME", folder_.Path().c_str(), 1); }
  void Put(const std::string& value) const {
    folder_.Write("d.plist",
                  "<plist><dict><key>k</key><string><![CDATA[" + value + "]]></string></dict></plist>");
  }
  bool Sync() { return service_.Synchronize(NewCFStringMBS("d"), nullptr, nullptr); }
  std::string Value() {
    const Ref<CFObjectMBS> value = service_.CopyAppValue(NewCFStringMBS("k"), NewCFStringMBS("d"));
    return value != nullptr ? Cast<CFStringMBS>(value)->str() : "absent";
  }

  TemporaryFolder folder_;
  const std::string path_ = folder_.Path() + "/d.plist";
  CFPreferencesMBS service_;
};

TEST_F(PreferenceServiceTest, AViewIsAsOldAsItsLastRefresh) {
  Put("1");
  EXPECT_EQ(Value(), "1");  // a domain never refreshed before
  Put("2");
  EXPECT_EQ(Value(), "1");
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "2");
  fs::remove(path_);
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "absent");
}

TEST_F(PreferenceServiceTest, WhereADomainLies) {
  const auto path = [](const char* home, const char* folder) {
    setenv("HOME", home, 1);
    setenv("XDG_CONFIG_HOME", folder, 1);
    return DomainPath("d");
  };
  EXPECT_EQ(path("/home/a", "/c"), "/c/d.plist");
  EXPECT_EQ(path("/home/a", "c"), "/home/a/.config/d.plist");
  EXPECT_EQ(path("a", ""), std::string(getpwuid(getuid())->pw_dir) + "/.config/d.plist");
}

// Where the path of the file leads nowhere, the store is not known to be empty.
TEST_F(PreferenceServiceTest, AFolderThatIsALinkToNowhere) {
  Put("1");
  EXPECT_EQ(Value(), "1");
  fs::create_directory_symlink("nowhere", folder_.Path() + "/link");
  setenv("XDG_CONFIG_HOME", (folder_.Path() + "/link/deeper").c_str(), 1);
  EXPECT_FALSE(Sync());
  EXPECT_EQ(Value(), "1");
  fs::create_directory(folder_.Path() + "/nowhere");
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "absent");
}

TEST_F(PreferenceServiceTest, ARewriteOfTheSameSizeAndTimeIsSeen) {
  Put("1");
  const auto time = fs::last_write_time(path_);
  Sync();
  Put("2");
  fs::last_write_time(path_, time);
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "2");
}

// Whatever else stands in the place of the file, the last good view stays, and comes alive again.
TEST_F(PreferenceServiceTest, TheGoodViewIsKept) {
  for (const char* change :
       {"head -c 30 d.plist > new; mv new d.plist", ": > d.plist", "echo '<plist><array/></plist>' > d.plist",
        "truncate -s 16777217 d.plist", "rm d.plist; mkdir d.plist", "rm d.plist; mkfifo d.plist",
        "ln -sf /dev/zero d.plist", "ln -sf nowhere d.plist", "rm d.plist; ln -s d.plist d.plist",
        "chmod 0 d.plist"}) {
    Put(change);
    ASSERT_TRUE(Sync());
    const std::size_t descriptors = OpenDescriptors();
    ASSERT_EQ(std::system(("cd " + folder_.Path() + "; " + change).c_str()), 0);
    for (int i = 0; i < 3; ++i) {
      const bool root_may_read = geteuid() == 0 && change[0] == 'c';
      EXPECT_EQ(Sync(), root_may_read) << change;
      EXPECT_EQ(Value(), change);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors) << change;
    fs::remove_all(path_);
  }
}

// Read again and again while it is cut and written anew, a file is never anything but one of its states.
TEST_F(PreferenceServiceTest, AFileThatIsWrittenWhileItIsRead) {
  const pid_t writer = fork();
  if (writer == 0) {
    for (int i = 0;; ++i) {
      Put(std::string(static_cast<std::size_t>(i % 3) * 100'000, "abc"[i % 3]));
    }
  }
  for (int i = 0; i < 300; ++i) {
    Sync();
    const std::string value = Value();
    if (value != "absent") {
      EXPECT_EQ(value.find_first_not_of(value.substr(0, 1)), std::string::npos);
      EXPECT_EQ(value.size() % 100'000, 0U);
    }
  }
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
}

}  // namespace
}  // namespace tollmere::testing
