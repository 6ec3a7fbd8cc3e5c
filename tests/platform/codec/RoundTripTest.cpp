// Whatever can be said in values comes back as it was said: values at random, the same in every run.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "archive/ArchivedClasses.h"
#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

namespace {

using platform::Object;

class Values {
 public:
  explicit Values(std::uint32_t seed) : random_(seed) {}

  Object any(int depth) {
    switch (below(depth > 0 ? 16 : 9)) {
      case 0: return text();
      case 1: return number();
      case 2: return std::bit_cast<double>(word());
      case 3: return below(2) == 0;
      case 4: return data();
      case 5: return platform::Date{static_cast<double>(word() >> 12)};
      case 6: return uuid();
      case 7: return platform::Null();
      case 8: return path();
      case 9: return platform::Array(list(depth));
      case 10: return platform::Set{list(depth)};
      case 11: return dictionary(depth);
      case 12: return url(depth);
      case 13: return platform::Error{text(), static_cast<std::int64_t>(word()), dictionary(depth)};
      case 14: return entry();
      default: return node(depth);
    }
  }

 private:
  std::uint64_t below(std::uint64_t limit) { return random_() % limit; }
  std::uint64_t word() { return (std::uint64_t{random_()} << 32 | random_()) >> below(64); }

  std::string text() {
    static constexpr const char* pieces[] = {"a",          "name.txt",     "$null", "\u00e9", "\u65e5",
                                             "\U0001f600", "\xed\xa0\x80", " ",     "%20"};
    std::string text;
    for (std::uint64_t i = below(5); i-- > 0;) text += pieces[below(std::size(pieces))];
    return text;
  }
  platform::Integer number() {
    return below(2) == 0 ? platform::Integer::ofUnsigned(word())
                         : platform::Integer::ofSigned(-static_cast<std::int64_t>(word() >> 1));
  }
  platform::Data data() {
    platform::Data data(below(40));
    for (std::uint8_t& byte : data) byte = static_cast<std::uint8_t>(random_());
    return data;
  }
  platform::UUID uuid() {
    platform::UUID uuid;
    for (std::uint8_t& byte : uuid.bytes) byte = static_cast<std::uint8_t>(random_());
    return uuid;
  }
  platform::IndexPath path() {
    platform::IndexPath path;
    for (std::uint64_t i = below(6); i-- > 0;) path.indexes.push_back(word());
    return path;
  }
  std::vector<Object> list(int depth) {
    std::vector<Object> list;
    for (std::uint64_t i = below(6); i-- > 0;) list.push_back(any(depth - 1));
    return list;
  }
  platform::Dictionary dictionary(int depth) {
    platform::Dictionary dictionary;
    for (std::uint64_t i = below(4); i-- > 0;) dictionary.entries.emplace_back(Object(text()), any(depth - 1));
    return dictionary;
  }
  platform::URL url(int depth) {
    return platform::URL::URLWithString(text(), below(2) == 0 ? std::nullopt : std::optional(url(depth)));
  }
  Object entry() {
    auto entry = std::make_shared<RawEntry>();
    entry->name = below(8) == 0 ? Object() : Object(text());
    entry->isFolder = below(2) == 0;
    entry->index = number();
    entry->rsrcIndex = below(4) == 0 ? Object() : Object(number());
    entry->size = number();
    return Object(std::shared_ptr<const platform::Coding>(std::move(entry)));
  }
  void fill(RawNode& node, int depth) {
    if (below(8) != 0) node.object = entry();
    if (below(4) == 0) return;
    node.children.emplace(depth > 0 ? below(4) : 0);
    for (RawNode& child : *node.children) fill(child, depth - 1);
  }
  Object node(int depth) {
    auto node = std::make_shared<RawNode>();
    fill(*node, depth);
    return Object(std::shared_ptr<const platform::Coding>(std::move(node)));
  }

  std::mt19937 random_;
};

TEST(RoundTrip, aValueAtRandomComesBackTheSame) {
  for (std::uint32_t seed = 0; seed < 3000; ++seed) {
    const Object value = Values(seed).any(4);
    const auto bytes = platform::KeyedArchiver::archivedDataWithRootObject(value);
    ASSERT_TRUE(bytes) << seed;
    const auto copy = platform::KeyedUnarchiver::unarchivedObjectWithData(*bytes, rawClasses());
    ASSERT_TRUE(copy) << seed;
    ASSERT_EQ(textOfObject(*copy), textOfObject(value)) << seed;
    EXPECT_EQ(platform::KeyedArchiver::archivedDataWithRootObject(*copy), bytes) << seed;
  }
}

TEST(RoundTrip, aValueAtRandomComesBackThroughItsText) {
  for (std::uint32_t seed = 5000; seed < 8000; ++seed) {
    const std::string text = textOfObject(Values(seed).any(4));
    const auto value = objectOfText(text);
    ASSERT_TRUE(value) << text;
    ASSERT_EQ(textOfObject(*value), text);
  }
}

TEST(RoundTrip, theSameBytesEachTime) {
  const Object value = Values(1).any(5);
  EXPECT_EQ(platform::KeyedArchiver::archivedDataWithRootObject(value), platform::KeyedArchiver::archivedDataWithRootObject(value));
}

}  // namespace
