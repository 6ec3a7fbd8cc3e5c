// What the examination of a host says of the trees that it is sent.
#include "console/Conformance.h"

#include <gtest/gtest.h>

namespace {

DTTreeNode node(const std::string& name, bool isFolder, std::uint64_t index, std::uint64_t size = 0) {
  return DTTreeNode(DTArchiveEntry(name, isFolder, index, size));
}

TEST(Conformance, aTreeIsALineOfNamesAndSizesWithFoldersInBrackets) {
  DTTreeNode root = node("a.tar", true, 0);
  root.appendChild(node("one", false, 1, 5));
  root.appendChild(node("folder", true, 2)).appendChild(node("two", false, 3));
  root.appendChild(node("empty", true, 4));
  EXPECT_EQ(lineOfTree(root), "a.tar[one:5 folder[two] empty[]]");
  EXPECT_EQ(lineOfTree(DTTreeNode()), "(no entry)");
}

TEST(Conformance, numbersThatAreDistinctAndNotZeroAreRight) {
  DTTreeNode root = node("a.tar", true, 0);
  root.appendChild(node("one", true, 7)).appendChild(node("two", false, 3));
  EXPECT_EQ(breachOfNumbers(root), std::nullopt);
}

TEST(Conformance, aNumberThatStandsTwiceAtAnyDepthIsTold) {
  DTTreeNode root = node("a.tar", true, 0);
  root.appendChild(node("one", true, 7)).appendChild(node("two", false, 8));
  root.appendChild(node("three", false, 8));
  EXPECT_EQ(breachOfNumbers(root), "two entries have the number 8");
}

TEST(Conformance, anEntryWithTheNumberOfTheRootIsTold) {
  DTTreeNode root = node("a.tar", true, 0);
  root.appendChild(node("one", false, 0));
  EXPECT_EQ(breachOfNumbers(root), "an entry has the number 0");
}

TEST(Conformance, aBrokenPromiseIsTheLineThatSaysWhatHappenedInstead) {
  EXPECT_EQ(textOfPromise({"3 Names", "The host listens", std::nullopt}), "[kept]   3 Names: The host listens");
  EXPECT_EQ(textOfPromise({"3 Names", "The host listens", "nobody does"}), "[BROKEN] 3 Names: The host listens: nobody does");
}

}  // namespace
