// Instances of our own classes, and how much an archive may ask for.
#include <gtest/gtest.h>

#include "tests/platform/codec/DecodedRecord.h"

namespace {

using platform::Data;
using platform::Object;

// Classes of our own.

std::shared_ptr<const Record> record(ArchiveBytes& archive, const ArchiveBytes::Fields& fields) {
  const auto object = decoded(archive, archive.instance("Record", fields));
  return object ? object->instance<Record>() : nullptr;
}

TEST(OwnClass, missingKeysAreNilAndFalse) {
  ArchiveBytes archive;
  const auto made = record(archive, {});
  ASSERT_TRUE(made);
  EXPECT_TRUE(made->object.isNil());
  EXPECT_FALSE(made->flag);
  EXPECT_FALSE(made->hasFlag);
  EXPECT_FALSE(made->blobs);
}

TEST(OwnClass, aValueThatIsNoReferenceReadsAsNil) {
  ArchiveBytes archive;
  const auto made = record(archive, {{"object", archive.text("inline")}});
  ASSERT_TRUE(made);
  EXPECT_TRUE(made->object.isNil());
}

TEST(OwnClass, aBooleanIsABooleanAndNothingElse) {
  ArchiveBytes archive;
  EXPECT_TRUE(record(archive, {{"flag", archive.boolean(true)}})->flag);
  ArchiveBytes integer;
  EXPECT_FALSE(record(integer, {{"flag", integer.integer(1)}}));
  ArchiveBytes reference;
  EXPECT_FALSE(record(reference, {{"flag", reference.uid(reference.slot(reference.boolean(true)))}}));
}

TEST(OwnClass, dataOfAnArrayAreViewsAndOtherElementsEmptyOnes) {
  ArchiveBytes archive;
  const auto plain = archive.slot(archive.data(bytesOf("plain")));
  const auto text = archive.slot(archive.text("text"));
  const auto wrapped = archive.instance("NSMutableData", {{"NS.data", archive.data(bytesOf("wrapped"))}});
  const auto null = archive.instance("NSNull", {});
  const auto array = archive.collection("NSMutableArray", {plain, text, wrapped, null});
  const Data bytes = archive.archive(archive.instance("Record", {{"blobs", archive.uid(array)}}));
  const auto made = decoded(bytes)->instance<Record>();
  ASSERT_TRUE(made && made->blobs);
  ASSERT_EQ(made->blobs->size(), 4u);
  EXPECT_EQ(Data(made->blobs->at(0).begin(), made->blobs->at(0).end()), bytesOf("plain"));
  EXPECT_TRUE(made->blobs->at(1).empty());
  EXPECT_EQ(Data(made->blobs->at(2).begin(), made->blobs->at(2).end()), bytesOf("wrapped"));
  EXPECT_TRUE(made->blobs->at(3).empty());
  EXPECT_GE(made->blobs->at(0).data(), bytes.data());
  EXPECT_LT(made->blobs->at(0).data(), bytes.data() + bytes.size());
}

TEST(OwnClass, anythingButAnArrayIsNoArrayOfData) {
  ArchiveBytes archive;
  const auto set = archive.collection("NSSet", {});
  EXPECT_FALSE(record(archive, {{"blobs", archive.uid(set)}})->blobs);
  ArchiveBytes data;
  EXPECT_FALSE(record(data, {{"blobs", data.uid(data.slot(data.data(bytesOf("x"))))}})->blobs);
  ArchiveBytes empty;
  EXPECT_TRUE(record(empty, {{"blobs", empty.uid(empty.collection("NSArray", {}))}})->blobs->empty());
}

TEST(OwnClass, aClassThatGivesUpRefusesTheArchive) {
  ArchiveBytes archive;
  EXPECT_FALSE(decoded(archive, archive.collection("NSArray", {archive.instance("Refusing", {})})));
}

// Bounds.

TEST(Bounds, anObjectThatHoldsItselfIsRefused) {
  ArchiveBytes archive;
  EXPECT_FALSE(decoded(archive, archive.collection("NSArray", {1 + 1})));
  ArchiveBytes record_;
  const auto uid = record_.instance("Record", {{"object", record_.uid(2)}});
  ASSERT_EQ(uid, 2u);
  EXPECT_FALSE(decoded(record_, uid));
}

std::optional<Object> nestedArrays(unsigned levels) {
  ArchiveBytes archive;
  const auto record = archive.classRecord("NSArray");
  auto inner = archive.slot(archive.text("x"));
  for (unsigned i = 0; i < levels; ++i) {
    inner = archive.slot(archive.object({{"NS.objects", archive.uids({inner})}, {"$class", archive.uid(record)}}));
  }
  return decoded(archive, inner);
}

TEST(Bounds, objectsMayStandInsideOneAnotherToTheStatedDepth) {
  EXPECT_TRUE(nestedArrays(platform::maximumObjectDepth));
  EXPECT_FALSE(nestedArrays(platform::maximumObjectDepth + 1));
}

TEST(Bounds, threeHundredThousandObjectsDecode) {
  ArchiveBytes archive;
  std::vector<std::uint32_t> uids;
  for (std::uint64_t i = 0; i < 300000; ++i) uids.push_back(archive.slot(archive.integer(i)));
  const auto object = decoded(archive, archive.collection("NSArray", uids));
  ASSERT_TRUE(object && object->get<platform::Array>());
  EXPECT_EQ(object->get<platform::Array>()->size(), 300000u);
  EXPECT_EQ(object->get<platform::Array>()->back().get<platform::Integer>()->bits, 299999u);
}

TEST(Bounds, anObjectUsedInManyPlacesIsMadeInEachWhileTheAccountLasts) {
  ArchiveBytes archive;
  const auto shared = archive.slot(archive.data(Data(1000)));
  const auto few = decoded(archive, archive.collection("NSArray", std::vector<std::uint32_t>(100, shared)));
  ASSERT_TRUE(few && few->get<platform::Array>());
  EXPECT_EQ(few->get<platform::Array>()->at(99).get<Data>()->size(), 1000u);
  ArchiveBytes greedy;
  const auto megabyte = greedy.slot(greedy.data(Data(1 << 20)));
  EXPECT_FALSE(decoded(greedy, greedy.collection("NSArray", std::vector<std::uint32_t>(100000, megabyte))));
}

}  // namespace
