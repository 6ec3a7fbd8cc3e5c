// The trees that the host has sent, by the identity of the archive, so that an index path of a later request finds its
// entry. Bounded: the trees longest unused are forgotten first.
#pragma once

#include <cstddef>
#include <list>
#include <memory>
#include <unordered_map>

#include "archive/DTTreeNode.h"
#include "platform/FileIdentity.h"

class SentTrees {
 public:
  /// `nodes` bounds the nodes of all trees together; the newest tree is kept whatever its size.
  explicit SentTrees(std::size_t nodes = 2'000'000) : bound_(nodes) {}

  /// Takes the place of an earlier tree of the same file.
  void remember(const platform::FileIdentity& archive, std::shared_ptr<const DTTreeNode> tree);
  /// The tree, which now counts as the newest, or null when there is none.
  std::shared_ptr<const DTTreeNode> treeOf(const platform::FileIdentity& archive);
  std::size_t count() const { return trees_.size(); }

 private:
  struct Sent {
    platform::FileIdentity archive;
    std::shared_ptr<const DTTreeNode> tree;
    std::size_t nodes;
  };

  void forget(std::list<Sent>::iterator sent);

  const std::size_t bound_;
  std::size_t nodes_ = 0;
  std::list<Sent> trees_;  ///< The newest first.
  std::unordered_map<platform::FileIdentity, std::list<Sent>::iterator> places_;
};
