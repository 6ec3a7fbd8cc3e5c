#include "host/SentTrees.h"

#include <iterator>

#include "host/EntryTree.h"

void SentTrees::remember(const platform::FileIdentity& archive, std::shared_ptr<const DTTreeNode> tree) {
  if (const auto old = places_.find(archive); old != places_.end()) forget(old->second);
  const std::size_t nodes = nodeCount(*tree) + 1;
  trees_.push_front({archive, std::move(tree), nodes});
  places_[archive] = trees_.begin();
  nodes_ += nodes;
  while (nodes_ > bound_ && trees_.size() > 1) forget(std::prev(trees_.end()));
}

std::shared_ptr<const DTTreeNode> SentTrees::treeOf(const platform::FileIdentity& archive) {
  const auto place = places_.find(archive);
  if (place == places_.end()) return nullptr;
  trees_.splice(trees_.begin(), trees_, place->second);
  return place->second->tree;
}

void SentTrees::forget(std::list<Sent>::iterator sent) {
  nodes_ -= sent->nodes;
  places_.erase(sent->archive);
  trees_.erase(sent);
}
