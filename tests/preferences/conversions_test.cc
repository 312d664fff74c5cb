#include <gtest/gtest.h>

#include "foundation/property_list/property_list.h"
#include "foundation/system/debug_log.h"
#include "preferences/core_preferences.h"
#include "preferences/global_methods.h"
#include "preferences/local_preferences.h"
#include "support/files.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

using namespace CorePreferencesModified;

class ConversionsTest : public StoreTest {
 protected:
  static Ref<CFObjectMBS> Object(const std::string& xml) {
    Ref<CFObjectMBS> object = ParsePropertyList("<plist>" + xml + "</plist>");
    EXPECT_NE(object, nullptr) << xml;
    return object;
  }
};

TEST_F(ConversionsTest, ScalarsAsTextAndAsFlag) {
  for (const auto& row : Table("scalars.txt")) {
    EXPECT_EQ("'" + GlobalMethods::ToStringZDN(Object(row[0]), "k") + "'", row[1]) << row[0];
    EXPECT_EQ(GlobalMethods::ToBooleanZDN(Object(row[0]), "k"), row[2] == "true") << row[0];
  }
  EXPECT_TRUE(TakeLog().empty());
  EXPECT_FALSE(GlobalMethods::CBool(Variant()));
  EXPECT_THROW(GlobalMethods::ToStringZDN(nullptr, "k"), NilObjectException);
}

TEST_F(ConversionsTest, AValueOfAnImpossibleKindIsReported) {
  const Ref<CFObjectMBS> object =
      Object("<array><string>a&amp;b" + std::string(600, 'x') + "</string></array>");
  for (const auto& row : Table("message_boxes.txt")) {
    if (row[0] == "text") {
      EXPECT_EQ(GlobalMethods::ToStringZDN(object, row[1]), "");
    } else {
      EXPECT_FALSE(GlobalMethods::ToBooleanZDN(object, row[1]));
    }
    // Standard error shows the box line by line, set in but for the first, and tabs escaped.
    std::vector<std::string> lines = {row[2], "    ", "    Type: CFArray",
                                      "    Type ID: " + std::to_string(object->Type())};
    for (const std::string& line : Parts("XML: " + object->XML()->Str().substr(0, 512), "\n")) {
      lines.push_back("    " + EscapeForLog(line));
    }
    EXPECT_EQ(TakeLog(), lines);
  }
  GlobalMethods::ToStringZDN(object, "");
  EXPECT_TRUE(TakeLog().empty()) << "the same text again, within a minute";
}

TEST_F(ConversionsTest, AStoredDictionaryBecomesATree) {
  const Ref<Dictionary> tree = Stored(
      "<key>i</key><integer>7</integer><key>b</key><true/><key>d</key><date>2027-01-01T00:00:00Z</date>"
      "<key>x</key><data>QQ==</data><key>a</key><array><dict/><dict><key>n</key><dict/></dict></array>"
      "<key>i</key><integer>8</integer>");
  EXPECT_EQ(tree->Count(), 3U);
  EXPECT_EQ(*tree->Value("i").If<double>(), 8.0);  // the later of two equal keys
  EXPECT_TRUE(*tree->Value("b").If<bool>());
  EXPECT_EQ(VariantToDictionaryArray(tree->Value("a")).at(1)->Count(), 1U);
  // A foreign element raises, even under a key that no one reads.
  EXPECT_THROW(Stored("<key>q</key><array><string>x</string></array>"), IllegalCastException);
}

TEST_F(ConversionsTest, Readers) {
  Store(ListXml({},
                "flag=yes text=true <key>bytes</key><data>L3RtcA==</data> <key>list</key><array>"
                "<string>skipped</string><dict/></array>"));
  Sync();
  EXPECT_TRUE(GetPrefsBoolValue("flag"));
  EXPECT_EQ(GetPrefsStrValue("text", false), "True");
  EXPECT_EQ(GetPrefsStrValue("text", true), "True");
  EXPECT_EQ(GetPrefsBinaryValue("bytes"), "/tmp");
  EXPECT_EQ(GetPrefsFileValue("bytes")->Path(), "/tmp");
  EXPECT_EQ(GetPrefsDictionariesValue("list").size(), 1U);
  // A kind that does not fit is as good as none, and so is a key that is absent.
  for (const char* key : {"flag", "absent"}) {
    EXPECT_EQ(GetPrefsFileValue(key), nullptr);
    EXPECT_TRUE(GetPrefsDictionariesValue(key).empty());
  }
  EXPECT_EQ(GetPrefsStrValue("absent", false), "");
  EXPECT_FALSE(GetPrefsBoolValue("absent"));
  // Behind the domain stand the defaults.
  for (const char* key : {"absent", "flag", "bytes", "list"}) {
    dPreferenceDefaults->SetValue(StringToVariant(key), StringToVariant("1"));
  }
  EXPECT_EQ(GetPrefsStrValue("absent", false), "1");
  EXPECT_TRUE(GetPrefsBoolValue("absent"));
  EXPECT_EQ(GetPrefsBinaryValue("absent"), "1");
  EXPECT_THROW(GetPrefsDictionariesValue("absent"), IllegalCastException);
  EXPECT_EQ(GetPrefsBinaryValue("flag"), "");
  EXPECT_TRUE(TakeLog().empty());
}

TEST_F(ConversionsTest, GlobalExclusions) {
  Store(ListXml({}, "<key>Exclusions</key><string>3850000000,,x,3850086400.5</string>"));
  Sync();
  const CivilDate first = {1904, 1, 1};
  EXPECT_EQ(LocalPreferences::Exclusions_Get(),
            std::vector<CivilDate>({{2025, 12, 31}, first, first, {2026, 1, 1}}));
}

}  // namespace
}  // namespace tollmere::testing
