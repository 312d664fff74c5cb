#include <gtest/gtest.h>

#include "preferences/core_preferences.h"
#include "support/files.h"
#include "support/stored_lists.h"
#include "support/test_clock.h"

namespace tollmere::testing {
namespace {

class TimetableTest : public StoreTest, public ::testing::WithParamInterface<Section> {};

TEST_P(TimetableTest, Agrees) {
  for (const std::string& line : GetParam().lines) {
    const std::vector<std::string> row = Cells(line);
    SetClock(row[0]);
    Store(ListXml({}, row.size() > 3 && !row[3].empty() ? "Exclusions=" + row[3] : ""));
    CorePreferencesModified::Sync();
    const Ref<TLMAlarm> alarm = AlarmOf(row[2]);
    const Ref<Date> from = row.size() > 4 ? New<Date>() : nullptr;
    if (from != nullptr) {
      from->SetTotalSeconds(row[4] == "the end" ? 1e300 : TotalSeconds(row[4]));
    }
    alarm->SetNextRingTime(from);
    EXPECT_EQ(Text(alarm->NextRingDateTime), row[1]) << line;
  }
}
INSTANTIATE_TEST_SUITE_P(Schedule, TimetableTest, ::testing::ValuesIn(Sections("next_ring_times.txt", "## ")),
                         [](const auto& section) { return section.param.name; });

}  // namespace
}  // namespace tollmere::testing
