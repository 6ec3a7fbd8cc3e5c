// Any parts as the archives of a node's children. Among its siblings, where the reader knows what such archives look like, each
// child reads as it does alone.
#include "archive/ArchivedClasses.h"
#include "archive/DTTreeNode.h"
#include "fuzz/Target.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/ArchiveBytes.h"

using platform::ByteView;
using platform::Data;

namespace {

constexpr std::size_t mostParts = 32;

std::shared_ptr<const DTTreeNode> decoded(ByteView bytes) {
  return platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).instance<DTTreeNode>();
}

Data parentOf(std::span<const ByteView> children) {
  ArchiveBytes archive;
  std::vector<std::uint32_t> blobs;
  for (const ByteView child : children) blobs.push_back(archive.slot(archive.data(child)));
  const auto array = archive.collection("NSArray", blobs);
  return archive.archive(archive.instance("DTTreeNode", {{"object", archive.uid(0)}, {"children", archive.uid(array, 4)}}));
}

bool isSame(const DTTreeNode& a, const DTTreeNode& b) {
  const DTArchiveEntry* first = a.representedObject();
  const DTArchiveEntry* second = b.representedObject();
  if (!first != !second || a.childNodes().size() != b.childNodes().size()) return false;
  if (first && (first->name() != second->name() || first->isFolder() != second->isFolder() || first->index() != second->index() ||
                first->rsrcIndex() != second->rsrcIndex() || first->size() != second->size())) {
    return false;
  }
  for (std::size_t i = 0; i < a.childNodes().size(); ++i) {
    const DTTreeNode& child = a.childNodes()[i];
    if (child.parentNode() != &a || child.position() != b.childNodes()[i].position() || !isSame(child, b.childNodes()[i]))
      return false;
  }
  return true;
}

void writeAndReadAgain(const DTTreeNode& tree) {
  const auto archive =
      platform::KeyedArchiver::archivedDataWithRootObject(std::shared_ptr<const platform::Coding>(std::shared_ptr<void>(), &tree));
  if (!archive) return;
  const auto again = decoded(*archive);
  fuzz::expect(again && again->childNodes().size() == tree.childNodes().size(),
               "a tree that was read can be written and read again");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<ByteView> blobs = fuzz::parts({data, size});
  if (blobs.size() > mostParts) blobs.resize(mostParts);
  const auto tree = decoded(parentOf(blobs));
  if (!tree) return 0;  // a child that exceeds a bound refuses the whole
  auto child = tree->childNodes().begin();
  for (std::size_t i = 0; i < blobs.size(); ++i) {
    const auto alone = decoded(blobs[i]);
    const bool isThere = child != tree->childNodes().end() && child->position() == i;
    fuzz::expect(isThere == (alone != nullptr), "a child is there when it can be read alone");
    if (isThere) fuzz::expect(isSame(*child++, *alone), "a child reads among its siblings as it does alone");
  }
  fuzz::expect(child == tree->childNodes().end(), "there is no child without an archive");
  writeAndReadAgain(*tree);
  return 0;
}
