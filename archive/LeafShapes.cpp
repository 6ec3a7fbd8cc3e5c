#include "archive/LeafShapes.h"

#include <array>
#include <string>
#include <utility>

using platform::KeyedArchiveReader;
using platform::PropertyListItem;
using platform::PropertyListShape;

namespace {

// Where the value of each scalar stands among DTArchiveEntry::keys.
constexpr std::array<std::size_t, 4> keyOfScalar{0, 2, 3, 4};

}  // namespace

bool LeafShapes::read(platform::ByteView archive, const KeyedArchiveReader& parent, DTArchiveEntry& entry) {
  for (const Leaf& leaf : leaves_) {
    if (!leaf.shape.matches(archive, items_)) continue;
    if (!parent.budget().spend(archive.size()) || !parent.text(items_[nameAt], entry.makeName())) return false;
    entry.setFolder(leaf.isFolder);
    entry.setIndex(items_[indexAt].value);
    entry.setRsrcIndex(items_[rsrcIndexAt].value);
    entry.setSize(items_[sizeAt].value);
    return true;
  }
  return false;
}

void LeafShapes::learn(KeyedArchiveReader& leaf, std::uint32_t entryReference, const DTArchiveEntry& entry) {
  if (leaves_.size() == most) return;
  PropertyListItem dictionary;
  DTArchiveEntry::KeyedValues values;
  std::array<std::uint64_t, scalarCount> scalars;
  if (!leaf.readSlot(entryReference, dictionary) || !leaf.lookUp(dictionary, DTArchiveEntry::keys, values)) return;
  for (std::size_t i = 0; i < scalarCount; ++i) {
    std::uint32_t uid = 0;
    if (!leaf.readUID(values[keyOfScalar[i]], uid) || uid == 0) return;
    scalars[i] = leaf.objectNumber(uid);
  }
  PropertyListItem name;
  if (!leaf.list().read(scalars[nameAt], name) || !name.isString()) return;
  if (auto shape = PropertyListShape::of(leaf.list(), scalars)) leaves_.push_back({*std::move(shape), entry.isFolder()});
}
