#include "foundation/system/event_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

namespace tollmere::testing {
namespace {

struct Enough : std::exception {};

// Notes when it fires, and acts.
class NotingTimer : public Timer, public ActionNotificationReceiver {
 public:
  explicit NotingTimer(std::int32_t period) {
    addActionNotificationReceiver(*this);
    SetPeriod(period);
    SetMode(2);
  }
  void CallAction() override {
    at.push_back(MonotonicClock());
    Timer::CallAction();
  }
  void PerformAction() override { action(); }

  std::function<void()> action;
  std::vector<std::int64_t> at;
};

// However late an expiry comes, the next one is not before its own point of the grid, and never the same. The
// first action takes two periods and a half, and all of them switch the timer off and on again. Beside a
// timer that is left on, it loses nothing by that. An action does not shift the grid: some expiry comes
// sooner than a period after the end of the action before it, on a busy machine perhaps only after many.
TEST(EventLoopTest, TheGridHoldsAndWhatIsMissedIsDropped) {
  Application application;
  const std::int64_t start = MonotonicClock();
  NotingTimer timer(10);
  New<NotingTimer>(1);  // One that has gone does not fire.
  NotingTimer removed(1'000'000);
  timer.addActionNotificationReceiver(removed);
  timer.removeActionNotificationReceiver(removed);
  NotingTimer left_on(10);
  left_on.action = [] {};
  std::int64_t end = start;
  bool on_grid = false;
  timer.action = [&] {
    on_grid = on_grid || timer.at.back() - end < 9'000'000;
    timer.SetMode(0);
    std::this_thread::sleep_for(std::chrono::milliseconds(timer.at.size() == 1 ? 25 : 4));
    timer.SetMode(2);
    end = MonotonicClock();
    if (timer.at.size() >= 20 && (on_grid || timer.at.size() == 1000)) {
      throw Enough();
    }
  };
  EXPECT_THROW(application.Run(), Enough);
  EXPECT_TRUE(on_grid);
  EXPECT_LE(left_on.at.size(), timer.at.size() + 2);  // A point may fall between the two.
  const auto period = [&](std::size_t i) { return (timer.at[i] - start) / 10'000'000; };
  EXPECT_GE(period(0), 1);
  EXPECT_GE(period(1), 3);
  for (std::size_t i = 1; i < timer.at.size(); ++i) {
    EXPECT_GT(period(i), period(i - 1));
  }
}

TEST(EventLoopTest, ANewPeriodAndASwitchLaterOnBeginANewGrid) {
  Application application;
  NotingTimer first(1'000'000);
  first.SetPeriod(20);
  NotingTimer second(100);
  second.action = [&] {
    first.SetMode(2);
    if (first.at.empty()) {
      throw Enough();
    }
  };
  first.action = [&] {
    first.SetMode(0);
    if (first.at.size() == 2) {
      throw Enough();
    }
  };
  EXPECT_THROW(application.Run(), Enough);
  ASSERT_EQ(first.at.size(), 2U);
  EXPECT_GE(first.at[1] - second.at[0], 20'000'000);
}

}  // namespace
}  // namespace tollmere::testing
