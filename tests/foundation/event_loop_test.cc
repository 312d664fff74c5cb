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
  timer.addActionNotificationReceiver(timer);
  timer.SetPeriod(kPeriod);
  timer.SetMode(2);
  EXPECT_THROW(application.Run(), Enough);
  EXPECT_GE(timer.at[0], 1);
  EXPECT_GE(timer.at[1], 3);
  for (std::size_t i = 1; i < timer.at.size(); ++i) {
    EXPECT_GT(timer.at[i], timer.at[i - 1]);
  }
}

}  // namespace
}  // namespace tollmere::testing
