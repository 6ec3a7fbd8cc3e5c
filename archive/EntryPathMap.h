// What finds a chosen archive entry again: from the tag of its menu item to its index path in the tree that the host sent.
// Holds the tree that it points into, so it stays true when the tree is dropped or replaced elsewhere.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "archive/DTTreeNode.h"
#include "platform/IndexPath.h"
#include "platform/Object.h"

class EntryPathMap {
 public:
  /// Holds the root under the number 0: the archive's own item.
  explicit EntryPathMap(std::shared_ptr<const DTTreeNode> root);

  /// Notes a node of the tree under its number, in the place of an older one. Amortised constant time.
  void set(std::uint64_t number, const DTTreeNode& node) { pairs_.push_back({number, &node}); }
  /// The index path of the node under a number of the same value; made when it is asked for, once a choice of the user.
  std::optional<platform::IndexPath> indexPathForNumber(platform::Integer number) const;

 private:
  struct Pair {
    std::uint64_t number;
    const DTTreeNode* node;
  };

  std::shared_ptr<const DTTreeNode> root_;
  // In the order of their noting, as a menu of many entries notes them all and a choice looks up one.
  std::vector<Pair> pairs_;
};
