// The container: trailer, offsets, markers and counts, each rule broken once.
#include "platform/codec/PropertyListReader.h"

#include <gtest/gtest.h>

#include <array>

#include "tests/platform/codec/ArchiveBytes.h"

namespace {

using platform::Data;
using platform::PropertyListItem;
using platform::PropertyListKind;
using platform::PropertyListReader;

constexpr std::size_t trailerLength = 32;

bool opens(const Data& bytes) { return PropertyListReader::open(bytes).has_value(); }

/// The top object of these bytes, if it can be read.
std::optional<PropertyListItem> topOf(const Data& bytes) {
  const auto reader = PropertyListReader::open(bytes);
  PropertyListItem item;
  if (!reader || !reader->read(reader->topObject(), item)) return std::nullopt;
  return item;
}

std::optional<PropertyListItem> read(std::initializer_list<int> object) {
  ListBytes list;
  list.raw(bytesOf(object));
  static Data kept;
  kept = list.bytes();
  return topOf(kept);
}

Data sample() {
  ListBytes list;
  const auto inner = list.array({list.text("a"), list.integer(300)});
  list.top = list.dictionary({{list.text("k"), inner}});
  return list.bytes();
}

Data withTrailerByte(std::size_t at, std::uint8_t value) {
  Data bytes = sample();
  bytes[bytes.size() - trailerLength + at] = value;
  return bytes;
}

TEST(PropertyListTrailer, aSoundListOpens) { EXPECT_TRUE(opens(sample())); }

TEST(PropertyListTrailer, theSixUnusedBytesAreIgnored) {
  for (std::size_t at = 0; at < 6; ++at) EXPECT_TRUE(opens(withTrailerByte(at, 0xff))) << at;
}

TEST(PropertyListTrailer, sizesOfZeroAndAboveEightAreRefused) {
  for (const std::size_t at : {6, 7}) {
    EXPECT_FALSE(opens(withTrailerByte(at, 0)));
    EXPECT_FALSE(opens(withTrailerByte(at, 9)));
    EXPECT_FALSE(opens(withTrailerByte(at, 255)));
  }
}

TEST(PropertyListTrailer, everySizeFromOneToEightIsTaken) {
  for (unsigned size = 1; size <= 8; ++size) {
    ListBytes list;
    list.top = list.array({list.text("element")});
    list.offsetSize = size;
    list.referenceSize = size;
    const Data bytes = list.bytes();
    const auto reader = PropertyListReader::open(bytes);
    ASSERT_TRUE(reader) << size;
    PropertyListItem array, element;
    ASSERT_TRUE(reader->read(reader->topObject(), array));
    ASSERT_TRUE(reader->read(reader->reference(array, 0), element));
    EXPECT_TRUE(element.equals("element"));
  }
}

TEST(PropertyListTrailer, anOffsetSizeThatCannotHoldTheTablePositionIsRefused) {
  ListBytes list;
  list.top = list.data(Data(300));
  list.offsetSize = 1;
  EXPECT_FALSE(opens(list.bytes()));
}

TEST(PropertyListTrailer, aReferenceSizeThatCannotHoldTheObjectCountIsRefused) {
  ListBytes list;
  for (int i = 0; i < 256; ++i) list.boolean(true);
  list.referenceSize = 1;
  EXPECT_FALSE(opens(list.bytes()));
  list.referenceSize = 2;
  EXPECT_TRUE(opens(list.bytes()));
}

TEST(PropertyListTrailer, aCountOfZeroIsRefused) { EXPECT_FALSE(opens(withTrailerByte(15, 0))); }

TEST(PropertyListTrailer, countsThatDoNotFitAreRefusedUpToTheLargest) {
  for (std::size_t at = 8; at < 16; ++at) EXPECT_FALSE(opens(withTrailerByte(at, 0x7f))) << at;
  for (std::size_t at = 8; at < 16; ++at) EXPECT_FALSE(opens(withTrailerByte(at, 0xff))) << at;
}

TEST(PropertyListTrailer, aTopObjectPastTheEndIsRefused) {
  EXPECT_FALSE(opens(withTrailerByte(23, 5)));
  EXPECT_FALSE(opens(withTrailerByte(16, 0x80)));
  EXPECT_TRUE(opens(withTrailerByte(23, 4)));
}

TEST(PropertyListTrailer, aTablePositionOutsideTheBytesIsRefused) {
  EXPECT_FALSE(opens(withTrailerByte(31, 8)));
  EXPECT_FALSE(opens(withTrailerByte(31, 255)));
  EXPECT_FALSE(opens(withTrailerByte(24, 0x80)));
}

TEST(PropertyListTrailer, appendedAndMissingBytesAreRefused) {
  Data bytes = sample();
  bytes.insert(bytes.begin() + 20, 0x0f);
  EXPECT_FALSE(opens(bytes));
  bytes = sample();
  bytes.erase(bytes.begin() + 20);
  EXPECT_FALSE(opens(bytes));
  bytes = sample();
  bytes.push_back(0);
  EXPECT_FALSE(opens(bytes));
}

TEST(PropertyListTrailer, everyTruncationIsRefused) {
  const Data bytes = sample();
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(opens(Data(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length)))) << length;
  }
}

TEST(PropertyListTrailer, theEighthByteOfTheMagicIsFreeAndTheOthersAreNot) {
  for (std::size_t at = 0; at < 8; ++at) {
    Data bytes = sample();
    bytes[at] ^= 1;
    EXPECT_EQ(opens(bytes), at == 7) << at;
  }
  Data newer = sample();
  newer[6] = '1';
  EXPECT_FALSE(opens(newer));
}

TEST(PropertyListTrailer, anyOffsetAtOrPastTheTableIsRefusedEvenOfAnObjectThatNobodyReads) {
  Data bytes = sample();
  const std::size_t lastOffset = bytes.size() - trailerLength - 1;
  const std::size_t table = bytes.size() - trailerLength - 5;
  bytes[lastOffset - 1] = static_cast<std::uint8_t>(table);
  EXPECT_FALSE(opens(bytes));
  bytes[lastOffset - 1] = static_cast<std::uint8_t>(table - 1);
  EXPECT_TRUE(opens(bytes));
}

TEST(PropertyListObjects, anObjectInTheMagicIsNotRead) {
  Data bytes = sample();
  const std::size_t table = bytes.size() - trailerLength - 5;
  bytes[table] = 7;
  const auto reader = PropertyListReader::open(bytes);
  PropertyListItem item;
  ASSERT_TRUE(reader);
  EXPECT_FALSE(reader->read(0, item));
  EXPECT_TRUE(reader->read(1, item));
}

TEST(PropertyListObjects, aNumberPastTheLastObjectIsNotRead) {
  const Data bytes = sample();
  const auto reader = PropertyListReader::open(bytes);
  PropertyListItem item;
  EXPECT_FALSE(reader->read(5, item));
  EXPECT_FALSE(reader->read(PropertyListReader::absent, item));
}

TEST(PropertyListObjects, integersOfOneTwoAndFourBytesHaveNoSign) {
  EXPECT_EQ(read({0x10, 0xff})->value, 255u);
  EXPECT_EQ(read({0x11, 0xff, 0xfe})->value, 0xfffeu);
  EXPECT_EQ(read({0x12, 0xff, 0xff, 0xff, 0xfe})->value, 0xfffffffeu);
  EXPECT_FALSE(read({0x12, 0xff, 0xff, 0xff, 0xfe})->isNegative);
}

TEST(PropertyListObjects, integersOfEightBytesHaveASign) {
  const auto item = read({0x13, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xfe});
  EXPECT_EQ(static_cast<std::int64_t>(item->value), -2);
  EXPECT_TRUE(item->isNegative);
  EXPECT_FALSE(read({0x13, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff})->isNegative);
}

TEST(PropertyListObjects, integersOfSixteenBytesAreTheirLowHalfWithoutASign) {
  const auto item = read({0x14, 1, 0, 0, 0, 0, 0, 0, 0, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff});
  EXPECT_EQ(item->value, ~std::uint64_t{0});
  EXPECT_FALSE(item->isNegative);
  EXPECT_EQ(read({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 3})->value, 3u);
}

TEST(PropertyListObjects, widerIntegersAreRefused) {
  for (int low = 5; low <= 15; ++low) {
    ListBytes list;
    Data bytes = bytesOf({0x10 | low});
    bytes.resize(70);
    list.raw(bytes);
    EXPECT_FALSE(topOf(list.bytes())) << low;
  }
}

TEST(PropertyListObjects, realsHaveFourOrEightBytes) {
  EXPECT_EQ(read({0x22, 0x3f, 0xc0, 0, 0})->real(), 1.5);
  EXPECT_EQ(read({0x23, 0xbf, 0xf8, 0, 0, 0, 0, 0, 0})->real(), -1.5);
  EXPECT_FALSE(read({0x20, 0}));
  EXPECT_FALSE(read({0x21, 0, 0}));
  EXPECT_FALSE(read({0x24, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PropertyListObjects, aDateHasEightBytesAndOneMarker) {
  EXPECT_EQ(read({0x33, 0x40, 0, 0, 0, 0, 0, 0, 0})->real(), 2.0);
  EXPECT_FALSE(read({0x32, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x30, 0}));
}

TEST(PropertyListObjects, markersOfNoMeaningAreRefused) {
  for (const int marker : {0x00, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07, 0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f}) {
    EXPECT_FALSE(read({marker})) << marker;
  }
  for (int low = 0; low < 16; ++low) {
    for (const int kind : {0x70, 0x90, 0xb0, 0xe0, 0xf0}) EXPECT_FALSE(read({kind | low, 0, 0, 0})) << kind + low;
  }
}

TEST(PropertyListObjects, booleansAreTheirMarkers) {
  EXPECT_EQ(read({0x08})->value, 0u);
  EXPECT_EQ(read({0x09})->value, 1u);
}

TEST(PropertyListObjects, uidsOfAnyWidthMustFitThirtyTwoBits) {
  EXPECT_EQ(read({0x80, 5})->value, 5u);
  EXPECT_EQ(read({0x81, 1, 0x2c})->value, 300u);
  EXPECT_EQ(read({0x82, 1, 0, 0})->value, 0x10000u);
  EXPECT_EQ(read({0x83, 0xff, 0xff, 0xff, 0xff})->value, 0xffffffffu);
  EXPECT_EQ(read({0x87, 0, 0, 0, 0, 0, 0, 0, 7})->value, 7u);
  EXPECT_EQ(read({0x8f, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7})->value, 7u);
  EXPECT_FALSE(read({0x84, 1, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x8f, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 7}));
}

TEST(PropertyListObjects, anExtendedCountMayBeOfAnyWidth) {
  for (const unsigned size : {1u, 2u, 4u, 8u, 16u}) {
    ListBytes widths;
    widths.integer(3, size);
    const Data integer = widths.bytes();
    Data object = bytesOf({0x5f});
    object.insert(object.end(), integer.begin() + 8, integer.begin() + 9 + size);
    for (const char c : std::string_view("abc")) object.push_back(static_cast<std::uint8_t>(c));
    ListBytes list;
    list.raw(object);
    const Data bytes = list.bytes();
    const auto item = topOf(bytes);
    ASSERT_TRUE(item) << size;
    EXPECT_TRUE(item->equals("abc"));
  }
}

TEST(PropertyListObjects, aCountThatIsNoIntegerOrIsTooLargeIsRefused) {
  EXPECT_FALSE(read({0x5f, 0x51, 'a'}));
  EXPECT_FALSE(read({0x5f, 0x22, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x5f, 0x80, 1}));
  EXPECT_FALSE(read({0x5f}));
  EXPECT_FALSE(read({0x5f, 0x13, 0x7f, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
  EXPECT_FALSE(read({0x5f, 0x13, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}));
  EXPECT_FALSE(read({0xdf, 0x13, 0x40, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x6f, 0x13, 0x40, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(PropertyListObjects, noObjectMayRunPastTheTable) {
  EXPECT_FALSE(read({0x10}));
  EXPECT_FALSE(read({0x13, 0, 0, 0}));
  EXPECT_FALSE(read({0x23, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x33, 0, 0, 0, 0, 0, 0, 0}));
  EXPECT_FALSE(read({0x42, 0}));
  EXPECT_FALSE(read({0x53, 'a', 'b'}));
  EXPECT_FALSE(read({0x62, 0, 'a', 0}));
  EXPECT_FALSE(read({0x83, 0, 0, 0}));
  EXPECT_FALSE(read({0xa2, 0}));
  EXPECT_FALSE(read({0xd1, 0}));
  EXPECT_TRUE(read({0xd1, 0, 0}));
}

TEST(PropertyListLookUp, keysAreFoundInAnyOrderAndInEitherForm) {
  ListBytes list;
  list.top = list.dictionary({{list.wideText(u"second"), list.integer(2)},
                              {list.text("a key of more than fourteen bytes"), list.integer(3)},
                              {list.text("other"), list.integer(4)},
                              {list.text("first"), list.integer(1)}});
  const Data bytes = list.bytes();
  const auto reader = PropertyListReader::open(bytes);
  PropertyListItem dictionary, value;
  ASSERT_TRUE(reader->read(reader->topObject(), dictionary));
  const std::array<platform::PropertyListKey, 4> keys{"first", "second", "a key of more than fourteen bytes", "fir"};
  std::array<std::uint64_t, 4> values;
  ASSERT_TRUE(reader->lookUp(dictionary, keys, values));
  for (std::size_t i = 0; i < 3; ++i) {
    ASSERT_TRUE(reader->read(values[i], value));
    EXPECT_EQ(value.value, i + 1);
  }
  EXPECT_EQ(values[3], PropertyListReader::absent);
}

bool looksUp(const ListBytes& list) {
  const Data bytes = list.bytes();
  const auto reader = PropertyListReader::open(bytes);
  PropertyListItem dictionary;
  const std::array<platform::PropertyListKey, 1> keys{"k"};
  std::array<std::uint64_t, 1> values;
  return reader && reader->read(reader->topObject(), dictionary) && reader->lookUp(dictionary, keys, values);
}

TEST(PropertyListLookUp, aKeyThatIsNoStringMakesTheDictionaryMalformed) {
  for (int kind = 0; kind < 4; ++kind) {
    ListBytes list;
    const auto key = kind == 0 ? list.array({}) : kind == 1 ? list.dictionary({}) : kind == 2 ? list.integer(1) : list.uid(1);
    list.top = list.dictionary({{key, list.integer(1)}});
    EXPECT_FALSE(looksUp(list)) << kind;
  }
}

TEST(PropertyListLookUp, aKeyThatStandsTwiceMakesTheDictionaryMalformed) {
  ListBytes list;
  list.top = list.dictionary({{list.text("k"), list.integer(1)}, {list.text("k"), list.integer(2)}});
  EXPECT_FALSE(looksUp(list));
}

TEST(PropertyListLookUp, aReferenceToNoObjectMakesTheDictionaryMalformed) {
  ListBytes list;
  list.top = list.dictionary({{list.text("k"), list.integer(1)}, {list.text("l"), 200}});
  EXPECT_FALSE(looksUp(list));
  ListBytes keys;
  keys.top = keys.dictionary({{200, keys.integer(1)}});
  EXPECT_FALSE(looksUp(keys));
}

TEST(PropertyListLookUp, aKeyCutOffByTheTableIsNotRead) {
  ListBytes list;
  list.top = list.dictionary({{1, 0}});
  list.raw(bytesOf({0x55, 'k'}));
  EXPECT_FALSE(looksUp(list));
}

TEST(PropertyListReferences, aContainerWithOneReferenceTooLargeIsFound) {
  for (const unsigned size : {1u, 2u, 3u, 4u, 8u}) {
    ListBytes list;
    list.referenceSize = size;
    std::vector<ListBytes::Number> elements(40, 0);
    list.top = list.array(elements);
    Data bytes = list.bytes();
    auto reader = PropertyListReader::open(bytes);
    PropertyListItem array;
    ASSERT_TRUE(reader->read(0, array));
    EXPECT_TRUE(reader->hasValidReferences(array));
    elements[33] = 1;
    list.setReferences(0, elements);
    bytes = list.bytes();
    reader = PropertyListReader::open(bytes);
    ASSERT_TRUE(reader->read(0, array));
    EXPECT_FALSE(reader->hasValidReferences(array)) << size;
  }
}

}  // namespace
