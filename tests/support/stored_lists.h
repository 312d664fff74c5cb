// Stored alarms from short texts, and a store of the test's own to keep them in.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "foundation/dictionary.h"
#include "schedule/alarm.h"
#include "support/files.h"

namespace tollmere::testing {

// One stored dictionary in XML from words such as
//   Name=Wake AlarmType=1 Hour=7 WeeklyDays=0,3 Enabled=false Exclusions=2027-01-31,2027-02-01
// Numbers become integers, or reals where they have a point; LastRungDateTime and Exclusions are moments.
// A word that begins with '<' stands for itself.
std::string StoredXml(std::string_view words);

// A property list with such alarms, and with whatever else is to stand at its top.
std::string ListXml(const std::vector<std::string>& alarms, std::string_view more_words = "");

// The key "LastExeLocation" with that location, in XML.
std::string LocationXml(const std::string& location);

// The dictionary as the preference reader makes it, and an alarm that has read it.
Ref<Dictionary> Stored(std::string_view words);
Ref<TLMAlarm> AlarmOf(std::string_view words);

// A store, a home, and all globals as start-up makes them, for one test.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  // Puts that content into the store, as its next refresh will see it.
  void Store(std::string_view content) const { folder_.Write("com.vendrel.Tollmere9.plist", content); }

  TemporaryFolder folder_;
};

}  // namespace tollmere::testing
