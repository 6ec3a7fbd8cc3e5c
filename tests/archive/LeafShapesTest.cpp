// A leaf among siblings of its form reads as it does alone: whatever is changed in its bytes.
#include <gtest/gtest.h>

#include "archive/ArchivedClasses.h"
#include "archive/DTTreeNode.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/ArchiveBytes.h"

namespace {

using platform::Data;

std::shared_ptr<const DTTreeNode> decoded(const Data& bytes) {
  return platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).instance<DTTreeNode>();
}

Data leaf(const char* name, bool isFolder, std::uint64_t index, std::uint64_t rsrcIndex, std::uint64_t size) {
  DTArchiveEntry entry(std::string(name), isFolder, index, size);
  entry.setRsrcIndex(rsrcIndex);
  const auto node = std::make_shared<DTTreeNode>(std::move(entry));
  return *platform::KeyedArchiver::archivedDataWithRootObject(platform::Object(std::shared_ptr<const platform::Coding>(node)));
}

Data folderOf(const std::vector<Data>& children) {
  ArchiveBytes archive;
  std::vector<std::uint32_t> blobs;
  for (const Data& child : children) blobs.push_back(archive.slot(archive.data(child)));
  const auto list = archive.collection("NSArray", blobs);
  return archive.archive(archive.instance("DTTreeNode", {{"object", archive.uid(0)}, {"children", archive.uid(list)}}));
}

std::string described(const DTTreeNode& node) {
  const DTArchiveEntry* entry = node.representedObject();
  if (!entry) return "no entry";
  std::string text = entry->name().value_or("(none)") + (entry->isFolder() ? " folder " : " file ");
  for (const std::uint64_t number : {entry->index(), entry->rsrcIndex(), entry->size()}) text += std::to_string(number) + " ";
  return text + std::to_string(node.childNodes().size());
}

// A leaf behind one that showed the form reads as it does as the only child: as the same node, as none, or as the end of the tree.
void expectReadAsAlone(const Data& sibling, const Data& bytes, const std::string& what) {
  const auto alone = decoded(folderOf({bytes})), tree = decoded(folderOf({sibling, bytes}));
  ASSERT_EQ(tree != nullptr, alone != nullptr) << what;
  if (!tree) return;
  ASSERT_EQ(tree->childNodes().size(), alone->childNodes().size() + 1) << what;
  EXPECT_EQ(described(tree->childNodes()[0]), described(*decoded(sibling))) << what;
  if (alone->childNodes().empty()) return;
  EXPECT_EQ(described(tree->childNodes()[1]), described(alone->childNodes()[0])) << what;
}

TEST(LeafShapes, leavesOfOneFormKeepTheirOwnNamesAndNumbers) {
  const Data first = leaf("a.txt", false, 1, 2, 300);
  const std::uint64_t numbers[] = {5, 200, 70000, std::uint64_t{1} << 40, ~std::uint64_t{0}};
  for (const char* name : {"b", "a name of twenty letters", "\u00e9t\u00e9", "", "name", "DTTreeNode", "$null", "NSObject"}) {
    for (const std::uint64_t number : numbers) {
      for (const bool isFolder : {false, true}) {
        expectReadAsAlone(first, leaf(name, isFolder, number, 2, 300), name);
        expectReadAsAlone(first, leaf(name, isFolder, 1, number, number), name);
        expectReadAsAlone(first, leaf(name, isFolder, number, 0, number), name);
      }
    }
  }
}

TEST(LeafShapes, manyFormsAmongTheChildrenOfOneFolderAreAllRead) {
  std::vector<Data> children;
  for (std::uint64_t i = 0; i < 40; ++i) children.push_back(leaf(i % 3 == 0 ? "x" : "size", i % 2 == 0, i % 5, i % 4, i % 7));
  const auto tree = decoded(folderOf(children));
  ASSERT_TRUE(tree);
  ASSERT_EQ(tree->childNodes().size(), children.size());
  for (std::size_t i = 0; i < children.size(); ++i) EXPECT_EQ(described(tree->childNodes()[i]), described(*decoded(children[i])));
}

TEST(LeafShapes, aChangedByteHasTheEffectThatItHasInALeafAlone) {
  const Data first = leaf("first.txt", false, 1, 2, 300), other = leaf("another name", false, 70000, 4, 9);
  for (const Data& original : {first, other}) {
    for (std::size_t at = 0; at < original.size(); ++at) {
      for (const int change : {1, 2, 4, 8, 16, 32, 64, 128, 255}) {
        Data changed = original;
        changed[at] = static_cast<std::uint8_t>(changed[at] ^ change);
        expectReadAsAlone(first, changed, "byte " + std::to_string(at) + " changed by " + std::to_string(change));
      }
    }
  }
}

TEST(LeafShapes, aShortenedOrLengthenedLeafIsReadAsAlone) {
  const Data first = leaf("first.txt", false, 1, 2, 300);
  for (std::size_t at = 0; at < first.size(); ++at) {
    Data shorter = first, longer = first;
    shorter.erase(shorter.begin() + static_cast<std::ptrdiff_t>(at));
    longer.insert(longer.begin() + static_cast<std::ptrdiff_t>(at), std::uint8_t{0x41});
    expectReadAsAlone(first, shorter, "without byte " + std::to_string(at));
    expectReadAsAlone(first, longer, "one more before byte " + std::to_string(at));
    expectReadAsAlone(first, Data(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(at)), "cut at " + std::to_string(at));
  }
}

}  // namespace
