#include "foundation/system/event_loop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>

namespace tollmere::testing {
namespace {

constexpr std::int32_t kPeriod = 10;

struct Enough : std::exception {};

// Takes down when it fires, in periods from `start`. Its first action takes two periods and a half, and all
// of them switch it off and on again.
class NotingTimer : public Timer, public ActionNotificationReceiver {
 public:
  void CallAction() override {
    at.push_back((MonotonicClock() - start) / (kPeriod * 1'000'000));
    SetMode(0);
    std::this_thread::sleep_for(std::chrono::milliseconds(at.size() == 1 ? 25 : 1));
    SetMode(2);
    Timer::CallAction();
  }
  void PerformAction() override {
    if (at.size() == 5) {
      throw Enough();
    }
  }
  const std::int64_t start = MonotonicClock();
  std::vector<std::int64_t> at;
};

// However late an expiry comes, the next one is not before its own point of the grid, and never the same.
TEST(EventLoopTest, TheGridHoldsAndWhatIsMissedIsDropped) {
  Application application;
  NotingTimer timer;
  NotingTimer removed;
  removed.at.resize(5);
  timer.addActionNotificationReceiver(removed);
  timer.addActionNotificationReceiver(timer);
  timer.removeActionNotificationReceiver(removed);
  timer.SetPeriod(kPeriod);
  timer.SetMode(2);
  EXPECT_THROW(application.Run(), Enough);
  ASSERT_EQ(timer.at.size(), 5U);
  EXPECT_GE(timer.at[0], 1);
  EXPECT_GE(timer.at[1], 3);
  for (std::size_t i = 1; i < timer.at.size(); ++i) {
    EXPECT_GT(timer.at[i], timer.at[i - 1]);
  }
}

// Switches `other` on again, once that has switched itself off.
class SwitchingTimer : public Timer {
 public:
  explicit SwitchingTimer(Timer* other) : other_(other) {}
  void CallAction() override {
    at.push_back(MonotonicClock());
    SetMode(0);
    if (other_ != nullptr) {
      other_->SetMode(2);
    } else if (at.size() == 2) {
      throw Enough();
    }
  }
  std::vector<std::int64_t> at;

 private:
  Timer* other_;
};

TEST(EventLoopTest, ATimerThatIsSwitchedOnLaterBeginsANewGrid) {
  Application application;
  SwitchingTimer first(nullptr);
  SwitchingTimer second(&first);
  first.SetPeriod(20);
  first.SetMode(2);
  second.SetPeriod(100);
  second.SetMode(2);
  EXPECT_THROW(application.Run(), Enough);
  EXPECT_GE(first.at[1] - second.at[0], 20'000'000);
}

}  // namespace
}  // namespace tollmere::testing
