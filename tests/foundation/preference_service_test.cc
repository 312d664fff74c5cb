#include "foundation/system/preference_service.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <signal.h>
#include <sys/stat.h>
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
  DomainState State() const { return service_.StateOf(NewCFStringMBS("d")); }
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
  EXPECT_EQ(State().path, path_);
  folder_.Write("d.plist", "");
  EXPECT_FALSE(CFPreferencesMBS().Synchronize(NewCFStringMBS("d"), nullptr, nullptr));
  Put("1");
  EXPECT_EQ(Value(), "1");  // a domain never refreshed before
  const auto time = fs::last_write_time(path_);
  Put("2");
  fs::last_write_time(path_, time);  // A rewrite of the same size and time is seen.
  EXPECT_EQ(Value(), "1");
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "2");
  fs::remove(path_);
  EXPECT_TRUE(Sync());
  EXPECT_EQ(Value(), "absent");
  EXPECT_EQ(State().kind, DomainState::Kind::kAbsent);
  folder_.Write("d.plist", "");
  EXPECT_FALSE(Sync());
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

// Whatever else stands in the place of the file, the last good view stays, and comes alive again.
TEST_F(PreferenceServiceTest, TheGoodViewIsKept) {
  for (const auto& row : Table("changed_stores.txt")) {
    const std::string& change = row[0];
    const bool is_read = row[1] == "Permission denied" && geteuid() == 0;  // Root may read it all.
    Put(change);
    ASSERT_TRUE(Sync());
    EXPECT_EQ(State().kind, DomainState::Kind::kRead);
    const std::size_t descriptors = OpenDescriptors();
    ASSERT_EQ(std::system(("cd " + folder_.Path() + "; " + change).c_str()), 0);
    for (int i = 0; i < 3; ++i) {
      EXPECT_EQ(Sync(), is_read) << change;
      EXPECT_EQ(State().kind, is_read ? DomainState::Kind::kRead : DomainState::Kind::kUnreadable);
      EXPECT_EQ(State().problem, is_read ? "" : row[1]) << change;
      EXPECT_EQ(Value(), change);
    }
    EXPECT_EQ(OpenDescriptors(), descriptors) << change;
    fs::remove_all(path_);
  }
}

// Its time changes while it is read. It is taken when it has come to rest.
TEST_F(PreferenceServiceTest, AFileThatIsWrittenWhileItIsRead) {
  Put(std::string(1'000'000, 'a'));
  ASSERT_TRUE(Sync());
  const pid_t writer = fork();
  if (writer == 0) {
    for (long time = 0;; time = (time + 1) % 1'000'000) {
      const timespec times[2] = {{0, UTIME_OMIT}, {0, time}};
      utimensat(AT_FDCWD, path_.c_str(), times, 0);
    }
  }
  for (int tries = 0; tries < 100'000 && Sync(); ++tries) {
  }
  EXPECT_EQ(State().problem, "it was being written while it was read");
  EXPECT_EQ(Value().size(), 1'000'000U);
  kill(writer, SIGKILL);
  waitpid(writer, nullptr, 0);
  EXPECT_TRUE(Sync());
}

}  // namespace
}  // namespace tollmere::testing
