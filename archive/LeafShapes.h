// The forms in which a tree's leaves came so far. Most nodes of a tree are files, and a host writes their archives alike but for
// name and numbers: all but the first few are read by comparison.
#pragma once

#include <array>
#include <vector>

#include "archive/DTArchiveEntry.h"
#include "platform/Bytes.h"
#include "platform/codec/KeyedArchiveReader.h"
#include "platform/codec/PropertyListShape.h"

class LeafShapes {
 public:
  /// Reads the entry of a leaf whose archive is of a form that is known. False, with an entry of no use, for any other archive.
  bool read(platform::ByteView archive, const platform::KeyedArchiveReader& parent, DTArchiveEntry& entry);

  /// Takes note of the form of a leaf that was read in full. `entryReference` leads to its entry in its archive.
  void learn(platform::KeyedArchiveReader& leaf, std::uint32_t entryReference, const DTArchiveEntry& entry);

 private:
  // As many as differ in which numbers are equal, and so stand once, and in the width of references, with room to spare.
  static constexpr std::size_t most = 8;

  // The scalars in which leaves of one form differ.
  enum : std::size_t { nameAt, indexAt, rsrcIndexAt, sizeAt, scalarCount };

  struct Leaf {
    platform::PropertyListShape shape;
    bool isFolder;
  };

  std::vector<Leaf> leaves_;
  std::array<platform::PropertyListItem, scalarCount> items_;  // of the leaf being read
};
