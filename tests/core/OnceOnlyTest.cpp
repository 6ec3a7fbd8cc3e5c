// What is made once in a process.
#include "core/OnceOnly.h"

#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <thread>

namespace {

TEST(OnceOnlyValue, isMadeByTheFirstCallAndKept) {
  Once<int> once;
  EXPECT_EQ(once.get([] { return 1; }), 1);
  EXPECT_EQ(once.get([] { return 2; }), 1);
}

// The first call does not finish before the second has begun to make a value too, or has had ample time to.
TEST(OnceOnlyValue, isMadeOnceAlsoWhenASecondThreadAsksMeanwhile) {
  using namespace std::chrono_literals;
  Once<int> once;
  std::mutex mutex;
  std::condition_variable changed;
  int made = 0;
  bool isSecondAsking = false;
  const auto make = [&] {
    std::unique_lock lock(mutex);
    const int number = ++made;
    changed.notify_all();
    if (number == 1) {
      EXPECT_TRUE(changed.wait_for(lock, 30s, [&] { return isSecondAsking; }));
      changed.wait_for(lock, 50ms, [&] { return made == 2; });
    }
    return number;
  };
  int answerToSecond = 0;
  std::thread second([&] {
    {
      std::unique_lock lock(mutex);
      EXPECT_TRUE(changed.wait_for(lock, 30s, [&] { return made == 1; }));
      isSecondAsking = true;
      changed.notify_all();
    }
    answerToSecond = once.get(make);
  });
  EXPECT_EQ(once.get(make), 1);
  second.join();
  EXPECT_EQ(answerToSecond, 1);
  EXPECT_EQ(made, 1);
}

}  // namespace
