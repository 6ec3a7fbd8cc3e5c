#include "archive/EntryPathMap.h"

namespace {

// How far a number may lie beyond the table's end for the table to grow up to it.
constexpr std::uint64_t maximumGap = 64;

}  // namespace

EntryPathMap::EntryPathMap(std::shared_ptr<const DTTreeNode> root) : root_(std::move(root)) { set(0, *root_); }

void EntryPathMap::set(std::uint64_t number, const DTTreeNode& node) {
  if (number >= table_.size()) {
    if (number - table_.size() > maximumGap) {
      others_.insert_or_assign(number, &node);
      return;
    }
    table_.resize(number + 1);
    others_.erase(number);
  }
  table_[number] = &node;
}

std::optional<platform::IndexPath> EntryPathMap::indexPathForNumber(platform::Integer number) const {
  if (number.isNegative) return std::nullopt;
  const DTTreeNode* node = number.bits < table_.size() ? table_[number.bits] : nullptr;
  if (!node) {
    const auto found = others_.find(number.bits);
    if (found != others_.end()) node = found->second;
  }
  return node ? std::optional(node->indexPath()) : std::nullopt;
}
