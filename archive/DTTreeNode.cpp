#include "archive/DTTreeNode.h"

#include <algorithm>
#include <array>
#include <utility>

#include "archive/LeafShapes.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

using platform::KeyedArchiveReader;
using platform::PropertyListItem;
using platform::PropertyListKind;

namespace {

constexpr platform::PropertyListKey nodeClass(DTTreeNode::className);
constexpr platform::PropertyListKey entryClass(DTArchiveEntry::className);

}  // namespace

DTTreeNode::DTTreeNode(std::optional<DTArchiveEntry> representedObject) : entry_(std::move(representedObject)) {}

DTTreeNode::DTTreeNode(DTTreeNode&& other) noexcept
    : entry_(std::move(other.entry_)), children_(std::move(other.children_)), parent_(other.parent_), position_(other.position_) {
  adoptChildren();
}

DTTreeNode& DTTreeNode::operator=(DTTreeNode&& other) noexcept {
  if (this == &other) return *this;
  dropChildren();
  entry_ = std::move(other.entry_);
  children_ = std::move(other.children_);
  parent_ = other.parent_;
  position_ = other.position_;
  adoptChildren();
  return *this;
}

DTTreeNode::~DTTreeNode() { dropChildren(); }

void DTTreeNode::adoptChildren() {
  for (DTTreeNode& child : children_) child.parent_ = this;
}

// Takes the tree down from its last leaf, so that no depth of it is a depth of calls.
void DTTreeNode::dropChildren() {
  DTTreeNode* node = this;
  while (true) {
    if (!node->children_.empty()) {
      node = &node->children_.back();
    } else if (node != this) {
      node = node->parent_;
      node->children_.pop_back();
    } else {
      return;
    }
  }
}

DTTreeNode& DTTreeNode::appendChild(DTTreeNode child) {
  const std::uint64_t position = children_.empty() ? 0 : children_.back().position_ + 1;
  DTTreeNode& appended = children_.emplace_back(std::move(child));
  appended.parent_ = this;
  appended.position_ = position;
  return appended;
}

platform::IndexPath DTTreeNode::indexPath() const {
  platform::IndexPath path;
  for (const DTTreeNode* node = this; node->parent_; node = node->parent_) path.indexes.push_back(node->position_);
  std::reverse(path.indexes.begin(), path.indexes.end());
  return path;
}

std::span<const std::string_view> DTTreeNode::classNames() const {
  static constexpr std::array<std::string_view, 3> names{className, "NSTreeNode", "NSObject"};
  return names;
}

void DTTreeNode::encodeWithCoder(platform::KeyedArchiver& coder) const {
  std::vector<const platform::Coding*> children;
  children.reserve(children_.size());
  for (const DTTreeNode& child : children_) children.push_back(&child);
  coder.encodeInstance(representedObject(), "object");
  coder.encodeArchives(children, "children");
}

std::shared_ptr<const platform::Coding> DTTreeNode::initWithCoder(platform::KeyedUnarchiver& coder) {
  auto node = std::make_shared<DTTreeNode>();
  KeyedValues values;
  Blobs blobs;
  if (!coder.reader().lookUp(coder.dictionary(), keys, values)) return nullptr;
  if (!node->readFrom(coder.reader(), values, blobs)) return nullptr;
  if (!node->readDescendants(coder.reader(), std::move(blobs))) return nullptr;
  return node;
}

bool DTTreeNode::readFrom(KeyedArchiveReader& reader, const KeyedValues& values, Blobs& blobs) {
  std::uint32_t children = 0;
  return readRepresentedObject(reader, values[0]) && reader.readUID(values[1], children) && reader.dataArray(children, blobs);
}

bool DTTreeNode::readRepresentedObject(KeyedArchiveReader& reader, std::uint64_t value) {
  std::uint32_t uid = 0;
  PropertyListItem item;
  if (!reader.readUID(value, uid)) return false;
  if (uid == 0) return true;
  if (!reader.readSlot(uid, item)) return false;
  if (item.kind == PropertyListKind::Dictionary) {
    DTArchiveEntry::KeyedValues values;
    if (!reader.lookUp(item, DTArchiveEntry::keys, values)) return false;
    if (reader.isOfClass(values.back(), entryClass)) return entry_.emplace().readFrom(reader, values);
  }
  // Something else than an entry: it must be sound, but the node has no entry then.
  platform::Object object;
  return reader.object(uid, object);
}

bool DTTreeNode::readFrom(platform::ByteView archive, const KeyedArchiveReader& parent, LeafShapes& leaves, Blobs& blobs) {
  if (leaves.read(archive, parent, entry_.emplace())) return true;
  entry_.reset();
  auto reader = KeyedArchiveReader::open(archive, parent.classes(), parent.budget());
  KeyedValues values;
  PropertyListItem root;
  const bool isRead = reader && reader->root() != 0 && reader->readSlot(reader->root(), root) &&
                      root.kind == PropertyListKind::Dictionary && reader->lookUp(root, keys, values) &&
                      reader->isOfClass(values.back(), nodeClass) && readFrom(*reader, values, blobs);
  std::uint32_t entry = 0;
  const bool isLeaf = isRead && entry_ && (!blobs || blobs->empty());
  if (isLeaf && reader->readUID(values[0], entry)) leaves.learn(*reader, entry, *entry_);
  return isRead;
}

// Depth first, with the parents that still have archives to read on a list of their own. A parent leaves the list before
// its last child is read, so a chain of nodes needs a list of one.
bool DTTreeNode::readDescendants(const KeyedArchiveReader& reader, Blobs blobs) {
  struct Parent {
    DTTreeNode* node;
    std::vector<platform::ByteView> blobs;
    std::size_t next = 0;
    unsigned depth = 0;
  };
  platform::DecodeBudget& budget = reader.budget();
  const unsigned depthHere = budget.archiveDepth();
  std::vector<Parent> parents;
  LeafShapes leaves;
  const auto enter = [&](DTTreeNode& node, Blobs& archives, unsigned depth) {
    if (!archives || archives->empty()) return true;
    if (depth > platform::maximumArchiveDepth || !budget.spend(archives->size(), sizeof(DTTreeNode))) return false;
    node.children_.reserve(archives->size());
    parents.push_back({&node, *std::move(archives), 0, depth});
    return true;
  };
  if (!enter(*this, blobs, depthHere + 1)) return false;
  while (!parents.empty()) {
    Parent& parent = parents.back();
    DTTreeNode& node = *parent.node;
    const unsigned depth = parent.depth;
    const std::uint64_t position = parent.next;
    const platform::ByteView archive = parent.blobs[parent.next++];
    if (parent.next == parent.blobs.size()) parents.pop_back();
    DTTreeNode& child = node.children_.emplace_back();
    child.parent_ = &node;
    child.position_ = position;
    Blobs archives;
    budget.setArchiveDepth(depth);
    if (!child.readFrom(archive, reader, leaves, archives)) {
      if (budget.isExhausted()) return false;
      node.children_.pop_back();
    } else if (!enter(child, archives, depth + 1)) {
      return false;
    }
  }
  budget.setArchiveDepth(depthHere);
  return true;
}
