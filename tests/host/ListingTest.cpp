#include "host/Listing.h"

#include <gtest/gtest.h>

namespace {

using State = ListingParser::State;

std::string frame(ListingFrame kind, std::uint64_t size, std::string_view text) {
  std::string bytes;
  appendListingFrame(bytes, kind, size, text);
  return bytes;
}

TEST(Listing, entriesComeBackInOrderWithTheirFacts) {
  Listing listing;
  listing.append("folder", true, 0);
  listing.append(std::string(70, 'x'), false, std::uint64_t{1} << 63);
  ASSERT_EQ(listing.count(), 2u);
  EXPECT_EQ(listing.entry(0).path, "folder");
  EXPECT_TRUE(listing.entry(0).isFolder);
  EXPECT_EQ(listing.entry(1).path, std::string(70, 'x'));
  EXPECT_EQ(listing.entry(1).size, std::uint64_t{1} << 63);
  EXPECT_EQ(listing.pathBytes(), 76u);
}

TEST(ListingParser, framesThatArriveByteByByteMakeTheSameListing) {
  const std::string bytes = frame(ListingFrame::folder, 0, "a") + frame(ListingFrame::file, 0x0102030405060708, "a/b") +
                            frame(ListingFrame::partial, 7, "it is damaged");
  ListingParser parser(ListingBounds{});
  for (std::size_t i = 0; i + 1 < bytes.size(); ++i) ASSERT_EQ(parser.take(bytes.substr(i, 1)), State::unfinished);
  ASSERT_EQ(parser.take(bytes.substr(bytes.size() - 1)), State::finished);
  const auto listing = parser.takeResult();
  ASSERT_TRUE(listing);
  ASSERT_EQ(listing->count(), 2u);
  EXPECT_EQ(listing->entry(1).path, "a/b");
  EXPECT_EQ(listing->entry(1).size, 0x0102030405060708u);
  EXPECT_EQ(listing->shortfall, "it is damaged");
  EXPECT_EQ(listing->leftOut, 7u);
}

TEST(ListingParser, anEmptyListingIsAnArchiveAndNoArchiveIsNone) {
  ListingParser whole(ListingBounds{});
  EXPECT_EQ(whole.take(frame(ListingFrame::whole, 0, "")), State::finished);
  const auto listing = whole.takeResult();
  ASSERT_TRUE(listing);
  EXPECT_EQ(listing->count(), 0u);
  EXPECT_EQ(listing->shortfall, "");
  ListingParser none(ListingBounds{});
  EXPECT_EQ(none.take(frame(ListingFrame::noArchive, 0, "")), State::finished);
  EXPECT_FALSE(none.takeResult());
}

TEST(ListingParser, aFrameOfUnknownKindIsRefusedForGood) {
  ListingParser parser(ListingBounds{});
  EXPECT_EQ(parser.take(frame(static_cast<ListingFrame>('X'), 0, "")), State::refused);
  EXPECT_EQ(parser.take(frame(ListingFrame::whole, 0, "")), State::refused);
  EXPECT_FALSE(parser.takeResult());
}

TEST(ListingParser, aLengthBeyondTheLongestPathIsRefusedBeforeItsBytesCome) {
  std::string head = frame(ListingFrame::file, 0, "");
  head[11] = 1;  // the length's third byte: 65,536
  ListingParser parser(ListingBounds{});
  EXPECT_EQ(parser.take(head), State::refused);
}

TEST(ListingParser, anEntryBeyondTheBoundsIsRefused) {
  ListingParser entries(ListingBounds{.entries = 1, .pathBytes = 100});
  EXPECT_EQ(entries.take(frame(ListingFrame::file, 0, "a")), State::unfinished);
  EXPECT_EQ(entries.take(frame(ListingFrame::file, 0, "b")), State::refused);
  ListingParser bytes(ListingBounds{.entries = 9, .pathBytes = 3});
  EXPECT_EQ(bytes.take(frame(ListingFrame::file, 0, "ab")), State::unfinished);
  EXPECT_EQ(bytes.take(frame(ListingFrame::file, 0, "cd")), State::refused);
}

TEST(ListingParser, bytesAfterTheEndAreRefused) {
  ListingParser atOnce(ListingBounds{});
  EXPECT_EQ(atOnce.take(frame(ListingFrame::whole, 0, "") + "x"), State::refused);
  ListingParser later(ListingBounds{});
  EXPECT_EQ(later.take(frame(ListingFrame::whole, 0, "")), State::finished);
  EXPECT_EQ(later.take("x"), State::refused);
}

}  // namespace
