// What an archive may hold and in which forms; each rule broken once.
#include "platform/codec/KeyedUnarchiver.h"

#include <gtest/gtest.h>

#include <bit>
#include <string>

#include "platform/codec/PackedIndexes.h"
#include "tests/platform/codec/ArchiveBytes.h"
#include "tests/platform/codec/DecodedRecord.h"

namespace {

using platform::Data;
using platform::KeyedUnarchiver;
using platform::Object;

// The text "x" in an archive that the test has changed before.
std::optional<Object> plainText(ArchiveBytes& archive) { return decoded(archive, archive.slot(archive.text("x"))); }

TEST(KeyedArchive, thePlainestOneDecodes) {
  ArchiveBytes archive;
  EXPECT_TRUE(isText(plainText(archive), "x"));
}

TEST(KeyedArchive, theTopObjectMustBeADictionary) {
  ListBytes list;
  list.array({});
  EXPECT_FALSE(decoded(list.bytes()));
}

TEST(KeyedArchive, theVersionIsRequiredAndIsOneHundredThousand) {
  ArchiveBytes missing;
  missing.hasVersion = false;
  EXPECT_FALSE(plainText(missing));
  ArchiveBytes other;
  other.version = other.integer(100001);
  EXPECT_FALSE(plainText(other));
  ArchiveBytes text;
  text.version = text.text("100000");
  EXPECT_FALSE(plainText(text));
  ArchiveBytes real;
  real.version = real.real(100000);
  EXPECT_FALSE(plainText(real));
}

TEST(KeyedArchive, theVersionMayBeOfAnyWidth) {
  for (const unsigned size : {4u, 8u, 16u}) {
    ArchiveBytes archive;
    archive.version = archive.integer(100000, size);
    EXPECT_TRUE(isText(plainText(archive), "x")) << size;
  }
}

TEST(KeyedArchive, theObjectsAreRequiredAndAreAnArray) {
  ArchiveBytes missing;
  missing.hasObjects = false;
  EXPECT_FALSE(plainText(missing));
  ArchiveBytes dictionary;
  dictionary.objects = dictionary.dictionary({});
  EXPECT_FALSE(plainText(dictionary));
}

TEST(KeyedArchive, theTopDictionaryIsRequired) {
  ArchiveBytes missing;
  missing.hasTop = false;
  EXPECT_FALSE(plainText(missing));
  ArchiveBytes array;
  array.top_ = array.array({});
  EXPECT_FALSE(plainText(array));
}

TEST(KeyedArchive, withoutARootItDecodesToNil) {
  ArchiveBytes archive;
  const auto object = decoded(archive.archive(std::nullopt));
  ASSERT_TRUE(object);
  EXPECT_TRUE(object->isNil());
}

TEST(KeyedArchive, otherKeysBesideTheRootAreIgnored) {
  ArchiveBytes archive;
  const auto uid = archive.slot(archive.text("x"));
  archive.top_ = archive.dictionary({{archive.text("$0"), archive.uid(77)}, {archive.text("root"), archive.uid(uid)}});
  EXPECT_TRUE(isText(decoded(archive, uid), "x"));
}

TEST(KeyedArchive, aRootThatIsNoReferenceIsNil) {
  ArchiveBytes archive;
  archive.top_ = archive.dictionary({{archive.text("root"), archive.integer(1)}});
  const auto object = plainText(archive);
  ASSERT_TRUE(object);
  EXPECT_TRUE(object->isNil());
}

TEST(KeyedArchive, referenceZeroIsNil) {
  ArchiveBytes archive;
  const auto object = decoded(archive, 0);
  ASSERT_TRUE(object);
  EXPECT_TRUE(object->isNil());
}

TEST(KeyedArchive, aReferencePastTheEndIsRefused) {
  ArchiveBytes archive;
  EXPECT_FALSE(decoded(archive, 1));
  ArchiveBytes far;
  EXPECT_FALSE(decoded(far, 0xffffffff));
}

TEST(KeyedArchive, anElementOfTheObjectsThatIsNoObjectIsRefused) {
  ArchiveBytes archive;
  archive.objects = archive.array({0, 200});
  EXPECT_FALSE(plainText(archive));
}

TEST(KeyedArchive, objectsMayStandInAnyOrderWithPaddingBetween) {
  ArchiveBytes archive;
  archive.isReversed = true;
  archive.fill = 3;
  const auto array = archive.collection("NSArray", {archive.slot(archive.text("x")), archive.slot(archive.integer(7))});
  archive.text("nobody refers to this");
  const auto object = decoded(archive, array);
  ASSERT_TRUE(object && object->get<platform::Array>());
  EXPECT_TRUE(isText(object->get<platform::Array>()->at(0), "x"));
}

TEST(KeyedArchive, olderAndOtherFormsAreRefused) {
  EXPECT_FALSE(decoded(bytesOf("\x04\x0bstreamtyped\x81\xe8\x03")));
  EXPECT_FALSE(decoded(bytesOf("<?xml version=\"1.0\"?><plist version=\"1.0\"><dict/></plist>")));
  EXPECT_FALSE(decoded(Data()));
  EXPECT_TRUE(KeyedUnarchiver::unarchiveObjectWithData(Data(), classes).isNil());
}

// Values that stand in the objects themselves.

TEST(KeyedValues, stringsInBothForms) {
  ArchiveBytes archive;
  EXPECT_TRUE(isText(decoded(archive, archive.slot(archive.wideText(u"\u00e9\U0001f600"))), "\u00e9\U0001f600"));
  ArchiveBytes plain;
  EXPECT_TRUE(isText(decoded(plain, plain.slot(plain.wideText(u"plain"))), "plain"));
}

TEST(KeyedValues, aLoneSurrogateIsKept) {
  ArchiveBytes archive;
  const char16_t units[] = {0xd800, u'a', 0xdc00, 0xd83d};
  EXPECT_TRUE(isText(decoded(archive, archive.slot(archive.wideText({units, 4}))),
                     "\xed\xa0\x80"
                     "a\xed\xb0\x80\xed\xa0\xbd"));
}

TEST(KeyedValues, bytesAbove127InAnASCIIStringAreRefused) {
  ArchiveBytes archive;
  EXPECT_FALSE(decoded(archive, archive.slot(archive.text("caf\xc3\xa9"))));
}

TEST(KeyedValues, theTextNullInAnotherSlotIsAText) {
  ArchiveBytes archive;
  EXPECT_TRUE(isText(decoded(archive, archive.slot(archive.text("$null"))), "$null"));
}

TEST(KeyedValues, integersKeepTheirSignAndTheirLastBit) {
  const std::pair<unsigned, std::uint64_t> cases[] = {
      {1, 0}, {1, 255}, {4, 0xffffffff}, {8, ~std::uint64_t{4}}, {16, 3}, {16, ~std::uint64_t{0}}, {16, std::uint64_t{1} << 63}};
  for (const auto& [size, value] : cases) {
    ArchiveBytes archive;
    const auto object = decoded(archive, archive.slot(archive.integer(value, size)));
    ASSERT_TRUE(object && object->get<platform::Integer>());
    EXPECT_EQ(object->get<platform::Integer>()->bits, value);
    EXPECT_EQ(object->get<platform::Integer>()->isNegative, size == 8 && value >> 63 != 0);
  }
}

TEST(KeyedValues, realsBooleansDataAndDates) {
  ArchiveBytes reals;
  EXPECT_EQ(*decoded(reals, reals.slot(reals.real(-0.5)))->get<double>(), -0.5);
  ArchiveBytes booleans;
  EXPECT_EQ(*decoded(booleans, booleans.slot(booleans.boolean(true)))->get<bool>(), true);
  ArchiveBytes data;
  EXPECT_EQ(*decoded(data, data.slot(data.data(bytesOf({1, 0, 255}))))->get<Data>(), bytesOf({1, 0, 255}));
  ArchiveBytes dates;
  const auto date = decoded(dates, dates.slot(dates.raw(bytesOf({0x33, 0x40, 0, 0, 0, 0, 0, 0, 0}))));
  EXPECT_EQ(date->get<platform::Date>()->secondsSinceReferenceDate, 2.0);
}

TEST(KeyedValues, containersAndReferencesAreNoObjects) {
  ArchiveBytes arrays;
  EXPECT_FALSE(decoded(arrays, arrays.slot(arrays.array({}))));
  ArchiveBytes references;
  EXPECT_FALSE(decoded(references, references.slot(references.uid(1))));
  ArchiveBytes nulls;
  EXPECT_FALSE(decoded(nulls, nulls.slot(nulls.raw(bytesOf({0x00})))));
  ArchiveBytes sets;
  EXPECT_FALSE(decoded(sets, sets.slot(sets.raw(bytesOf({0xc0})))));
}

// Class records.

TEST(ClassRecords, anObjectWithoutClassOrWithABadOneIsRefused) {
  ArchiveBytes none;
  EXPECT_FALSE(decoded(none, none.slot(none.object({}))));
  ArchiveBytes nil;
  EXPECT_FALSE(decoded(nil, nil.slot(nil.object({{"$class", nil.uid(0)}}))));
  ArchiveBytes text;
  const auto name = text.slot(text.text("NSNull"));
  EXPECT_FALSE(decoded(text, text.slot(text.object({{"$class", text.uid(name)}}))));
  ArchiveBytes inline_;
  EXPECT_FALSE(decoded(inline_, inline_.slot(inline_.object({{"$class", inline_.text("NSNull")}}))));
  ArchiveBytes nameless;
  const auto record = nameless.slot(nameless.object({{"$classes", nameless.array({})}}));
  EXPECT_FALSE(decoded(nameless, nameless.slot(nameless.object({{"$class", nameless.uid(record)}}))));
  ArchiveBytes number;
  const auto numbered = number.slot(number.object({{"$classname", number.integer(1)}}));
  EXPECT_FALSE(decoded(number, number.slot(number.object({{"$class", number.uid(numbered)}}))));
}

TEST(ClassRecords, onlyTheNameDecidesAndTheClassesDoNotHelp) {
  ArchiveBytes archive;
  const auto record = archive.slot(archive.object(
      {{"$classname", archive.text("MyArray")}, {"$classes", archive.array({archive.text("MyArray"), archive.text("NSArray")})}}));
  EXPECT_FALSE(decoded(archive, archive.slot(archive.object({{"$class", archive.uid(record)}}))));
  ArchiveBytes bare;
  const auto name = bare.slot(bare.object({{"$classname", bare.text("NSNull")}}));
  EXPECT_TRUE(decoded(bare, bare.slot(bare.object({{"$class", bare.uid(name)}}))));
}

TEST(ClassRecords, hintsAreTriedForAnUnknownName) {
  ArchiveBytes archive;
  const auto record = archive.classRecord("Unheard", {"AlsoUnheard", "NSNull"});
  EXPECT_TRUE(decoded(archive, archive.slot(archive.object({{"$class", archive.uid(record)}})))->get<platform::Null>());
  ArchiveBytes hopeless;
  const auto other = hopeless.classRecord("Unheard", {"AlsoUnheard"});
  EXPECT_FALSE(decoded(hopeless, hopeless.slot(hopeless.object({{"$class", hopeless.uid(other)}}))));
}

TEST(ClassRecords, hintsDoNotOverruleAKnownName) {
  ArchiveBytes archive;
  const auto record = archive.classRecord("NSNull", {"Record"});
  EXPECT_TRUE(decoded(archive, archive.slot(archive.object({{"$class", archive.uid(record)}})))->get<platform::Null>());
}

TEST(ClassRecords, anUnknownClassAnywhereRefusesTheArchive) {
  ArchiveBytes archive;
  const auto inner = archive.instance("Unheard", {});
  EXPECT_FALSE(decoded(archive, archive.collection("NSArray", {inner})));
}

// The platform's classes.

TEST(ArchivedClass, stringsAsObjects) {
  for (const char* name : {"NSString", "NSMutableString"}) {
    ArchiveBytes archive;
    EXPECT_TRUE(isText(decoded(archive, archive.instance(name, {{"NS.string", archive.text("$null")}})), "$null"));
    ArchiveBytes bytes;
    EXPECT_TRUE(isText(decoded(bytes, bytes.instance(name, {{"NS.bytes", bytes.data(bytesOf("caf\u00e9"))}})), "caf\u00e9"));
    ArchiveBytes broken;
    EXPECT_FALSE(decoded(broken, broken.instance(name, {{"NS.bytes", broken.data(bytesOf("\xff"))}})));
    ArchiveBytes empty;
    EXPECT_FALSE(decoded(empty, empty.instance(name, {})));
    ArchiveBytes wrong;
    EXPECT_FALSE(decoded(wrong, wrong.instance(name, {{"NS.string", wrong.integer(1)}})));
  }
}

TEST(ArchivedClass, dataAsObjects) {
  for (const char* name : {"NSData", "NSMutableData"}) {
    for (const char* key : {"NS.data", "NS.bytes"}) {
      ArchiveBytes archive;
      EXPECT_EQ(*decoded(archive, archive.instance(name, {{key, archive.data(bytesOf({7}))}}))->get<Data>(), bytesOf({7}));
      ArchiveBytes wrong;
      EXPECT_FALSE(decoded(wrong, wrong.instance(name, {{key, wrong.text("7")}})));
    }
  }
}

TEST(ArchivedClass, arraysAndSetsWithTheirElementsInOrder) {
  for (const char* name : {"NSArray", "NSMutableArray"}) {
    ArchiveBytes archive;
    const auto object =
        decoded(archive, archive.collection(name, {archive.slot(archive.text("a")), archive.slot(archive.text("b"))}));
    ASSERT_TRUE(object && object->get<platform::Array>());
    EXPECT_TRUE(isText(object->get<platform::Array>()->at(1), "b"));
  }
  for (const char* name : {"NSSet", "NSMutableSet"}) {
    ArchiveBytes archive;
    const auto object = decoded(archive, archive.collection(name, {archive.slot(archive.text("a"))}));
    ASSERT_TRUE(object && object->get<platform::Set>());
    EXPECT_EQ(object->get<platform::Set>()->members.size(), 1u);
  }
}

TEST(ArchivedClass, theOlderNumberedElements) {
  ArchiveBytes archive;
  ArchiveBytes::Fields fields;
  std::vector<std::string> keys;
  for (int i = 11; i >= 0; --i) keys.push_back("NS.object." + std::to_string(i));
  for (const auto& key : keys) fields.emplace_back(key, archive.uid(archive.slot(archive.text(key))));
  const auto object = decoded(archive, archive.instance("NSArray", fields));
  ASSERT_TRUE(object && object->get<platform::Array>());
  ASSERT_EQ(object->get<platform::Array>()->size(), 12u);
  EXPECT_TRUE(isText(object->get<platform::Array>()->at(10), "NS.object.10"));
}

TEST(ArchivedClass, numberedElementsEndAtTheFirstGap) {
  ArchiveBytes archive;
  const auto x = archive.slot(archive.text("x"));
  const auto object =
      decoded(archive, archive.instance("NSSet", {{"NS.object.0", archive.uid(x)}, {"NS.object.2", archive.uid(x)}}));
  ASSERT_TRUE(object && object->get<platform::Set>());
  EXPECT_EQ(object->get<platform::Set>()->members.size(), 1u);
}

TEST(ArchivedClass, aCollectionWithoutElementsIsEmpty) {
  ArchiveBytes archive;
  EXPECT_TRUE(decoded(archive, archive.instance("NSArray", {}))->get<platform::Array>()->empty());
}

TEST(ArchivedClass, nilOrAnythingButAReferenceIsNoElement) {
  ArchiveBytes nil;
  EXPECT_FALSE(decoded(nil, nil.collection("NSArray", {0})));
  ArchiveBytes text;
  EXPECT_FALSE(decoded(text, text.instance("NSArray", {{"NS.objects", text.array({text.text("x")})}})));
  ArchiveBytes notArray;
  EXPECT_FALSE(decoded(notArray, notArray.instance("NSArray", {{"NS.objects", notArray.text("x")}})));
  ArchiveBytes key;
  const auto x = key.slot(key.text("x"));
  EXPECT_FALSE(decoded(key, key.instance("NSDictionary", {{"NS.keys", key.uids({0})}, {"NS.objects", key.uids({x})}})));
}

TEST(ArchivedClass, dictionariesHaveAsManyKeysAsValues) {
  for (const char* name : {"NSDictionary", "NSMutableDictionary"}) {
    ArchiveBytes archive;
    const auto one = archive.slot(archive.text("1")), x = archive.slot(archive.text("x"));
    const auto object =
        decoded(archive, archive.instance(name, {{"NS.keys", archive.uids({one})}, {"NS.objects", archive.uids({x})}}));
    ASSERT_TRUE(object && object->get<platform::Dictionary>());
    EXPECT_TRUE(isText(*object->get<platform::Dictionary>()->objectForKey("1"), "x"));
    ArchiveBytes uneven;
    const auto a = uneven.slot(uneven.text("a"));
    EXPECT_FALSE(decoded(uneven, uneven.instance(name, {{"NS.keys", uneven.uids({a, a})}, {"NS.objects", uneven.uids({a})}})));
    ArchiveBytes half;
    EXPECT_FALSE(decoded(half, half.instance(name, {{"NS.keys", half.uids({})}})));
    ArchiveBytes empty;
    EXPECT_TRUE(decoded(empty, empty.instance(name, {}))->get<platform::Dictionary>()->entries.empty());
  }
}

TEST(ArchivedClass, nullDateAndUUID) {
  ArchiveBytes null;
  EXPECT_TRUE(decoded(null, null.instance("NSNull", {}))->get<platform::Null>());
  ArchiveBytes date;
  EXPECT_EQ(decoded(date, date.instance("NSDate", {{"NS.time", date.real(1.5)}}))->get<platform::Date>()->secondsSinceReferenceDate,
            1.5);
  ArchiveBytes wrong;
  EXPECT_FALSE(decoded(wrong, wrong.instance("NSDate", {{"NS.time", wrong.text("1.5")}})));
  for (const std::size_t size : {15, 16, 17}) {
    ArchiveBytes uuid;
    EXPECT_EQ(decoded(uuid, uuid.instance("NSUUID", {{"NS.uuidbytes", uuid.data(Data(size, 9))}})).has_value(), size == 16);
  }
}

TEST(ArchivedClass, urlsHaveATextAndPerhapsABase) {
  ArchiveBytes archive;
  const auto base = archive.instance(
      "NSURL", {{"NS.base", archive.uid(0)}, {"NS.relative", archive.uid(archive.slot(archive.text("file:///a/")))}});
  const auto bookmark = archive.slot(archive.data(bytesOf("bookmark")));
  const auto url = decoded(archive, archive.instance("NSURL", {{"NS.base", archive.uid(base)},
                                                               {"NS.relative", archive.uid(archive.slot(archive.text("b")))},
                                                               {"NS.minimalBookmarkData", archive.uid(bookmark)}}));
  ASSERT_TRUE(url && url->get<platform::URL>());
  EXPECT_EQ(url->get<platform::URL>()->relativeString(), "b");
  EXPECT_EQ(url->get<platform::URL>()->absoluteString(), "file:///a/b");
  ArchiveBytes textless;
  EXPECT_FALSE(decoded(textless, textless.instance("NSURL", {{"NS.base", textless.uid(0)}})));
  ArchiveBytes wrong;
  const auto text = wrong.slot(wrong.text("x"));
  EXPECT_FALSE(decoded(wrong, wrong.instance("NSURL", {{"NS.base", wrong.uid(text)}, {"NS.relative", wrong.uid(text)}})));
}

TEST(ArchivedClass, errorsWithAndWithoutInformation) {
  ArchiveBytes archive;
  const auto domain = archive.slot(archive.text("D"));
  auto error = decoded(archive, archive.instance("NSError", {{"NSCode", archive.integer(~std::uint64_t{6}, 8)},
                                                             {"NSDomain", archive.uid(domain)},
                                                             {"NSUserInfo", archive.uid(0)}}));
  ASSERT_TRUE(error && error->get<platform::Error>());
  EXPECT_EQ(error->get<platform::Error>()->code, -7);
  EXPECT_EQ(error->get<platform::Error>()->domain, "D");
  ArchiveBytes informed;
  const auto key = informed.slot(informed.text("k"));
  const auto info = informed.instance("NSDictionary", {{"NS.keys", informed.uids({key})}, {"NS.objects", informed.uids({key})}});
  error = decoded(informed, informed.instance("NSError", {{"NSDomain", informed.uid(key)}, {"NSUserInfo", informed.uid(info)}}));
  ASSERT_TRUE(error && error->get<platform::Error>());
  EXPECT_EQ(*error->get<platform::Error>()->textForKey("k"), "k");
  EXPECT_EQ(error->get<platform::Error>()->code, 0);
  ArchiveBytes real;
  EXPECT_FALSE(
      decoded(real, real.instance("NSError", {{"NSCode", real.real(1)}, {"NSDomain", real.uid(real.slot(real.text("D")))}})));
  ArchiveBytes noDomain;
  EXPECT_FALSE(decoded(noDomain, noDomain.instance("NSError", {{"NSCode", noDomain.integer(1)}})));
}

std::optional<Object> indexPath(std::uint64_t length, const Data& packed) {
  ArchiveBytes archive;
  const auto data = archive.instance("NSMutableData", {{"NS.data", archive.data(packed)}});
  return decoded(archive, archive.instance("NSIndexPath", {{"NSIndexPathLength", archive.integer(length, 8)},
                                                           {"NSIndexPathData", archive.uid(data)}}));
}

std::vector<std::uint64_t> indexesOf(const std::optional<Object>& object) {
  const auto* path = object ? object->get<platform::IndexPath>() : nullptr;
  EXPECT_TRUE(path);
  return path ? path->indexes : std::vector<std::uint64_t>();
}

TEST(ArchivedClass, indexPathsOfNoneOneAndMoreLevels) {
  ArchiveBytes none;
  EXPECT_TRUE(indexesOf(decoded(none, none.instance("NSIndexPath", {{"NSIndexPathLength", none.integer(0)}}))).empty());
  ArchiveBytes one;
  EXPECT_EQ(indexesOf(decoded(one, one.instance("NSIndexPath", {{"NSIndexPathLength", one.integer(1)},
                                                                {"NSIndexPathValue", one.integer(~std::uint64_t{0}, 8)}}))),
            std::vector{~std::uint64_t{0}});
  EXPECT_EQ(indexesOf(indexPath(6, bytesOf({4, 8, 0x0f, 0x10, 0x17, 0x2a}))), (std::vector<std::uint64_t>{4, 8, 15, 16, 23, 42}));
  EXPECT_EQ(indexesOf(indexPath(3, bytesOf({1, 0xac, 2, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 1}))),
            (std::vector<std::uint64_t>{1, 300, ~std::uint64_t{0}}));
}

TEST(ArchivedClass, indexPathsThatDoNotAddUpAreRefused) {
  EXPECT_FALSE(indexPath(2, bytesOf({1})));
  EXPECT_FALSE(indexPath(2, bytesOf({1, 2, 3})));
  EXPECT_FALSE(indexPath(2, bytesOf({1, 0x80})));
  EXPECT_FALSE(indexPath(2, bytesOf({1, 2, 0x80})));
  EXPECT_FALSE(indexPath(2, bytesOf({1, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 2})));
  EXPECT_FALSE(indexPath(2, bytesOf({1, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 0x80, 1})));
  EXPECT_FALSE(indexPath(std::uint64_t{1} << 61, bytesOf({1, 2})));
  EXPECT_FALSE(indexPath(~std::uint64_t{0}, bytesOf({1, 2})));
  ArchiveBytes missing;
  EXPECT_FALSE(decoded(missing, missing.instance("NSIndexPath", {{"NSIndexPathLength", missing.integer(2)}})));
}

TEST(ArchivedClass, packedIndexesAreLittleEndianGroupsOfSevenBits) {
  EXPECT_EQ(platform::packedIndexes({1, 300, ~std::uint64_t{0}}),
            bytesOf({1, 0xac, 2, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 1}));
  EXPECT_EQ(platform::packedIndexes({0, 127, 128}), bytesOf({0, 127, 0x80, 1}));
}

}  // namespace
