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
  const std::string stored =
      folder_.WriteBundle("stored place/Tollmere.app", "#!/bin/sh\n", "com.vendrel.Tollmere9");
  const std::string known =
      folder_.WriteBundle("Applications/Named as you like.app", "#!/bin/sh\n", "com.vendrel.Tollmere9");
  for (const char* name : {"Z", "R", "X", "T", "S", "Y", "Q", "V"}) {
    folder_.WriteBundle(std::string("Applications/") + name + ".app", "#!/bin/sh\n", "com.vendrel.Tollmere9");
  }
  // What is left of an older one comes first, and cannot be started.
  std::filesystem::remove(folder_.WriteBundle("Applications/A left over.app", "", "com.vendrel.Tollmere9") +
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
  const std::vector<std::string> names = {"Tollmere.app"};
  EXPECT_EQ(GetSubFolderItem(folder, &names)->Path(), folder_.Path() + "/Tollmere.app");
  EXPECT_EQ(GetSubFolderItem(folder, nullptr), folder);
  const std::vector<std::string> deeper = {"a", "b"};
  EXPECT_EQ(GetSubFolderItem(folder, &deeper), nullptr);
  const std::vector<std::string> no_name = {"a/b"};
  EXPECT_EQ(GetSubFolderItem(folder, &no_name), nullptr);
  EXPECT_EQ(GetSubFolderItem(Volume(0), nullptr), nullptr);
  EXPECT_EQ(GetSubFolderItem(nullptr, &names), nullptr);

  EXPECT_EQ(GetRelFolderItemZDN("FILE://localhost/a%2Fb/")->Path(), "/a/b");
  EXPECT_EQ(GetRelFolderItemZDN("/a b")->Path(), "/a b");
  for (const char* nowhere :
       {"", "a", "file:", "file://elsewhere/a", "file:///a%0", "file:///a%00b", "~/a"}) {
    EXPECT_EQ(GetRelFolderItemZDN(nowhere), nullptr) << nowhere;
  }
}

}  // namespace
}  // namespace tollmere::testing
