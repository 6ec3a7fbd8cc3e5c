// The canonical form: slots, sharing, widths; and that whatever is written is read again.
#include "platform/codec/KeyedArchiver.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>

#include "platform/codec/KeyedUnarchiver.h"
#include "platform/codec/PropertyListReader.h"
#include "tests/platform/codec/ArchiveBytes.h"

namespace {

using platform::Array;
using platform::Data;
using platform::Integer;
using platform::KeyedArchiver;
using platform::KeyedUnarchiver;
using platform::Object;
using platform::PropertyListItem;
using platform::PropertyListKind;
using platform::PropertyListReader;

std::string textOf(const PropertyListItem& item) { return {reinterpret_cast<const char*>(item.bytes), item.count}; }

/// A property list as text: what refers to what; a scalar that has been referred to before stands as "=scalar".
class Outline {
 public:
  explicit Outline(const Data& bytes) : reader_(*PropertyListReader::open(bytes)), seen_(reader_.objectCount()) {}

  std::string text(std::uint64_t object) {
    PropertyListItem item;
    if (!reader_.read(object, item)) return "?";
    const bool isSeen = seen_[object] && item.kind != PropertyListKind::UID;
    seen_[object] = true;
    return (isSeen ? "=" : "") + text(item);
  }
  /// The elements of "$objects".
  std::string slots() {
    PropertyListItem top, objects;
    const platform::PropertyListKey key("$objects");
    std::uint64_t value = 0;
    reader_.read(reader_.topObject(), top);
    reader_.lookUp(top, {&key, 1}, {&value, 1});
    reader_.read(value, objects);
    return list(objects);
  }
  bool isTopFirst() const { return reader_.topObject() == 0; }

 private:
  std::string text(const PropertyListItem& item) {
    switch (item.kind) {
      case PropertyListKind::Boolean: return item.value ? "true" : "false";
      case PropertyListKind::Integer: return std::to_string(static_cast<std::int64_t>(item.value));
      case PropertyListKind::Real: return "real";
      case PropertyListKind::UID: return "@" + std::to_string(item.value);
      case PropertyListKind::Data: return "data";
      case PropertyListKind::ASCIIString: return textOf(item);
      case PropertyListKind::Array: return "[" + list(item) + "]";
      case PropertyListKind::Dictionary: return "{" + pairs(item) + "}";
      default: return "?";
    }
  }
  std::string list(const PropertyListItem& item) {
    std::string text_;
    for (std::size_t i = 0; i < item.count; ++i) text_ += (i > 0 ? " " : "") + text(reader_.reference(item, i));
    return text_;
  }
  std::string pairs(const PropertyListItem& item) {
    std::string text_;
    std::vector<std::string> keys;
    for (std::size_t i = 0; i < item.count; ++i) keys.push_back(text(reader_.reference(item, i)));
    for (std::size_t i = 0; i < item.count; ++i) {
      text_ += (i > 0 ? " " : "") + keys[i] + ":" + text(reader_.reference(item, item.count + i));
    }
    return text_;
  }

  PropertyListReader reader_;
  std::vector<bool> seen_;
};

Data archiveOf(const Object& object) { return KeyedArchiver::archivedDataWithRootObject(object).value_or(Data()); }

std::string slotsOf(const Object& object) {
  const Data bytes = archiveOf(object);
  return bytes.empty() ? "nothing" : Outline(bytes).slots();
}

struct Twin final : platform::Coding {
  explicit Twin(Object value) : value_(std::move(value)) {}
  std::span<const std::string_view> classNames() const override {
    static constexpr std::string_view names[] = {"Twin", "Sibling", "NSObject"};
    return names;
  }
  void encodeWithCoder(KeyedArchiver& coder) const override {
    coder.encodeObject(value_, "value");
    coder.encodeBool(true, "flag");
  }
  Object value_;
};

struct GivesUp final : platform::Coding {
  std::span<const std::string_view> classNames() const override {
    static constexpr std::string_view names[] = {"GivesUp", "NSObject"};
    return names;
  }
  void encodeWithCoder(KeyedArchiver& coder) const override { coder.fail(); }
};

TEST(CanonicalForm, theTopObjectComesFirstWithItsFourKeys) {
  const Data bytes = archiveOf("x");
  EXPECT_TRUE(Outline(bytes).isTopFirst());
  EXPECT_EQ(Outline(bytes).text(0), "{$version:100000 $archiver:NSKeyedArchiver $top:{root:@1} $objects:[$null x]}");
}

TEST(CanonicalForm, nilIsReferenceZero) {
  const Data bytes = archiveOf(Object());
  EXPECT_EQ(Outline(bytes).text(0), "{$version:100000 $archiver:NSKeyedArchiver $top:{root:@0} $objects:[$null]}");
}

TEST(CanonicalForm, aPartGetsItsSlotAtItsFirstReferenceAndTheClassWhenItsFirstInstanceIsFinished) {
  EXPECT_EQ(slotsOf(Array{"a", Array{"b"}, "c"}),
            "$null {NS.objects:[@2 @3 @6] $class:@5} a {=NS.objects:[@4] =$class:@5} b "
            "{$classname:NSArray $classes:[=NSArray NSObject]} c");
}

TEST(CanonicalForm, equalScalarsShareASlot) {
  EXPECT_EQ(slotsOf(Array{"a", "a", Integer::ofUnsigned(1), Integer::ofUnsigned(1)}).substr(0, 50),
            "$null {NS.objects:[@2 @2 @3 @3] $class:@4} a 1 {$c");
}

TEST(CanonicalForm, scalarsOfDifferentKindOrBitsShareNothing) {
  EXPECT_EQ(slotsOf(Array{0.0, -0.0, Integer::ofUnsigned(0), false}).substr(0, 62),
            "$null {NS.objects:[@2 @3 @4 @5] $class:@6} real real 0 false {");
}

TEST(CanonicalForm, anInstanceReferredToTwiceHasOneSlot) {
  const auto twin = std::make_shared<Twin>("v");
  EXPECT_EQ(slotsOf(Array{Object(twin), Object(twin)}),
            "$null {NS.objects:[@2 @2] $class:@5} {value:@3 flag:true =$class:@4} v "
            "{$classname:Twin $classes:[=Twin Sibling NSObject]} {=$classname:NSArray =$classes:[=NSArray =NSObject]}");
}

TEST(CanonicalForm, theTextNullIsAMutableString) {
  EXPECT_EQ(slotsOf("$null"),
            "$null {NS.string:=$null $class:@2} {$classname:NSMutableString $classes:[=NSMutableString NSString NSObject]}");
}

TEST(CanonicalForm, everyPlatformClassHasItsKeys) {
  EXPECT_EQ(slotsOf(platform::Null()), "$null {$class:@2} {$classname:NSNull $classes:[=NSNull NSObject]}");
  EXPECT_EQ(slotsOf(platform::Set{{"a"}}).substr(0, 40), "$null {NS.objects:[@2] $class:@3} a {$cl");
  platform::Dictionary dictionary;
  dictionary.add("k", "v");
  EXPECT_EQ(slotsOf(dictionary).substr(0, 60), "$null {NS.keys:[@2] NS.objects:[@3] $class:@4} k v {$classna");
  EXPECT_EQ(slotsOf(platform::Date{1}).substr(0, 32), "$null {NS.time:real $class:@2} {");
  EXPECT_EQ(slotsOf(platform::UUID()).substr(0, 37), "$null {NS.uuidbytes:data $class:@2} {");
  EXPECT_EQ(slotsOf(platform::URL::URLWithString("b", platform::URL::URLWithString("file:///a/"))).substr(0, 109),
            "$null {NS.base:@2 NS.relative:@5 $class:@4} {=NS.base:@0 =NS.relative:@3 =$class:@4} file:///a/ {$classname:N");
  EXPECT_EQ(slotsOf(platform::Error{"D", -1, {}}).substr(0, 62), "$null {NSCode:-1 NSDomain:@2 NSUserInfo:@0 $class:@3} D {$clas");
}

TEST(CanonicalForm, indexPathsOfNoneOneAndMoreLevels) {
  EXPECT_EQ(slotsOf(platform::IndexPath{}).substr(0, 40), "$null {NSIndexPathLength:0 $class:@2} {$");
  EXPECT_EQ(slotsOf(platform::IndexPath{{~std::uint64_t{0}}}).substr(0, 60),
            "$null {NSIndexPathLength:1 NSIndexPathValue:-1 $class:@2} {$");
  EXPECT_EQ(slotsOf(platform::IndexPath{{1, 2}}),
            "$null {NSIndexPathLength:2 NSIndexPathData:@2 $class:@4} {NS.data:data =$class:@3} "
            "{$classname:NSMutableData $classes:[=NSMutableData NSData NSObject]} {=$classname:NSIndexPath =$classes:[=NSIndexPath "
            "=NSObject]}");
}

// The bytes of one scalar as it is written: the last object of an archive that holds it alone.
Data scalarBytes(const Object& object) {
  const Data bytes = archiveOf(object);
  const std::size_t table = bytes[bytes.size() - 1] | bytes[bytes.size() - 2] << 8;
  const std::size_t count = bytes[bytes.size() - 17];
  const std::size_t start = bytes[table + count - 1];
  return Data(bytes.begin() + static_cast<std::ptrdiff_t>(start), bytes.begin() + static_cast<std::ptrdiff_t>(table));
}

TEST(CanonicalForm, integersHaveTheirSmallestWidth) {
  EXPECT_EQ(scalarBytes(Integer::ofUnsigned(42)), bytesOf({0x10, 0x2a}));
  EXPECT_EQ(scalarBytes(Integer::ofUnsigned(300)), bytesOf({0x11, 1, 0x2c}));
  EXPECT_EQ(scalarBytes(Integer::ofUnsigned(65536)), bytesOf({0x12, 0, 1, 0, 0}));
  EXPECT_EQ(scalarBytes(Integer::ofUnsigned(std::uint64_t{1} << 32)), bytesOf({0x13, 0, 0, 0, 1, 0, 0, 0, 0}));
  EXPECT_EQ(scalarBytes(Integer::ofSigned(-2)), bytesOf({0x13, 255, 255, 255, 255, 255, 255, 255, 254}));
  EXPECT_EQ(scalarBytes(Integer::ofUnsigned(~std::uint64_t{0})),
            bytesOf({0x14, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 255}));
}

TEST(CanonicalForm, stringsAreASCIIOrSixteenBitUnits) {
  EXPECT_EQ(scalarBytes("hi"), bytesOf({0x52, 'h', 'i'}));
  EXPECT_EQ(scalarBytes("\u00e9\u65e5\u672c"), bytesOf({0x63, 0, 0xe9, 0x65, 0xe5, 0x67, 0x2c}));
  EXPECT_EQ(scalarBytes("\U0001f600"), bytesOf({0x62, 0xd8, 0x3d, 0xde, 0}));
  EXPECT_EQ(scalarBytes("\xed\xa0\x80"), bytesOf({0x61, 0xd8, 0}));
  EXPECT_EQ(scalarBytes("fifteen letters"), [] {
    Data bytes = bytesOf({0x5f, 0x10, 15});
    for (const char c : std::string_view("fifteen letters")) bytes.push_back(static_cast<std::uint8_t>(c));
    return bytes;
  }());
  EXPECT_EQ(scalarBytes(""), bytesOf({0x50}));
}

TEST(CanonicalForm, offsetsAndReferencesHaveTheirSmallestWidth) {
  const auto sizes = [](const Data& bytes) { return std::pair<int, int>(bytes[bytes.size() - 26], bytes[bytes.size() - 25]); };
  EXPECT_EQ(sizes(archiveOf("x")), std::pair(1, 1));
  EXPECT_EQ(sizes(archiveOf(Data(200))), std::pair(2, 1));
  EXPECT_EQ(sizes(archiveOf(Data(70000))), std::pair(4, 1));
  Array many;
  for (std::uint64_t i = 0; i < 200; ++i) many.push_back(Integer::ofUnsigned(i + 1000));
  EXPECT_EQ(sizes(archiveOf(many)), std::pair(2, 2));
}

TEST(Archiver, nilInACollectionCannotBeWritten) {
  EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(Array{Object()}));
  platform::Dictionary dictionary;
  dictionary.add("k", Object());
  EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(dictionary));
}

TEST(Archiver, bytesThatAreNoTextCannotBeWritten) {
  for (const char* text : {"\xff", "\xc3", "\x80", "\xc0\x80", "\xf5\x80\x80\x80", "\xe0\x80\x80"}) {
    EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(text)) << text;
  }
}

TEST(Archiver, aClassThatGivesUpGivesTheArchiveUp) {
  EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(Array{Object(std::make_shared<GivesUp>())}));
}

TEST(Archiver, writesExactlyAsDeepAsIsRead) {
  Object inner("x");
  for (unsigned i = 0; i < platform::maximumObjectDepth; ++i) inner = Object(Array{std::move(inner)});
  const auto bytes = KeyedArchiver::archivedDataWithRootObject(inner);
  ASSERT_TRUE(bytes);
  EXPECT_FALSE(KeyedUnarchiver::unarchiveObjectWithData(*bytes, {}).isNil());
  EXPECT_FALSE(KeyedArchiver::archivedDataWithRootObject(Array{std::move(inner)}));
}

}  // namespace
