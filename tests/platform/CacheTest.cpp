// The cache, and the index of hashes below it: what is set is found, whatever was removed in between.
#include <gtest/gtest.h>

#include <map>
#include <random>

#include "platform/Cache.h"

namespace {

// Eight hashes for all keys, so that most slots stand away from their home.
struct Key {
  int number = 0;
  friend bool operator==(const Key&, const Key&) = default;
};

}  // namespace

template <>
struct std::hash<Key> {
  std::size_t operator()(const Key& key) const { return static_cast<std::size_t>(key.number % 8); }
};

namespace {

TEST(Cache, aKeyHasTheValueThatWasSetLast) {
  platform::Cache<Key, int> cache;
  cache.setObject(1, {7});
  cache.setObject(2, {7});
  ASSERT_NE(cache.objectForKey({7}), nullptr);
  EXPECT_EQ(*cache.objectForKey({7}), 2);
  EXPECT_EQ(cache.count(), 1u);
  cache.removeAllObjects();
  EXPECT_EQ(cache.objectForKey({7}), nullptr);
}

TEST(Cache, keysWithTheSameHashAreFoundAfterAnyRemoval) {
  std::mt19937 random(1);
  platform::Cache<Key, int> cache;
  std::map<int, int> expected;
  for (int step = 0; step < 4000; ++step) {
    const int number = static_cast<int>(random() % 64);
    if (random() % 3 == 0) {
      cache.removeObjectForKey({number});
      expected.erase(number);
    } else {
      cache.setObject(step, {number});
      expected[number] = step;
    }
    ASSERT_EQ(cache.count(), expected.size());
    for (int each = 0; each < 64; ++each) {
      const int* found = cache.objectForKey({each});
      const auto wanted = expected.find(each);
      ASSERT_EQ(found != nullptr, wanted != expected.end()) << each << " at step " << step;
      if (found) {
        ASSERT_EQ(*found, wanted->second);
      }
    }
  }
}

TEST(Cache, whatIsAskedForInTheOrderOfItsArrivalOrInAnyOtherIsFound) {
  platform::Cache<int, int> cache;
  for (int i = 0; i < 1000; ++i) cache.setObject(i, i * 3);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(*cache.objectForKey(i * 3), i);
  for (int i = 1000; i-- > 0;) ASSERT_EQ(*cache.objectForKey(i * 3), i);
  EXPECT_EQ(cache.objectForKey(1), nullptr);
}

}  // namespace
