// Whom the host lets watch it, as it tells the system.
#include "host/WatchLeave.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

class LeaveToWatch : public testing::Test {
 protected:
  LeaveToWatch() { calls.clear(); }
  ~LeaveToWatch() override { ::unsetenv("DOVETAIL_NO_SIGNAL_WATCH"); }

  static int recordedPrctl(int option, ...) {
    std::va_list arguments;
    va_start(arguments, option);
    calls.emplace_back(option, va_arg(arguments, unsigned long));
    va_end(arguments);
    return 0;
  }

  static inline std::vector<std::pair<int, unsigned long>> calls;
};

TEST_F(LeaveToWatch, isGivenToOneProcess) {
  giveLeaveToWatch(4711, recordedPrctl);
  EXPECT_THAT(calls, testing::ElementsAre(std::pair(PR_SET_PTRACER, 4711ul)));
}

TEST_F(LeaveToWatch, isNeverGivenToAllNorTakenBackForWantOfAProcess) {
  giveLeaveToWatch(0, recordedPrctl);
  giveLeaveToWatch(-1, recordedPrctl);
  EXPECT_TRUE(calls.empty());
}

TEST_F(LeaveToWatch, isGivenToNobodyWhileTheWatchingIsSwitchedOff) {
  ::setenv("DOVETAIL_NO_SIGNAL_WATCH", "1", 1);
  giveLeaveToWatch(4711, recordedPrctl);
  EXPECT_TRUE(calls.empty());
  ::setenv("DOVETAIL_NO_SIGNAL_WATCH", "", 1);
  giveLeaveToWatch(4711, recordedPrctl);
  EXPECT_EQ(calls.size(), 1u);
}

}  // namespace
