#include "host/EntryTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "archive/ArchivedClasses.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A trailing slash makes a folder; the size is the path's length.
Listing listingOf(const std::vector<std::string>& paths) {
  Listing listing;
  for (const std::string& path : paths) listing.append(path, path.ends_with('/'), path.size());
  return listing;
}

/// "number path" in the tree's order, a folder's path with a slash.
void appendLines(std::vector<std::string>& lines, const DTTreeNode& node, const std::string& above) {
  for (const DTTreeNode& child : node.childNodes()) {
    const DTArchiveEntry& entry = *child.representedObject();
    const std::string path = above + *entry.name() + (entry.isFolder() ? "/" : "");
    lines.push_back(std::to_string(entry.index()) + " " + path);
    appendLines(lines, child, path);
  }
}

std::vector<std::string> linesOf(const std::vector<std::string>& paths, const TreeBounds& bounds = {}) {
  std::vector<std::string> lines;
  appendLines(lines, *treeOfListing("a.zip", listingOf(paths), bounds).root, "");
  return lines;
}

TEST(EntryTree, theRootIsNamedLikeTheArchive) {
  const auto tree = treeOfListing("caf\xE9.zip", Listing()).root;
  EXPECT_EQ(tree->representedObject()->name(), "café.zip");
  EXPECT_EQ(tree->representedObject()->index(), 0u);
  EXPECT_THAT(tree->childNodes(), IsEmpty());
  EXPECT_EQ(nodeCount(*tree), 0u);
}

TEST(EntryTree, entriesKeepTheirOrderAndAreNumberedFromOne) {
  EXPECT_THAT(linesOf({"z", "b/", "b/y", "a", "b/x"}), ElementsAre("1 z", "2 b/", "3 b/y", "5 b/x", "4 a"));
}

TEST(EntryTree, foldersThatTheArchiveLeavesOutAreMadeAndNumberedWhereTheyAreNeeded) {
  EXPECT_THAT(linesOf({"a/b/c.txt", "d", "a/e"}), ElementsAre("1 a/", "2 a/b/", "3 a/b/c.txt", "5 a/e", "4 d"));
}

TEST(EntryTree, aFolderStandsOnceHoweverOftenItIsListed) {
  EXPECT_THAT(linesOf({"a/x", "a/", "b", "a/", "a/y"}), ElementsAre("1 a/", "2 a/x", "4 a/y", "3 b"));
}

TEST(EntryTree, filesOfOneNameStandAsOftenAsTheyAreListed) {
  EXPECT_THAT(linesOf({"a", "a", "b", "a"}), ElementsAre("1 a", "2 a", "3 b", "4 a"));
}

TEST(EntryTree, aFileAndAFolderOfOneNameStandSideBySide) {
  EXPECT_THAT(linesOf({"a", "a/b", "c/d", "c"}), ElementsAre("1 a", "2 a/", "3 a/b", "4 c/", "5 c/d", "6 c"));
}

TEST(EntryTree, emptyPartsAndDotsVanishFromPaths) {
  EXPECT_THAT(linesOf({"/etc/passwd", "./a", "a/./b//c", "x///"}),
              ElementsAre("1 etc/", "2 etc/passwd", "3 a", "4 a/", "5 a/b/", "6 a/b/c", "7 x/"));
}

TEST(EntryTree, aPathThatNamesNothingHasNoNodeAndNoNumber) { EXPECT_THAT(linesOf({"./", "/", "", ".", "a"}), ElementsAre("1 a")); }

TEST(EntryTree, twoDotsAreANameAndNeverLeadElsewhere) {
  EXPECT_THAT(linesOf({"a/../b", "../c", "b"}), ElementsAre("1 a/", "2 a/../", "3 a/../b", "4 ../", "5 ../c", "6 b"));
}

TEST(EntryTree, foldersWhoseNamesOnlyLookAlikeStayTwo) {
  EXPECT_THAT(linesOf({"caf\xE9/x", "café/y"}), ElementsAre("1 café/", "2 café/x", "3 café/", "4 café/y"));
}

TEST(EntryTree, sizesAreThoseOfFilesAlone) {
  const auto tree = treeOfListing("a", listingOf({"folder/", "file"})).root;
  EXPECT_EQ(tree->childNodes()[0].representedObject()->size(), 0u);
  EXPECT_EQ(tree->childNodes()[1].representedObject()->size(), 4u);
  EXPECT_EQ(tree->childNodes()[1].representedObject()->rsrcIndex(), 0u);
}

TEST(EntryTree, entriesDeeperThanTheBoundAreLeftOutWhole) {
  EXPECT_THAT(linesOf({"a/b/c", "d/e", "f/g/"}, {.nodes = 100, .depth = 2, .wireBytes = 100'000}),
              ElementsAre("1 d/", "2 d/e", "3 f/", "4 f/g/"));
}

TEST(EntryTree, entriesBeyondTheBoundOnNodesAreLeftOutWhole) {
  EXPECT_THAT(linesOf({"a", "b/c/d", "e"}, {.nodes = 3, .depth = 9, .wireBytes = 100'000}), ElementsAre("1 a", "2 e"));
}

TEST(EntryTree, entriesThatTheBoundsKeepOutAreCounted) {
  Listing listing = listingOf({"./", "a", "b/c/d", "e"});
  EXPECT_EQ(treeOfListing("a", listing).leftOut, 0u);
  EXPECT_EQ(treeOfListing("a", listing, {.nodes = 2, .depth = 9, .wireBytes = 100'000}).leftOut, 1u);
  EXPECT_EQ(treeOfListing("a", listing, {.nodes = 9, .depth = 2, .wireBytes = 100'000}).leftOut, 1u);
  EXPECT_EQ(treeOfListing("a", listing, {.nodes = 9, .depth = 9, .wireBytes = 1'500}).leftOut, 1u);
  listing.leftOut = 2;
  EXPECT_EQ(treeOfListing("a", listing, {.nodes = 2, .depth = 9, .wireBytes = 100'000}).leftOut, 3u);
}

TEST(EntryTree, theEstimateOfATreesArchiveIsNeverTooLow) {
  Listing listing;
  for (int i = 0; i < 20'000; ++i)
    listing.append("folder " + std::to_string(i % 700) + "/\xE6\x97\xA5\xE6\x9C\xAC " + std::to_string(i), false,
                   ~std::uint64_t{0});
  const std::size_t bytes = 4'000'000;
  const EntryTree tree = treeOfListing("a", listing, {.wireBytes = bytes});
  ASSERT_GT(tree.leftOut, 0u);
  const auto archive = platform::KeyedArchiver::archivedDataWithRootObject(platform::Object(tree.root));
  ASSERT_TRUE(archive);
  EXPECT_LE(archive->size(), bytes);
  EXPECT_GE(archive->size(), bytes / 2);
}

TEST(EntryTree, anIndexPathFindsItsEntry) {
  const auto tree = treeOfListing("top.zip", listingOf({"a/b/c.txt", "d", "a/e"})).root;
  const auto at = [&](std::vector<std::uint64_t> indexes) { return entryAtIndexPath(*tree, {std::move(indexes)}); };
  EXPECT_EQ(at({})->name, "top.zip");
  EXPECT_EQ(at({})->path, "");
  EXPECT_EQ(at({0, 0, 0})->name, "c.txt");
  EXPECT_EQ(at({0, 0, 0})->path, "a/b/c.txt");
  EXPECT_EQ(at({0, 1})->path, "a/e");
  EXPECT_EQ(at({1})->path, "d");
}

TEST(EntryTree, anIndexPathThatLeadsNowhereFindsNothing) {
  const auto tree = treeOfListing("a", listingOf({"a/b"})).root;
  EXPECT_FALSE(entryAtIndexPath(*tree, {{1}}));
  EXPECT_FALSE(entryAtIndexPath(*tree, {{0, 0, 0}}));
  EXPECT_FALSE(entryAtIndexPath(*tree, {{~std::uint64_t{0}}}));
}

TEST(EntryTree, eachNodeIsFoundByItsOwnIndexPathAfterTheWire) {
  std::vector<std::string> paths;
  for (int i = 0; i < 300; ++i)
    paths.push_back("f" + std::to_string(i % 7) + "/g" + std::to_string(i % 3) + "/" + std::to_string(i));
  const auto sent = treeOfListing("a", listingOf(paths)).root;
  const auto bytes = platform::KeyedArchiver::archivedDataWithRootObject(platform::Object(sent));
  ASSERT_TRUE(bytes);
  const auto received = platform::KeyedUnarchiver::unarchiveObjectWithData(*bytes, archivedClasses()).instance<DTTreeNode>();
  ASSERT_TRUE(received);
  EXPECT_EQ(nodeCount(*received), 300u + 7 + 21);
  for (const DTTreeNode& folder : received->childNodes())
    for (const DTTreeNode& inner : folder.childNodes())
      for (const DTTreeNode& leaf : inner.childNodes()) {
        const auto found = entryAtIndexPath(*sent, leaf.indexPath());
        ASSERT_TRUE(found);
        EXPECT_EQ(found->path, *folder.representedObject()->name() + "/" + *inner.representedObject()->name() + "/" +
                                   *leaf.representedObject()->name());
      }
}

/// Of this process alone, whatever else the machine does.
double processorTimeFor(std::size_t entries) {
  Listing listing;
  for (std::size_t i = 0; i < entries; ++i) listing.append("d" + std::to_string(i) + "/x", false, 1);
  const std::clock_t start = std::clock();
  const auto tree = treeOfListing("a", listing).root;
  EXPECT_EQ(nodeCount(*tree), 2 * entries);
  return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

TEST(EntryTree, fourTimesTheEntriesTakeNoSixteenfoldTime) {
  processorTimeFor(40'000);
  const double few = std::min({processorTimeFor(40'000), processorTimeFor(40'000), processorTimeFor(40'000)});
  const double many = std::min({processorTimeFor(160'000), processorTimeFor(160'000), processorTimeFor(160'000)});
  EXPECT_LT(many / few, 12.0);
}

}  // namespace
