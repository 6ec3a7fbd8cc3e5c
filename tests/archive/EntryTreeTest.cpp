// The entry and the node: their keyed values, their nest of archives, positions and the bounds of a tree.
#include <gtest/gtest.h>

#include <string>

#include "archive/ArchivedClasses.h"
#include "archive/DTArchiveEntry.h"
#include "archive/DTTreeNode.h"
#include "platform/codec/DecodeBudget.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/ArchiveBytes.h"

namespace {

using platform::Data;
using platform::KeyedArchiver;
using platform::KeyedUnarchiver;
using platform::Object;
using Path = std::vector<std::uint64_t>;

DTTreeNode node(const char* name, bool isFolder = false, std::uint64_t index = 0, std::uint64_t size = 0) {
  return DTTreeNode(DTArchiveEntry(name, isFolder, index, size));
}

Data archiveOf(DTTreeNode root) {
  return KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<DTTreeNode>(std::move(root)))).value_or(Data());
}

Data archiveOf(DTArchiveEntry entry) {
  return KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<DTArchiveEntry>(std::move(entry)))).value_or(Data());
}

template <typename Class>
std::shared_ptr<const Class> decoded(const Data& bytes) {
  return KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).instance<Class>();
}

DTTreeNode sampleTree() {
  DTTreeNode root = node("a.zip", true);
  DTTreeNode& first = root.appendChild(node("first", true, 1));
  first.appendChild(node("one.txt", false, 2, 100));
  first.appendChild(node("\u00fcber.txt", false, 3, ~std::uint64_t{0}));
  DTTreeNode& second = root.appendChild(node("second", true, 4));
  second.appendChild(node("three.txt", false, std::uint64_t{1} << 63, 3));
  return root;
}

void expectEqual(const DTTreeNode& left, const DTTreeNode& right) {
  ASSERT_TRUE(left.representedObject() && right.representedObject());
  EXPECT_EQ(left.representedObject()->name(), right.representedObject()->name());
  EXPECT_EQ(left.representedObject()->isFolder(), right.representedObject()->isFolder());
  EXPECT_EQ(left.representedObject()->index(), right.representedObject()->index());
  EXPECT_EQ(left.representedObject()->rsrcIndex(), right.representedObject()->rsrcIndex());
  EXPECT_EQ(left.representedObject()->size(), right.representedObject()->size());
  EXPECT_EQ(left.indexPath(), right.indexPath());
  ASSERT_EQ(left.childNodes().size(), right.childNodes().size());
  for (std::size_t i = 0; i < left.childNodes().size(); ++i) {
    EXPECT_EQ(right.childNodes()[i].parentNode(), &right);
    expectEqual(left.childNodes()[i], right.childNodes()[i]);
  }
}

// The entry.

TEST(ArchiveEntry, startsEmptyAndTheFourArgumentsLeaveTheResourceIndexAtZero) {
  const DTArchiveEntry empty;
  EXPECT_FALSE(empty.name());
  EXPECT_FALSE(empty.isFolder());
  EXPECT_EQ(empty.index() + empty.rsrcIndex() + empty.size(), 0u);
  const DTArchiveEntry entry("n", true, 5, 6);
  EXPECT_EQ(entry.name(), "n");
  EXPECT_TRUE(entry.isFolder());
  EXPECT_EQ(entry.index(), 5u);
  EXPECT_EQ(entry.size(), 6u);
  EXPECT_EQ(entry.rsrcIndex(), 0u);
}

TEST(ArchiveEntry, comesBackWithAllFiveFields) {
  DTArchiveEntry entry("n", true, ~std::uint64_t{0}, 300);
  entry.setRsrcIndex(70000);
  const auto copy = decoded<DTArchiveEntry>(archiveOf(entry));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->name(), "n");
  EXPECT_TRUE(copy->isFolder());
  EXPECT_EQ(copy->index(), ~std::uint64_t{0});
  EXPECT_EQ(copy->rsrcIndex(), 70000u);
  EXPECT_EQ(copy->size(), 300u);
}

// Python's plistlib writes the same bytes for the same objects.
TEST(ArchiveEntry, isWrittenByteForByteInTheOrderOfItsKeys) {
  EXPECT_EQ(hexOf(archiveOf(DTArchiveEntry("n", true, 1, 2))),
            "62706c6973743030d4010203040506070a582476657273696f6e592461726368697665725424746f7058246f626a6563747312000186a05f"
            "100f4e534b657965644172636869766572d1080954726f6f748001a70b0c191a1b1c1d55246e756c6cd60d0e0f101112131415161718546e"
            "616d6556666f6c64657255696e6465785972737263496e6465785473697a655624636c6173738002098003800480058006516e1001100010"
            "02d21e1f20215a24636c6173736e616d655824636c61737365735e445441726368697665456e747279a22022584e534f626a65637408111a"
            "24293237494c51535b616e737a808a8f9698999b9d9fa1a3a5a7a9aeb9c2d1d4000000000000010100000000000000230000000000000000"
            "00000000000000dd");
}

TEST(ArchiveEntry, numbersBeyondTheSignedRangeAreWrittenByteForByteAsUnsigned) {
  EXPECT_EQ(hexOf(archiveOf(DTArchiveEntry("n", false, std::uint64_t{1} << 63, ~std::uint64_t{0}))),
            "62706c6973743030d4010203040506070a582476657273696f6e592461726368697665725424746f7058246f626a6563747312000186a05f"
            "100f4e534b657965644172636869766572d1080954726f6f748001a70b0c191a1b1c1d55246e756c6cd60d0e0f101112131415161718546e"
            "616d6556666f6c64657255696e6465785972737263496e6465785473697a655624636c6173738002088003800480058006516e1400000000"
            "0000000080000000000000001000140000000000000000ffffffffffffffffd21e1f20215a24636c6173736e616d655824636c6173736573"
            "5e445441726368697665456e747279a22022584e534f626a65637408111a24293237494c51535b616e737a808a8f9698999b9d9fa1a3b4b6"
            "c7ccd7e0eff200000000000001010000000000000023000000000000000000000000000000fb");
}

TEST(TreeNode, aRootWithALeafIsWrittenByteForByteAsAnArchiveInAnArchive) {
  DTTreeNode root = node("a", true);
  root.appendChild(node("b"));
  const std::string leaf =
      "62706c6973743030d4010203040506070a582476657273696f6e592461726368697665725424746f7058246f626a6563747312000186a05f"
      "100f4e534b657965644172636869766572d1080954726f6f748001a90b0c131f2021272b2e55246e756c6cd30d0e0f101112566f626a6563"
      "74586368696c6472656e5624636c617373800280068008d614151617180f191a1b1c1d1e546e616d6556666f6c64657255696e6465785972"
      "737263496e6465785473697a65800308800480048004800551621000d2222324255a24636c6173736e616d655824636c61737365735e4454"
      "41726368697665456e747279a22426584e534f626a656374d2280f292a5a4e532e6f626a65637473a08007d222232c2d574e534172726179"
      "a22c26d222232f305a4454547265654e6f6465a32f31265a4e53547265654e6f646500080011001a00240029003200370049004c00510053"
      "005d0063006a0071007a00810083008500870094009900a000a600b000b500b700b800ba00bc00be00c000c200c400c900d400dd00ec00ef"
      "00f800fd01080109010b01100118011b0120012b012f000000000000020100000000000000320000000000000000000000000000013a";
  EXPECT_EQ(hexOf(archiveOf(node("b"))), leaf);
  EXPECT_EQ(hexOf(archiveOf(std::move(root))),
            "62706c6973743030d4010203040506070a582476657273696f6e592461726368697665725424746f7058246f626a6563747312000186"
            "a05f100f4e534b657965644172636869766572d1080954726f6f748001aa0b0c131f2021272c2d3055246e756c6cd30d0e0f10111256"
            "6f626a656374586368696c6472656e5624636c617373800280068009d614151617180f191a1b1c1d1e546e616d6556666f6c64657255"
            "696e6465785972737263496e6465785473697a65800309800480048004800551611000d2222324255a24636c6173736e616d65582463"
            "6c61737365735e445441726368697665456e747279a22426584e534f626a656374d2280f292b5a4e532e6f626a65637473a12a800780"
            "084f1101be" +
                leaf +
                "d222232e2f574e534172726179a22e26d2222331325a4454547265654e6f6465a33133265a4e53547265654e6f64650008001100"
                "1a00240029003200370049004c00510053005e0064006b0072007b00820084008600880095009a00a100a700b100b600b800b900"
                "bb00bd00bf00c100c300c500ca00d500de00ed00f000f900fe0109010b010d010f02d102d602de02e102e602f102f50000000000"
                "000201000000000000003400000000000000000000000000000300");
}

TEST(ArchiveEntry, oneMadeWithFourArgumentsWritesAResourceIndexOfZero) {
  const auto copy = decoded<DTArchiveEntry>(archiveOf(DTArchiveEntry("n", false, 1, 2)));
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->rsrcIndex(), 0u);
}

TEST(ArchiveEntry, aMissingNameIsWrittenAsNil) {
  const auto copy = decoded<DTArchiveEntry>(archiveOf(DTArchiveEntry()));
  ASSERT_TRUE(copy);
  EXPECT_FALSE(copy->name());
}

std::shared_ptr<const DTArchiveEntry> entry(ArchiveBytes& archive, const ArchiveBytes::Fields& fields) {
  return decoded<DTArchiveEntry>(archive.archive(archive.instance("DTArchiveEntry", fields)));
}

TEST(ArchiveEntry, withOnlyANameEverythingElseIsFalseAndZero) {
  ArchiveBytes archive;
  const auto made = entry(archive, {{"name", archive.uid(archive.slot(archive.text("n")))}});
  ASSERT_TRUE(made);
  EXPECT_EQ(made->name(), "n");
  EXPECT_FALSE(made->isFolder());
  EXPECT_EQ(made->index() + made->rsrcIndex() + made->size(), 0u);
}

TEST(ArchiveEntry, aNameMayBeAMutableString) {
  ArchiveBytes archive;
  const auto name = archive.instance("NSMutableString", {{"NS.string", archive.text("m")}});
  EXPECT_EQ(entry(archive, {{"name", archive.uid(name)}})->name(), "m");
}

TEST(ArchiveEntry, numbersOfAnyWidthSignAndKindAreTakenModuloTheirSixtyFourBits) {
  ArchiveBytes archive;
  const auto wide = archive.slot(archive.integer(3, 16));
  const auto negative = archive.slot(archive.integer(~std::uint64_t{0}, 8));
  const auto real = archive.slot(archive.real(7.9));
  const auto made =
      entry(archive, {{"index", archive.uid(wide)}, {"rsrcIndex", archive.uid(negative)}, {"size", archive.uid(real)}});
  ASSERT_TRUE(made);
  EXPECT_EQ(made->index(), 3u);
  EXPECT_EQ(made->rsrcIndex(), ~std::uint64_t{0});
  EXPECT_EQ(made->size(), 7u);
}

TEST(ArchiveEntry, realsBeyondTheRangeAreSomeNumberAndNoFault) {
  for (const double value : {1e300, -1e300, 0.0 / 0.0, -3.5, 1.8446744073709552e19}) {
    ArchiveBytes archive;
    const auto made = entry(archive, {{"size", archive.uid(archive.slot(archive.real(value)))}});
    ASSERT_TRUE(made);
    EXPECT_EQ(value == -3.5, made->size() == ~std::uint64_t{0} - 2);
  }
}

TEST(ArchiveEntry, valuesOfAnotherKindLeaveTheirFieldEmpty) {
  ArchiveBytes archive;
  const auto text = archive.slot(archive.text("12")), number = archive.slot(archive.integer(12));
  const auto null = archive.instance("NSNull", {});
  const auto made = entry(archive, {{"name", archive.uid(number)}, {"index", archive.uid(text)}, {"size", archive.uid(null)}});
  ASSERT_TRUE(made);
  EXPECT_FALSE(made->name());
  EXPECT_EQ(made->index() + made->size(), 0u);
}

TEST(ArchiveEntry, aFolderFlagThatIsNoBooleanRefusesTheArchive) {
  ArchiveBytes archive;
  EXPECT_FALSE(entry(archive, {{"folder", archive.integer(1)}}));
}

TEST(ArchiveEntry, anUnknownClassInAFieldRefusesTheArchive) {
  ArchiveBytes archive;
  EXPECT_FALSE(entry(archive, {{"name", archive.uid(archive.instance("Unheard", {}))}}));
  ArchiveBytes number;
  EXPECT_FALSE(entry(number, {{"size", number.uid(number.instance("Unheard", {}))}}));
}

// The node.

TEST(TreeNode, aTreeOfTwoFoldersAndThreeFilesComesBackTheSame) {
  const auto copy = decoded<DTTreeNode>(archiveOf(sampleTree()));
  ASSERT_TRUE(copy);
  expectEqual(sampleTree(), *copy);
}

TEST(TreeNode, theRootHasAnEmptyIndexPathAndTheSecondChildOfTheFirstHasZeroOne) {
  const DTTreeNode root = sampleTree();
  EXPECT_TRUE(root.indexPath().indexes.empty());
  EXPECT_EQ(root.childNodes()[0].childNodes()[1].indexPath().indexes, (Path{0, 1}));
}

TEST(TreeNode, aLeafWritesAnEmptyArrayAndComesBackWithoutChildren) {
  const Data bytes = archiveOf(node("leaf"));
  const std::string text(bytes.begin(), bytes.end());
  EXPECT_NE(text.find("NS.objects"), std::string::npos);
  EXPECT_NE(text.find("NSArray"), std::string::npos);
  EXPECT_TRUE(decoded<DTTreeNode>(bytes)->childNodes().empty());
}

TEST(TreeNode, eachChildIsACompleteArchiveInItsParents) {
  DTTreeNode root = node("root");
  root.appendChild(node("child", false, 9, 8));
  const Data whole = archiveOf(std::move(root)), child = archiveOf(node("child", false, 9, 8));
  EXPECT_NE(std::search(whole.begin(), whole.end(), child.begin(), child.end()), whole.end());
}

TEST(TreeNode, equalChildrenAreOneDataInTheirParent) {
  const auto twins = [](const char* second) {
    DTTreeNode root = node("root");
    for (const char* name : {"twin", "other", second}) root.appendChild(node("folder", true)).appendChild(node(name));
    return archiveOf(std::move(root));
  };
  const Data same = twins("twin"), different = twins("twix");
  EXPECT_LT(same.size() + 400, different.size());
  const auto copy = decoded<DTTreeNode>(same);
  ASSERT_TRUE(copy);
  ASSERT_EQ(copy->childNodes().size(), 3u);
  EXPECT_EQ(copy->childNodes()[2].childNodes()[0].representedObject()->name(), "twin");
  EXPECT_EQ(copy->childNodes()[2].childNodes()[0].indexPath().indexes, (Path{2, 0}));
}

TEST(TreeNode, movingARootKeepsItsChildrenTogether) {
  DTTreeNode root = sampleTree();
  const DTTreeNode moved(std::move(root));
  EXPECT_EQ(moved.childNodes()[1].parentNode(), &moved);
  EXPECT_EQ(moved.childNodes()[1].childNodes()[0].indexPath().indexes, (Path{1, 0}));
  DTTreeNode assigned = node("other");
  assigned.appendChild(node("gone"));
  assigned = sampleTree();
  expectEqual(sampleTree(), assigned);
}

ArchiveBytes::Number text(ArchiveBytes& archive, const char* value) { return archive.uid(archive.slot(archive.text(value))); }

// The archive of a root whose children are these data, all of them so many times.
Data rootOf(const std::vector<Data>& children, int times = 1) {
  ArchiveBytes archive;
  std::vector<std::uint32_t> once, blobs;
  for (const Data& child : children) once.push_back(archive.slot(archive.data(child)));
  for (int i = 0; i < times; ++i) blobs.insert(blobs.end(), once.begin(), once.end());
  const auto entry = archive.instance("DTArchiveEntry", {{"name", text(archive, "root")}});
  const auto array = archive.collection("NSArray", blobs);
  return archive.archive(archive.instance("DTTreeNode", {{"object", archive.uid(entry)}, {"children", archive.uid(array)}}));
}

TEST(TreeNode, aChildThatCannotBeReadIsSkippedAndTheOthersKeepTheirPositions) {
  const Data good = archiveOf(node("good"));
  ArchiveBytes plain;
  const Data noNode = plain.archive(plain.slot(plain.text("no node")));
  ArchiveBytes unknown;
  const Data unheard = unknown.archive(unknown.instance("Unheard", {}));
  ArchiveBytes rootless;
  const Data empty = rootless.archive(std::nullopt);
  const auto root = decoded<DTTreeNode>(rootOf({bytesOf("garbage"), good, noNode, unheard, good, Data(), empty, good}));
  ASSERT_TRUE(root);
  ASSERT_EQ(root->childNodes().size(), 3u);
  EXPECT_EQ(root->childNodes()[0].indexPath().indexes, Path{1});
  EXPECT_EQ(root->childNodes()[1].indexPath().indexes, Path{4});
  EXPECT_EQ(root->childNodes()[2].indexPath().indexes, Path{7});
}

TEST(TreeNode, aGrandchildThatCannotBeReadLeavesItsParentStanding) {
  const auto root = decoded<DTTreeNode>(rootOf({rootOf({bytesOf("garbage"), archiveOf(node("good"))})}));
  ASSERT_TRUE(root);
  ASSERT_EQ(root->childNodes().size(), 1u);
  ASSERT_EQ(root->childNodes()[0].childNodes().size(), 1u);
  EXPECT_EQ(root->childNodes()[0].childNodes()[0].indexPath().indexes, (Path{0, 1}));
}

TEST(TreeNode, aChildAppendedAfterwardsFollowsTheLastPosition) {
  auto copy = decoded<DTTreeNode>(rootOf({bytesOf("garbage"), archiveOf(node("good"))}));
  ASSERT_TRUE(copy);
  DTTreeNode root = std::move(const_cast<DTTreeNode&>(*copy));
  EXPECT_EQ(root.appendChild(node("new")).position(), 2u);
}

std::shared_ptr<const DTTreeNode> treeNode(ArchiveBytes& archive, const ArchiveBytes::Fields& fields) {
  return decoded<DTTreeNode>(archive.archive(archive.instance("DTTreeNode", fields)));
}

TEST(TreeNode, absentKeysAreNoEntryAndNoChildren) {
  ArchiveBytes archive;
  const auto made = treeNode(archive, {});
  ASSERT_TRUE(made);
  EXPECT_FALSE(made->representedObject());
  EXPECT_TRUE(made->childNodes().empty());
}

TEST(TreeNode, anObjectThatIsNoEntryIsNoEntry) {
  ArchiveBytes archive;
  const auto made = treeNode(archive, {{"object", text(archive, "x")}});
  ASSERT_TRUE(made);
  EXPECT_FALSE(made->representedObject());
  ArchiveBytes unknown;
  EXPECT_FALSE(treeNode(unknown, {{"object", unknown.uid(unknown.instance("Unheard", {}))}}));
}

TEST(TreeNode, childrenThatAreNoArrayAreNone) {
  ArchiveBytes archive;
  const auto made = treeNode(archive, {{"children", archive.uid(archive.slot(archive.data(archiveOf(node("x")))))}});
  ASSERT_TRUE(made);
  EXPECT_TRUE(made->childNodes().empty());
}

TEST(TreeNode, childrenMayBeMutableAndTheirDataWrappedOrNumbered) {
  const Data child = archiveOf(node("child"));
  ArchiveBytes archive;
  const auto wrapped = archive.instance("NSMutableData", {{"NS.data", archive.data(child)}});
  const auto array = archive.collection("NSMutableArray", {wrapped});
  EXPECT_EQ(treeNode(archive, {{"children", archive.uid(array)}})->childNodes().size(), 1u);
  ArchiveBytes older;
  const auto blob = older.slot(older.data(child));
  const auto numbered = older.instance("NSArray", {{"NS.object.0", older.uid(blob)}, {"NS.object.1", older.uid(blob)}});
  EXPECT_EQ(treeNode(older, {{"children", older.uid(numbered)}})->childNodes().size(), 2u);
}

TEST(TreeNode, theClassMayComeFromAHint) {
  ArchiveBytes archive;
  const auto record = archive.classRecord("DTNewNode", {"DTTreeNode"});
  const Data child = archive.archive(archive.slot(archive.object({{"$class", archive.uid(record)}})));
  EXPECT_EQ(decoded<DTTreeNode>(rootOf({child}))->childNodes().size(), 1u);
}

// Shapes.

DTTreeNode chain(std::size_t levels) {
  DTTreeNode innermost = node("level", true);
  for (std::size_t i = 0; i < levels; ++i) {
    DTTreeNode around = node("level", true);
    around.appendChild(std::move(innermost));
    innermost = std::move(around);
  }
  return innermost;
}

TEST(TreeBounds, aChainOfFourThousandLevelsIsMadeWrittenReadAndDropped) {
  const Data bytes = archiveOf(chain(4000));
  ASSERT_FALSE(bytes.empty());
  const auto root = decoded<DTTreeNode>(bytes);
  ASSERT_TRUE(root);
  const DTTreeNode* last = root.get();
  while (!last->childNodes().empty()) last = &last->childNodes()[0];
  EXPECT_EQ(last->indexPath().indexes, Path(4000, 0));
}

TEST(TreeBounds, aChainAtTheBoundIsReadAndOneBeyondIsRefusedAsAWhole) {
  const Data deepest = archiveOf(chain(platform::maximumArchiveDepth));
  ASSERT_FALSE(deepest.empty());
  EXPECT_TRUE(decoded<DTTreeNode>(deepest));
  EXPECT_TRUE(archiveOf(chain(platform::maximumArchiveDepth + 1)).empty());
  EXPECT_FALSE(decoded<DTTreeNode>(rootOf({deepest})));
}

TEST(TreeBounds, aTreeDeeperThanAnyStackIsTakenDown) {
  const DTTreeNode deep = chain(500000);
  EXPECT_EQ(deep.childNodes().size(), 1u);
}

TEST(TreeBounds, aTreeOfSixtyFourMegabytesIsRead) {
  DTTreeNode root = node("large.zip", true);
  for (std::uint64_t folder = 0; folder < 300; ++folder) {
    DTTreeNode& inner = root.appendChild(node("folder", true, folder));
    for (std::uint64_t i = 0; i < 480; ++i) inner.appendChild(node("a file with a name.txt", false, i * 1000, i));
  }
  const Data bytes = archiveOf(std::move(root));
  EXPECT_GT(bytes.size(), std::size_t{64} << 20);
  const auto copy = decoded<DTTreeNode>(bytes);
  ASSERT_TRUE(copy);
  EXPECT_EQ(copy->childNodes()[299].childNodes().size(), 480u);
}

TEST(TreeBounds, dataSharedByManyChildrenAreCountedEachTime) {
  Data child = archiveOf(node("leaf"));
  for (int level = 0; level < 40; ++level) child = rootOf({child}, 2);
  ASSERT_LT(child.size(), std::size_t{1} << 15);
  EXPECT_FALSE(decoded<DTTreeNode>(child));
}

}  // namespace
