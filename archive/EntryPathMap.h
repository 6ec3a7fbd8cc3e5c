// What finds a chosen archive entry again: from the tag of its menu item to its index path in the tree that the host sent.
// Holds the tree that it points into, so it stays true when the tree is dropped or replaced elsewhere.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

#include "archive/DTTreeNode.h"
#include "platform/IndexPath.h"
#include "platform/Object.h"

class EntryPathMap {
 public:
  /// Holds the root under the number 0: the archive's own item.
  explicit EntryPathMap(std::shared_ptr<const DTTreeNode> root);

  /// Notes a node of the tree under its number, in the place of an older one. Amortised constant time.
  void set(std::uint64_t number, const DTTreeNode& node);
  /// The index path of the node under a number of the same value; made when it is asked for.
  std::optional<platform::IndexPath> indexPathForNumber(platform::Integer number) const;

 private:
  std::shared_ptr<const DTTreeNode> root_;
  // Hosts number entries from 1 upwards: those stand in a table, any others in a map.
  std::vector<const DTTreeNode*> table_;
  std::unordered_map<std::uint64_t, const DTTreeNode*> others_;
};
