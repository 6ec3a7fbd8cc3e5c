// One node of an archive's table of contents: an entry and, for a folder, the nodes inside it, in the host's order. On the
// wire each child is a complete keyed archive of its own, held as data in its parent's ("object", "children").
// A node owns its children by value, side by side; the root is owned by whoever decoded or built it. Trees handed to the
// rest of the program are immutable and shared (`std::shared_ptr<const DTTreeNode>`).
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "archive/DTArchiveEntry.h"
#include "platform/Bytes.h"
#include "platform/IndexPath.h"
#include "platform/codec/Coding.h"
#include "platform/codec/KeyedArchiveReader.h"

class LeafShapes;

class DTTreeNode final : public platform::Coding {
 public:
  static constexpr std::string_view className = "DTTreeNode";

  /// `initWithRepresentedObject:`
  explicit DTTreeNode(std::optional<DTArchiveEntry> representedObject = std::nullopt);
  DTTreeNode(DTTreeNode&& other) noexcept;
  DTTreeNode& operator=(DTTreeNode&& other) noexcept;
  DTTreeNode(const DTTreeNode&) = delete;
  DTTreeNode& operator=(const DTTreeNode&) = delete;
  ~DTTreeNode() override;

  /// Null when the host sent a node without an entry.
  const DTArchiveEntry* representedObject() const { return entry_ ? &*entry_ : nullptr; }
  std::span<const DTTreeNode> childNodes() const { return children_; }
  /// The parent, or null for a root. Valid as long as the tree stands.
  const DTTreeNode* parentNode() const { return parent_; }
  /// The child's index on the last level of `indexPath`; 0 for a root.
  std::uint64_t position() const { return position_; }

  /// Makes `child` the last child and answers it where it now stands. Amortised constant time; references to earlier
  /// children are no longer valid.
  DTTreeNode& appendChild(DTTreeNode child);
  void reserveChildren(std::size_t count) { children_.reserve(count); }

  /// The position of the node from the root of its tree, in time linear in its depth, without looking at siblings.
  /// A child that could not be decoded keeps its place in the count, as the host finds entries in the tree that it sent.
  platform::IndexPath indexPath() const;

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);

 private:
  using Blobs = std::optional<std::vector<platform::ByteView>>;

  static constexpr std::array<platform::PropertyListKey, 3> keys{"object", "children", "$class"};
  using KeyedValues = std::array<std::uint64_t, keys.size()>;

  /// Reads the node's own keyed values; its children's archives are left in `blobs`.
  bool readFrom(platform::KeyedArchiveReader& reader, const KeyedValues& values, Blobs& blobs);
  bool readFrom(platform::ByteView archive, const platform::KeyedArchiveReader& parent, LeafShapes& leaves, Blobs& blobs);
  bool readRepresentedObject(platform::KeyedArchiveReader& reader, std::uint64_t value);
  bool readDescendants(const platform::KeyedArchiveReader& reader, Blobs blobs);
  void adoptChildren();
  void dropChildren();

  std::optional<DTArchiveEntry> entry_;
  std::vector<DTTreeNode> children_;
  DTTreeNode* parent_ = nullptr;
  std::uint64_t position_ = 0;
};
