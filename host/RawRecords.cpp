#include "host/RawRecords.h"

#include <array>
#include <utility>

#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

using platform::KeyedArchiveReader;
using platform::PropertyListItem;
using platform::PropertyListKey;

namespace {

constexpr std::array<PropertyListKey, 3> nodeKeys{"object", "children", "$class"};

}  // namespace

std::span<const std::string_view> RawMessage::classNames() const {
  static constexpr std::array<std::string_view, 2> names{DTMessage::className, "NSObject"};
  return names;
}

void RawMessage::encodeWithCoder(platform::KeyedArchiver& coder) const {
  coder.encodeObject(selector, "selector");
  coder.encodeObject(argument, "argument");
  coder.encodeObject(portName, "portName");
}

std::shared_ptr<const platform::Coding> RawMessage::initWithCoder(platform::KeyedUnarchiver& coder) {
  auto message = std::make_shared<RawMessage>();
  message->selector = coder.decodeObjectForKey("selector");
  message->argument = coder.decodeObjectForKey("argument");
  message->portName = coder.decodeObjectForKey("portName");
  return message;
}

std::span<const std::string_view> RawEntry::classNames() const {
  static constexpr std::array<std::string_view, 2> names{DTArchiveEntry::className, "NSObject"};
  return names;
}

void RawEntry::encodeWithCoder(platform::KeyedArchiver& coder) const {
  coder.encodeObject(name, "name");
  coder.encodeBool(isFolder, "folder");
  coder.encodeObject(index, "index");
  coder.encodeObject(rsrcIndex, "rsrcIndex");
  coder.encodeObject(size, "size");
}

std::shared_ptr<const platform::Coding> RawEntry::initWithCoder(platform::KeyedUnarchiver& coder) {
  auto entry = std::make_shared<RawEntry>();
  entry->name = coder.decodeObjectForKey("name");
  entry->isFolder = coder.decodeBoolForKey("folder");
  entry->index = coder.decodeObjectForKey("index");
  entry->rsrcIndex = coder.decodeObjectForKey("rsrcIndex");
  entry->size = coder.decodeObjectForKey("size");
  return entry;
}

std::span<const std::string_view> RawNode::classNames() const {
  static constexpr std::array<std::string_view, 3> names{DTTreeNode::className, "NSTreeNode", "NSObject"};
  return names;
}

void RawNode::encodeWithCoder(platform::KeyedArchiver& coder) const {
  coder.encodeObject(object, "object");
  if (!children) {
    coder.encodeInstance(nullptr, "children");
    return;
  }
  std::vector<const platform::Coding*> roots;
  for (const RawNode& child : *children) roots.push_back(&child);
  coder.encodeArchives(roots, "children");
}

std::shared_ptr<const platform::Coding> RawNode::initWithCoder(platform::KeyedUnarchiver& coder) {
  auto node = std::make_shared<RawNode>();
  KeyedValues values;
  Blobs blobs;
  if (!coder.reader().lookUp(coder.dictionary(), nodeKeys, values)) return nullptr;
  if (!node->readFrom(coder.reader(), values, blobs)) return nullptr;
  if (!node->readDescendants(coder.reader(), std::move(blobs))) return nullptr;
  return node;
}

bool RawNode::readFrom(KeyedArchiveReader& reader, const KeyedValues& values, Blobs& blobs) {
  std::uint32_t objectUID = 0, childrenUID = 0;
  return reader.readUID(values[0], objectUID) && reader.object(objectUID, object) && reader.readUID(values[1], childrenUID) &&
         reader.dataArray(childrenUID, blobs);
}

bool RawNode::readFrom(platform::ByteView archive, const KeyedArchiveReader& parent, Blobs& blobs) {
  auto reader = KeyedArchiveReader::open(archive, parent.classes(), parent.budget());
  KeyedValues values;
  PropertyListItem root;
  return reader && reader->root() != 0 && reader->readSlot(reader->root(), root) &&
         root.kind == platform::PropertyListKind::Dictionary && reader->lookUp(root, nodeKeys, values) &&
         reader->isOfClass(values.back(), DTTreeNode::className) && readFrom(*reader, values, blobs);
}

// Depth first without a call a level, as the tree itself is read.
bool RawNode::readDescendants(const KeyedArchiveReader& reader, Blobs blobs) {
  struct Parent {
    RawNode* node;
    std::vector<platform::ByteView> blobs;
    std::size_t next = 0;
    unsigned depth = 0;
  };
  platform::DecodeBudget& budget = reader.budget();
  const unsigned depthHere = budget.archiveDepth();
  std::vector<Parent> parents;
  const auto enter = [&](RawNode& node, Blobs& archives, unsigned depth) {
    if (!archives) return true;
    if (depth > platform::maximumArchiveDepth || !budget.spend(archives->size(), sizeof(RawNode))) return false;
    node.children.emplace().reserve(archives->size());
    if (!archives->empty()) parents.push_back({&node, *std::move(archives), 0, depth});
    return true;
  };
  if (!enter(*this, blobs, depthHere + 1)) return false;
  while (!parents.empty()) {
    Parent& parent = parents.back();
    std::vector<RawNode>& siblings = *parent.node->children;
    const unsigned depth = parent.depth;
    const platform::ByteView archive = parent.blobs[parent.next++];
    if (parent.next == parent.blobs.size()) parents.pop_back();
    budget.setArchiveDepth(depth);
    RawNode& child = siblings.emplace_back();
    Blobs archives;
    if (!child.readFrom(archive, reader, archives)) {
      if (budget.isExhausted()) return false;
      siblings.pop_back();
    } else if (!enter(child, archives, depth + 1)) {
      return false;
    }
  }
  budget.setArchiveDepth(depthHere);
  return true;
}

platform::ClassTable rawClasses() {
  static constexpr std::array<platform::ArchivedClass, 3> classes{{
      {DTTreeNode::className, &RawNode::initWithCoder},
      {DTArchiveEntry::className, &RawEntry::initWithCoder},
      {DTMessage::className, &RawMessage::initWithCoder},
  }};
  return classes;
}
