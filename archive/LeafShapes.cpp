#include "archive/LeafShapes.h"

#include <array>
#include <string>
#include <utility>

using platform::KeyedArchiveReader;
using platform::PropertyListItem;
using platform::PropertyListShape;

namespace {

// The scalars in which leaves of one form differ.
enum : std::size_t { nameAt, indexAt, rsrcIndexAt, sizeAt, scalarCount };
constexpr std::array<std::size_t, scalarCount> keyOfScalar{0, 2, 3, 4};

}  // namespace

bool LeafShapes::read(platform::ByteView archive, const KeyedArchiveReader& parent, DTArchiveEntry& entry) const {
  std::array<PropertyListItem, scalarCount> items;
  for (const Leaf& leaf : leaves_) {
    if (!leaf.shape.matches(archive, items)) continue;
    std::string name;
    if (!items[nameAt].isString() || !parent.budget().spend(archive.size()) || !parent.text(items[nameAt], name)) return false;
    entry.setName(std::move(name));
    entry.setFolder(leaf.isFolder);
    entry.setIndex(items[indexAt].value);
    entry.setRsrcIndex(items[rsrcIndexAt].value);
    entry.setSize(items[sizeAt].value);
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
