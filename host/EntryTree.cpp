#include "host/EntryTree.h"

#include <algorithm>
#include <random>
#include <unordered_map>
#include <vector>

#include "host/ReadableText.h"

namespace {

/// What a node adds to the tree's archive beside its name, which takes two bytes a character at most.
constexpr std::size_t wireBytesOfNode = 540;

/// A node by its number: its place in the table, the root being 0.
using Number = std::uint32_t;
constexpr Number none = 0;  ///< The root is nobody's child or sibling.

struct FlatNode {
  std::string_view name;
  std::uint64_t size = 0;
  bool isFolder = false;
  Number firstChild = none;
  Number lastChild = none;
  Number nextSibling = none;
  Number children = 0;
};

struct FolderKey {
  Number parent;
  std::string_view name;

  friend bool operator==(const FolderKey&, const FolderKey&) = default;
};

/// A polynomial modulo 2^61-1 at a place that no archive knows, so that none can make its names collide.
class FolderHash {
 public:
  std::size_t operator()(const FolderKey& key) const {
    std::uint64_t hash = step(0, key.parent);
    for (const char byte : key.name) hash = step(hash, static_cast<std::uint8_t>(byte));
    return static_cast<std::size_t>(hash);
  }

 private:
  static constexpr std::uint64_t prime = (std::uint64_t{1} << 61) - 1;

  static std::uint64_t secret() {
    std::random_device device;
    return ((std::uint64_t{device()} << 32 | device()) % (prime - 1)) + 1;
  }
  std::uint64_t step(std::uint64_t hash, std::uint64_t value) const {
    __extension__ using Wide = unsigned __int128;
    return static_cast<std::uint64_t>((Wide{hash} * base_ + value + 1) % prime);
  }

  std::uint64_t base_ = secret();
};

/// The parts of a path that name something, or nothing when they are more than `depth`.
std::optional<std::vector<std::string_view>> partsOfPath(std::string_view path, std::size_t depth) {
  std::vector<std::string_view> parts;
  while (!path.empty()) {
    const std::string_view part = path.substr(0, path.find('/'));
    path.remove_prefix(std::min(part.size() + 1, path.size()));
    if (part.empty() || part == ".") continue;
    if (parts.size() == depth) return std::nullopt;
    parts.push_back(part);
  }
  return parts;
}

class TreeBuilder {
 public:
  TreeBuilder(std::size_t entries, const TreeBounds& bounds) : bounds_(bounds) {
    nodes_.reserve(entries + 1);
    nodes_.emplace_back();
  }

  void add(const Listing::Entry& entry) {
    const auto parts = partsOfPath(entry.path, bounds_.depth);
    if (parts && parts->empty()) return;
    // Counted as if every folder had to be made, so that an entry is taken whole or not at all.
    if (!parts || nodes_.size() + parts->size() > bounds_.nodes + 1 ||
        wireBytes_ + parts->size() * wireBytesOfNode + 2 * entry.path.size() > bounds_.wireBytes) {
      ++leftOut_;
      return;
    }
    Number parent = 0;
    for (std::size_t i = 0; i + 1 < parts->size(); ++i) parent = folder(parent, (*parts)[i]);
    if (entry.isFolder)
      folder(parent, parts->back());
    else
      append(parent, parts->back(), false, entry.size);
  }

  std::size_t leftOut() const { return leftOut_; }

  DTTreeNode tree(std::string_view archiveName) const {
    DTTreeNode root(DTArchiveEntry(readableText(archiveName), true, 0, 0));
    appendChildren(root, 0);
    return root;
  }

 private:
  Number folder(Number parent, std::string_view name) {
    const auto [place, isNew] = folders_.try_emplace({parent, name}, static_cast<Number>(nodes_.size()));
    if (isNew) append(parent, name, true, 0);
    return place->second;
  }

  void append(Number parent, std::string_view name, bool isFolder, std::uint64_t size) {
    const auto number = static_cast<Number>(nodes_.size());
    wireBytes_ += wireBytesOfNode + 2 * name.size();
    nodes_.push_back({.name = name, .size = size, .isFolder = isFolder});
    FlatNode& owner = nodes_[parent];
    if (owner.firstChild == none)
      owner.firstChild = number;
    else
      nodes_[owner.lastChild].nextSibling = number;
    owner.lastChild = number;
    ++owner.children;
  }

  // As deep as the bound on depth.
  void appendChildren(DTTreeNode& node, Number number) const {
    node.reserveChildren(nodes_[number].children);
    for (Number child = nodes_[number].firstChild; child != none; child = nodes_[child].nextSibling) {
      const FlatNode& flat = nodes_[child];
      appendChildren(node.appendChild(DTTreeNode(DTArchiveEntry(readableText(flat.name), flat.isFolder, child, flat.size))), child);
    }
  }

  TreeBounds bounds_;
  std::size_t wireBytes_ = 0;
  std::size_t leftOut_ = 0;
  std::vector<FlatNode> nodes_;
  std::unordered_map<FolderKey, Number, FolderHash> folders_;
};

}  // namespace

EntryTree treeOfListing(std::string_view archiveName, const Listing& listing, const TreeBounds& bounds) {
  TreeBuilder builder(std::min(listing.count(), bounds.nodes), bounds);
  for (std::size_t i = 0; i < listing.count(); ++i) builder.add(listing.entry(i));
  return {std::make_shared<const DTTreeNode>(builder.tree(archiveName)), builder.leftOut() + listing.leftOut};
}

std::optional<FoundEntry> entryAtIndexPath(const DTTreeNode& root, const platform::IndexPath& indexPath) {
  const DTTreeNode* node = &root;
  FoundEntry found{root.representedObject()->name().value_or(""), ""};
  for (const std::uint64_t index : indexPath.indexes) {
    if (index >= node->childNodes().size()) return std::nullopt;
    node = &node->childNodes()[index];
    found.name = node->representedObject()->name().value_or("");
    if (!found.path.empty()) found.path += '/';
    found.path += found.name;
  }
  return found;
}

std::size_t nodeCount(const DTTreeNode& root) {
  std::size_t count = root.childNodes().size();
  for (const DTTreeNode& child : root.childNodes()) count += nodeCount(child);
  return count;
}
