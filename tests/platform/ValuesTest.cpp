// Objects, images and the typed reads of settings.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/Image.h"
#include "platform/Object.h"
#include "platform/fake/FakePlatform.h"

namespace {

using namespace platform;

TEST(Objects, aDefaultObjectIsNilAndTheNullObjectIsNot) {
  EXPECT_TRUE(Object().isNil());
  EXPECT_FALSE(Object(Null()).isNil());
  EXPECT_TRUE(Object(std::shared_ptr<const Coding>()).isNil());
  EXPECT_FALSE(Object(false).isNil());
  EXPECT_FALSE(Object("").isNil());
}

TEST(Objects, aValueIsGivenAsItsOwnKindAlone) {
  const Object text("a");
  ASSERT_TRUE(text.get<std::string>());
  EXPECT_FALSE(text.get<bool>());
  EXPECT_FALSE(text.get<Data>());
  EXPECT_TRUE(Object(true).get<bool>());
  EXPECT_FALSE(Object(true).get<Integer>());
  EXPECT_FALSE(Object(Integer::ofSigned(1)).get<bool>());
}

TEST(Objects, aWholeNumberTellsTheGreatestFromTheLeast) {
  EXPECT_EQ(Integer::ofSigned(-1).bits, Integer::ofUnsigned(~std::uint64_t{0}).bits);
  EXPECT_FALSE(Integer::ofSigned(-1) == Integer::ofUnsigned(~std::uint64_t{0}));
  EXPECT_EQ(Integer::ofUnsigned(~std::uint64_t{0}).signedValue(), -1);
  EXPECT_TRUE(Integer::ofSigned(5) == Integer::ofUnsigned(5));
}

TEST(Objects, copiesAreIndependent) {
  Object array = Array{Object(1.0)};
  const Object copy = array;
  array = Array{};
  EXPECT_EQ(copy.get<Array>()->size(), 1u);
}

TEST(Dictionaries, theFirstOfEqualKeysIsFoundAndOnlyStringKeysAreLookedUp) {
  Dictionary dictionary;
  dictionary.entries.emplace_back(Object(true), Object("flag"));
  dictionary.add("a", Object("first"));
  dictionary.add("a", Object("second"));
  ASSERT_TRUE(dictionary.objectForKey("a"));
  EXPECT_EQ(*dictionary.objectForKey("a")->get<std::string>(), "first");
  EXPECT_FALSE(dictionary.objectForKey("b"));
  EXPECT_FALSE(dictionary.objectForKey(""));
}

TEST(Errors, aTextIsReplacedOrAdded) {
  Error error{"domain", 1, {}};
  EXPECT_FALSE(error.textForKey("a"));
  error.setText("a", "one");
  error.setText("a", "two");
  error.userInfo.add("b", Object(true));
  EXPECT_EQ(*error.textForKey("a"), "two");
  EXPECT_EQ(error.userInfo.entries.size(), 2u);
  EXPECT_FALSE(error.textForKey("b"));
}

Image imageOfSizes(std::initializer_list<double> sides) {
  Image image;
  for (const double side : sides) image.representations.push_back({{side, side}, std::to_string(static_cast<int>(side)), ""});
  return image;
}

std::string best(const Image& image, double side) {
  const auto* found = image.bestRepresentationForRect({side, side});
  return found ? found->source : "none";
}

TEST(Images, theBestRepresentationIsTheSmallestThatCoversElseTheLargest) {
  const Image image = imageOfSizes({32, 16, 48, 22});
  EXPECT_EQ(best(image, 16), "16");
  EXPECT_EQ(best(image, 17), "22");
  EXPECT_EQ(best(image, 1), "16");
  EXPECT_EQ(best(image, 48), "48");
  EXPECT_EQ(best(image, 64), "48");
  EXPECT_EQ(best(imageOfSizes({}), 16), "none");
}

TEST(Images, aReducedImageHoldsTheRepresentationThatFitsBestAndNoOther) {
  const auto source = std::make_shared<Image>(imageOfSizes({32, 16, 48}));
  const platform::ImageRef small = platform::reducedImage(source, {24, 24});
  EXPECT_EQ(small->size, (platform::Size{24, 24}));
  ASSERT_EQ(small->representations.size(), 1u);
  EXPECT_EQ(small->representations.front().source, "32");
  EXPECT_TRUE(platform::reducedImage(nullptr, {24, 24})->representations.empty());
  EXPECT_TRUE(platform::reducedImage(std::make_shared<Image>(), {24, 24})->representations.empty());
}

TEST(Images, aRepresentationCoversOnlyWhereBothSidesDo) {
  Image image;
  image.representations = {{{100, 10}, "wide", ""}, {{20, 20}, "square", ""}};
  EXPECT_EQ(best(image, 16), "square");
}

TEST(Images, ofEqualsTheFirstIsBest) {
  Image image;
  image.representations = {{{16, 16}, "first", ""}, {{16, 16}, "second", ""}};
  EXPECT_EQ(best(image, 16), "first");
  EXPECT_EQ(best(image, 32), "first");
}

class TypedReads : public testing::Test {
 protected:
  void set(Object value) {
    suites.set("G", "key", std::move(value));
    loop.run();
  }
  fake::CallLog log;
  fake::FakeMainLoop loop;
  fake::FakeUserDefaultsSuites suites{log, loop};
  std::unique_ptr<UserDefaults> store = suites.initWithSuiteName("G");
};

TEST_F(TypedReads, anAbsentKeyReadsAsEmptyOfEachKind) {
  EXPECT_FALSE(store->dictionaryForKey("key"));
  EXPECT_FALSE(store->boolForKey("key"));
  EXPECT_FALSE(store->arrayForKey("key"));
  EXPECT_FALSE(store->stringForKey("key"));
}

TEST_F(TypedReads, aValueOfAnotherKindReadsAsEmpty) {
  set("text");
  EXPECT_FALSE(store->dictionaryForKey("key"));
  EXPECT_FALSE(store->boolForKey("key"));
  EXPECT_FALSE(store->arrayForKey("key"));
  EXPECT_EQ(store->stringForKey("key"), "text");
  set(Array{});
  EXPECT_TRUE(store->arrayForKey("key"));
  EXPECT_FALSE(store->stringForKey("key"));
  set(Dictionary{});
  EXPECT_TRUE(store->dictionaryForKey("key"));
  EXPECT_FALSE(store->arrayForKey("key"));
}

TEST_F(TypedReads, aNumberReadsAsAFlag) {
  const std::pair<Object, bool> examples[] = {
      {true, true}, {false, false}, {Integer::ofSigned(0), false}, {Integer::ofSigned(-1), true}, {0.0, false}, {0.5, true}};
  for (const auto& [value, expected] : examples) {
    set(value);
    EXPECT_EQ(store->boolForKey("key"), expected);
  }
}

}  // namespace
