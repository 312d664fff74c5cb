#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

#include "launch/engine.h"
#include "preferences/local_preferences.h"
#include "support/log_capture.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"
#include "watch/check_alarms_timer.h"

namespace tollmere::testing {
namespace {

class ScenarioTest : public StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    bundle_ = folder_.WriteBundle("Tollmere.app", "");
    std::filesystem::permissions(bundle_ + "/Contents/MacOS/Tollmere", std::filesystem::perms::none);
  }
  void Tick(const std::string& moment) {
    Store(ListXml(alarms_, domain_ + LocationXml(bundle_)));
    SetClock(moment);
    Engine::tmrCheckAlarms->Event_Action();
    log_ = TakeLog();
    std::replace(log_.begin(), log_.end(), "Found Tollmere: " + bundle_,
                 std::string("Found Tollmere: {bundle}"));
  }
  void Do(const std::string& command, const std::string& text) {
    const std::string words = text.substr(text.find(' ') + 1);
    const auto number = [&] { return std::stoi(text); };
    if (command == "alarm") {
      text == "none" ? alarms_.clear() : alarms_.push_back(text);
    } else if (command == "domain") {
      domain_ = text + " ";
    } else if (command == "tick") {
      Tick(text);
    } else if (command == ">") {
      ASSERT_FALSE(log_.empty());
      EXPECT_EQ(log_.front(), text);
      log_.erase(log_.begin());
    } else if (command == "history") {
      const Variant entry = LocalPreferences::MasteRingHistory->Value(Int32ToVariant(number()));
      EXPECT_EQ(Text(Cast<Date>(VariantToObject(entry))), words);
    } else if (command == "recent") {
      EXPECT_EQ(Text(CheckAlarmsTimer::dRecentCheck), text);
    } else {
      const TLMAlarm& alarm = *LocalPreferences::xAlarmArray.at(static_cast<std::size_t>(number()));
      EXPECT_EQ(command == "next" ? Text(alarm.NextRingDateTime) : std::to_string(alarm.Enabled()), words);
    }
  }

  std::vector<std::string> alarms_;
  std::string domain_;
  std::string bundle_;
  std::vector<std::string> log_;  // of the last tick, as far as no line has been compared with it
};

class ScenarioTextTest : public ScenarioTest, public ::testing::WithParamInterface<Section> {};

TEST_P(ScenarioTextTest, FromTheStoreToTheLog) {
  for (const std::string& line : GetParam().lines) {
    SCOPED_TRACE(line);
    const std::string command = line.substr(0, line.find(' '));
    if (command == "tick") {
      EXPECT_EQ(log_, std::vector<std::string>()) << "not expected";
    }
    Do(command, line.substr(command.size() + 1));
  }
  EXPECT_EQ(log_, std::vector<std::string>()) << "not expected";
}
INSTANTIATE_TEST_SUITE_P(Scenarios, ScenarioTextTest, ::testing::ValuesIn(Sections("scenarios.txt", "new ")),
                         [](const auto& section) { return section.param.name; });

TEST_F(ScenarioTest, AMomentThatPassesBetweenReloadAndPass) {
  Store(ListXml({"UniqueID=1 DateYear=-1 DateMonth=-1 DateDay=-1 Hour=10 Minute=0"}, "RingPastAlarms=true"));
  SetClock("2027-06-15 10:00:59");
  LocalPreferences::Reload();
  AdvanceClock(1);
  CheckAlarmsTimer::CheckAlarms(nullptr);
  EXPECT_TRUE(LocalPreferences::xAlarmArray[0]->Enabled());
  EXPECT_EQ(Text(LocalPreferences::xAlarmArray[0]->LastRungDateTime), "2027-06-15 10:01:00");
}

TEST_F(ScenarioTest, AFailedTickLeavesTheTimerOffAndTheSecondsToDo) {
  Tick("2027-06-15 08:00:00");
  EXPECT_EQ(Engine::tmrCheckAlarms->Mode(), 2);
  alarms_ = {"UniqueID=1", "<key>WeeklyDays</key><true/>", "UniqueID=2"};
  EXPECT_THROW(Tick("2027-06-15 08:00:05"), IllegalCastException);
  EXPECT_EQ(Engine::tmrCheckAlarms->Mode(), 0);
  EXPECT_EQ(Engine::tmrCheckAlarms->Period(), 1000);
  EXPECT_EQ(Text(CheckAlarmsTimer::dRecentCheck), "2027-06-15 08:00:00");
  EXPECT_EQ(LocalPreferences::xAlarmArray.size(), 1U);
}

}  // namespace
}  // namespace tollmere::testing
