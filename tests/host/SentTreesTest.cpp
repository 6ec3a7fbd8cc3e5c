#include "host/SentTrees.h"

#include <gtest/gtest.h>

#include "host/EntryTree.h"

namespace {

platform::FileIdentity identityOf(std::uint8_t byte) {
  return *platform::FileIdentity::withBytes(std::array<std::uint8_t, 1>{byte});
}

std::shared_ptr<const DTTreeNode> treeOf(int entries) {
  Listing listing;
  for (int i = 0; i < entries; ++i) listing.append(std::to_string(i), false, 0);
  return treeOfListing("a", listing).root;
}

TEST(SentTrees, aTreeIsFoundUnderItsFile) {
  SentTrees trees;
  const auto tree = treeOf(2);
  trees.remember(identityOf(1), tree);
  EXPECT_EQ(trees.treeOf(identityOf(1)), tree);
  EXPECT_EQ(trees.treeOf(identityOf(2)), nullptr);
}

TEST(SentTrees, aLaterTreeOfTheFileTakesTheEarliersPlace) {
  SentTrees trees;
  const auto later = treeOf(3);
  trees.remember(identityOf(1), treeOf(2));
  trees.remember(identityOf(1), later);
  EXPECT_EQ(trees.treeOf(identityOf(1)), later);
  EXPECT_EQ(trees.count(), 1u);
}

TEST(SentTrees, theTreeLongestUnusedIsForgottenFirst) {
  SentTrees trees(12);  // four trees of two entries and a root
  for (std::uint8_t i = 1; i <= 4; ++i) trees.remember(identityOf(i), treeOf(2));
  EXPECT_TRUE(trees.treeOf(identityOf(1)));
  trees.remember(identityOf(5), treeOf(2));
  EXPECT_TRUE(trees.treeOf(identityOf(1)));
  EXPECT_FALSE(trees.treeOf(identityOf(2)));
  EXPECT_EQ(trees.count(), 4u);
}

TEST(SentTrees, theNewestIsKeptWhateverItsSize) {
  SentTrees trees(12);
  trees.remember(identityOf(1), treeOf(2));
  trees.remember(identityOf(2), treeOf(100));
  EXPECT_TRUE(trees.treeOf(identityOf(2)));
  EXPECT_EQ(trees.count(), 1u);
}

}  // namespace
