// Waiting for what the main loop brings about.
#include "console/Condition.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "platform/linux/MainLoopSource.h"

using platform::native::MainLoopSource;

namespace {

void runUntilSet(const std::optional<bool>& result) {
  while (!result) g_main_context_iteration(nullptr, TRUE);
}

TEST(Condition, endsAsSoonAsTheMainLoopHasMadeItTrue) {
  bool isTrue = false;
  std::optional<bool> result;
  Condition condition([&] { return isTrue; }, 10, [&](bool isMet) { result = isMet; });
  const auto change = MainLoopSource::after(5, [&] { isTrue = true; });
  runUntilSet(result);
  EXPECT_TRUE(result.value());
}

TEST(Condition, endsAtItsDeadlineWhenItNeverHolds) {
  std::optional<bool> result;
  Condition condition([] { return false; }, 0.01, [&](bool isMet) { result = isMet; });
  runUntilSet(result);
  EXPECT_FALSE(result.value());
}

TEST(Condition, isLookedAtOnlyWhenTheLoopHasDoneSomething) {
  int looks = 0;
  std::optional<bool> result;
  Condition condition([&] { return ++looks < 0; }, 0.05, [&](bool isMet) { result = isMet; });
  runUntilSet(result);
  EXPECT_LE(looks, 5);
}

TEST(Condition, mayBeDestroyedByItsOwnEnd) {
  std::optional<bool> result;
  std::unique_ptr<Condition> condition;
  condition = std::make_unique<Condition>([] { return true; }, 10,
                                          [&](bool isMet) {
                                            condition.reset();
                                            result = isMet;
                                          });
  runUntilSet(result);
  EXPECT_TRUE(result.value());
}

TEST(Condition, neverEndsOnceItIsDestroyed) {
  std::optional<bool> result;
  std::optional<bool> later;
  {
    Condition condition([] { return true; }, 10, [&](bool isMet) { result = isMet; });
  }
  const auto end = MainLoopSource::after(5, [&] { later = true; });
  runUntilSet(later);
  EXPECT_FALSE(result);
}

}  // namespace
