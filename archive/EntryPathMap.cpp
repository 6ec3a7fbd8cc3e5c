#include "archive/EntryPathMap.h"

#include <algorithm>

EntryPathMap::EntryPathMap(std::shared_ptr<const DTTreeNode> root) : root_(std::move(root)) { set(0, *root_); }

std::optional<platform::IndexPath> EntryPathMap::indexPathForNumber(platform::Integer number) const {
  if (number.isNegative) return std::nullopt;
  const auto latest = std::find_if(pairs_.rbegin(), pairs_.rend(), [&](const Pair& pair) { return pair.number == number.bits; });
  return latest == pairs_.rend() ? std::nullopt : std::optional(latest->node->indexPath());
}
