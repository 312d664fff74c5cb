#include <gtest/gtest.h>

#include "foundation/property_list.h"
#include "preferences/core_preferences.h"
#include "preferences/global_methods.h"
#include "preferences/local_preferences.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"
#include "support/table.h"
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
  const std::string items(600, 'x');
  const Ref<CFObjectMBS> object = Object("<array><string>a&amp;b" + items + "</string></array>");
  const std::string xml = object->XML()->Str();
  const std::string tail =
      "Type: CFArray\nType ID: " + std::to_string(object->Type()) + "\nXML: " + xml.substr(0, 512);
  struct Row {
    bool as_text;
    const char* name;
    const char* first_line;
  };
  for (const Row& row : std::initializer_list<Row>{
           {false, "RingPastAlarms", "Failed to convert the CFObject \"RingPastAlarms\" into a boolean"},
           {true, "Exclusions", "Failed to convert the CFObject \"Exclusions\" into a string!"},
           {false, "", "CFObjectMBS.ToBooleanZDN() was not able to convert an object to a boolean."},
           {true, "", "CFObjectMBS.ToStringZDN() was not able to convert an object to a string."}}) {
    if (row.as_text) {
      EXPECT_EQ(GlobalMethods::ToStringZDN(object, row.name), "");
    } else {
      EXPECT_FALSE(GlobalMethods::ToBooleanZDN(object, row.name));
    }
    std::string box;
    for (const std::string& line : TakeLog()) {
      box += (box.empty() ? "" : "\n") + (box.empty() ? line : line.substr(4));
    }
    // Within the box tabs stand as they are; standard error shows them escaped.
    std::string shown;
    for (const char c : row.first_line + ("\n\n" + tail)) {
      shown += c == '\t' ? "\\t" : std::string(1, c);
    }
    EXPECT_EQ(box, shown);
  }
  GlobalMethods::ToStringZDN(object, "");
  EXPECT_TRUE(TakeLog().empty()) << "the same text again, within a minute";
}

TEST_F(ConversionsTest, NumbersInAText) {
  using Numbers = std::vector<double>;
  EXPECT_EQ(GlobalMethods::SplitDoubleArrayZDN("1,2", ","), Numbers({1, 2}));
  EXPECT_EQ(GlobalMethods::SplitDoubleArrayZDN("1,", ","), Numbers({1, 0}));
  EXPECT_EQ(GlobalMethods::SplitDoubleArrayZDN("a,2.5", ","), Numbers({0, 2.5}));
  EXPECT_EQ(GlobalMethods::SplitDoubleArrayZDN("7", ","), Numbers({7}));
}

TEST_F(ConversionsTest, AStoredDictionaryBecomesATree) {
  const Ref<Dictionary> tree = Stored(
      "<key>i</key><integer>7</integer><key>b</key><true/><key>d</key><date>2027-01-01T00:00:00Z</date>"
      "<key>x</key><data>QQ==</data><key>a</key><array><dict><key>n</key><dict/></dict></array>"
      "<key>i</key><integer>8</integer>");
  EXPECT_EQ(tree->Count(), 3U);
  EXPECT_EQ(*tree->Value("i").If<double>(), 8.0);  // the later of two equal keys
  EXPECT_TRUE(*tree->Value("b").If<bool>());
  EXPECT_EQ(VariantToDictionaryArray(tree->Value("a")).at(0)->Count(), 1U);
  EXPECT_EQ(TakeLog(), std::vector<std::string>({"Unhandled RBDictFromCFDict() of type: CFDate",
                                                 "Unhandled RBDictFromCFDict() of type: CFData"}));
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
  // A kind that does not fit is as good as none.
  EXPECT_EQ(GetPrefsBinaryValue("flag"), "");
  EXPECT_EQ(GetPrefsFileValue("flag"), nullptr);
  EXPECT_TRUE(GetPrefsDictionariesValue("flag").empty());
  // Behind the domain stand the defaults, and behind them nothing.
  EXPECT_EQ(GetPrefsStrValue("absent", false), "");
  EXPECT_FALSE(GetPrefsBoolValue("absent"));
  EXPECT_EQ(GetPrefsFileValue("absent"), nullptr);
  EXPECT_TRUE(GetPrefsDictionariesValue("absent").empty());
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

TEST_F(ConversionsTest, ReadersNeedLoad) {
  xPreferences = nullptr;
  EXPECT_THROW(GetPrefsBoolValue("flag"), NilObjectException);
}

TEST_F(ConversionsTest, GlobalExclusions) {
  const auto days = [this](const char* text) {
    Store(ListXml({}, "<key>Exclusions</key><string>" + std::string(text) + "</string>"));
    Sync();
    std::string result;
    for (const Ref<Date>& day : LocalPreferences::Exclusions_Get()) {
      result += Text(day).substr(0, 10) + " ";
    }
    return result;
  };
  EXPECT_EQ(days("3850000000,3850086400.5"), "2025-12-31 2026-01-01 ");
  EXPECT_EQ(days("3850000000,,x,3850086400"), "2025-12-31 1904-01-01 1904-01-01 2026-01-01 ");
  EXPECT_EQ(days("0"), "1904-01-01 ");
}

}  // namespace
}  // namespace tollmere::testing
