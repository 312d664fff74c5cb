#include "launch/engine.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "launch/folder_item_extension.h"
#include "preferences/core_preferences.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"

namespace tollmere::testing {
namespace {

using Lines = std::vector<std::string>;

class EngineTest : public StoreTest {
 protected:
  void StoreLocation(const std::string& location) const {
    Store(ListXml({}, LocationXml(location)));
    CorePreferencesModified::Sync();
  }
};

TEST_F(EngineTest, ThreeSourcesBestFirst) {
  const std::string stored = folder_.WriteBundle("stored place/Tollmere.app", "#!/bin/sh\n");
  const std::string known = folder_.WriteBundle("Applications/Named as you like.app", "#!/bin/sh\n");
  for (const char* name : {"Z", "R", "X", "T", "S", "Y", "Q", "V"}) {
    folder_.WriteBundle(std::string("Applications/") + name + ".app", "#!/bin/sh\n");
  }
  // What is left of an older one comes first, and cannot be started.
  std::filesystem::remove(folder_.WriteBundle("Applications/A left over.app", "") +
                          "/Contents/MacOS/Tollmere");
  folder_.Write(
      "Applications/Another.app/Contents/Info.plist",
      "<plist><dict><key>CFBundleIdentifier</key><string>com.vendrel.Tollmere9</string></dict></plist>");
  const auto found = [](const std::string& path) { return Lines({"Found Tollmere: " + path}); };
  StoreLocation("file://" + folder_.Path() + "/stored%20place/Tollmere.app/");
  EXPECT_EQ(Engine::TollmereAppFile()->Path(), stored);
  EXPECT_EQ(TakeLog(), found(stored));
  // Found once, it is not looked for again, though the store now says something else.
  StoreLocation(known);
  EXPECT_EQ(Engine::TollmereAppFile()->Path(), stored);
  EXPECT_EQ(TakeLog(), Lines());
  std::filesystem::remove_all(stored);
  StoreLocation("/nowhere/Tollmere.app");
  EXPECT_EQ(Engine::TollmereAppFile()->Path(), known);
  EXPECT_EQ(TakeLog(), found(known));
  StoreLocation(known);
  Engine::SetTollmereAppFile(nullptr);
  EXPECT_EQ(Engine::TollmereAppFile()->Path(), known);
  EXPECT_EQ(TakeLog(), found(known));
}

TEST_F(EngineTest, WhereAnItemWouldLie) {
  using FolderItemExtensionModified::GetRelFolderItemZDN;
  using FolderItemExtensionModified::GetSubFolderItem;
  const Ref<FolderItem> folder = New<FolderItem>(folder_.Path());
  const auto item = [&](const std::vector<std::string>& names) { return GetSubFolderItem(folder, &names); };
  EXPECT_EQ(item({"Tollmere.app"})->Path(), folder_.Path() + "/Tollmere.app");
  EXPECT_EQ(item({"a", "b"}), nullptr);
  EXPECT_EQ(item({"a/b"}), nullptr);
  EXPECT_EQ(GetSubFolderItem(folder, nullptr), folder);
  EXPECT_EQ(GetSubFolderItem(Volume(0), nullptr), nullptr);
  const std::vector<std::string> names = {"Tollmere.app"};
  EXPECT_EQ(GetSubFolderItem(nullptr, &names), nullptr);

  for (const auto& row : Table("locations.txt")) {
    const Ref<FolderItem> location = GetRelFolderItemZDN(row[0]);
    EXPECT_EQ(location != nullptr ? location->Path() : "nowhere", row[1]) << row[0];
  }
}

}  // namespace
}  // namespace tollmere::testing
