#include <gtest/gtest.h>

#include "support/files.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

using StoredFormTest = StoreTest;

template <std::size_t kCount>
std::string Flags(const std::array<bool, kCount>& flags) {
  std::string text;
  for (const bool flag : flags) {
    text += flag ? '1' : '0';
  }
  return text;
}

// Every field, by the name of its stored key.
std::map<std::string, std::string> Fields(const TLMAlarm& a) {
  std::map<std::string, std::string> fields = {
      {"LastRungDateTime", Text(a.LastRungDateTime)},
      {"Name", a.Name},
      {"WeeklyDays", Flags(a.WeeklyDays)},
      {"WeeklyDaysRelative", Flags(a.WeeklyDaysRelative)},
      {"WeeklyDaysRelativeOccurences", Flags(a.WeeklyDaysRelativeOccurrences)}};
  // clang-format off
  const std::pair<const char*, std::int32_t> numbers[] = {
      {"AllowMultiple", a.AllowMultiple}, {"DateDay", a.DateDay}, {"DateMonth", a.DateMonth}, {"DateYear", a.DateYear},
      {"Enabled", a.Enabled()}, {"Hour", a.Hour}, {"Minute", a.Minute}, {"HourlyChimeMinute", a.HourlyChimeMinute},
      {"ImportedAB", a.ImportedAB}, {"ImportediCal", a.ImportediCal}, {"IsPreset", a.IsPreset},
      {"PowerManagerIntegration", a.PowerManagerIntegration}, {"PrivateAlarm", a.PrivateAlarm}, {"AlarmType", a.Type},
      {"TimerHours", a.TimerHours}, {"TimerMinutes", a.TimerMinutes}, {"TimerSeconds", a.TimerSeconds},
      {"TimerShowOnStartup", a.TimerShowOnStartup}, {"UniqueID", a.UniqueID}, {"WeeklyDaysMonth", a.WeeklyDaysMonth},
      {"WeeklyDaysRelativeFromMonthEnd", a.WeeklyDaysRelativeFromMonthEnd},
      {"WeeklyDaysRelativeMonth", a.WeeklyDaysRelativeMonth}};
  // clang-format on
  for (const auto& [key, value] : numbers) {
    fields[key] = std::to_string(value);
  }
  return fields;
}

TEST_F(StoredFormTest, EveryKeyReachesItsFieldAndNoOther) {
  SetClock("2027-06-15 10:42:30");
  const auto defaults = Fields(*TLMAlarm::Make());
  for (const auto& row : Table("stored_fields.txt")) {
    EXPECT_EQ(defaults.at(row[0]), row[3]) << row[0];
    auto expected = defaults;
    expected[row[0]] = row[2];
    EXPECT_EQ(Fields(*AlarmOf(row[0] + "=" + row[1])), expected) << row[0];
  }
  EXPECT_TRUE(TLMAlarm::Make()->Exclusions.empty());
  EXPECT_EQ(AlarmOf("Exclusions=2027-01-01,2027-01-02")->Exclusions,
            std::vector<CivilDate>({{2027, 1, 1}, {2027, 1, 2}}));
}

TEST_F(StoredFormTest, TheTwoAbsencesOfAFlagDiffer) {
  const Ref<TLMAlarm> alarm = AlarmOf("WeeklyDays=2,3");
  alarm->SetDictionary(Stored("<key>WeeklyDays</key><dict><key>x2</key><dict/><key>x7</key><dict/></dict>"));
  EXPECT_EQ(Flags(alarm->WeeklyDays), "0001000");  // An item without its flag clears it; no item leaves it.
}

TEST_F(StoredFormTest, MalformedNestingThrowsAndKeepsWhatWasRead) {
  const Ref<TLMAlarm> alarm = TLMAlarm::Make();
  for (const char* malformed :
       {"<key>WeeklyDays</key><true/>", "<key>WeeklyDaysRelative</key><string>x</string>",
        "<key>WeeklyDaysRelativeOccurences</key><array/>",
        "<key>WeeklyDays</key><dict><key>x0</key><integer>1</integer></dict>"}) {
    alarm->UniqueID = 0;
    EXPECT_THROW(alarm->SetDictionary(Stored("UniqueID=5 " + std::string(malformed))), IllegalCastException);
    EXPECT_EQ(alarm->UniqueID, 5) << malformed;
  }
  EXPECT_THROW(alarm->SetDictionary(nullptr), NilObjectException);
}

TEST_F(StoredFormTest, AChangeOfEnabledForgetsTheLastRing) {
  const Ref<TLMAlarm> alarm = AlarmOf("LastRungDateTime=2027-01-03T04:05:06 Enabled=false");
  EXPECT_EQ(Text(alarm->LastRungDateTime), "2027-01-03 04:05:06");  // read behind Enabled
  alarm->SetEnabled(false);
  EXPECT_NE(alarm->LastRungDateTime, nullptr);
  alarm->SetEnabled(true);
  EXPECT_EQ(alarm->LastRungDateTime, nullptr);
}

}  // namespace
}  // namespace tollmere::testing
