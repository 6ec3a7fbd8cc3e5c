// A key-value cache that may lose entries at any time (Cocoa's NSCache); every reader treats a lost entry as missing.
// This one keeps what it is given until it is told otherwise. Main thread only.
#pragma once

#include <cstddef>
#include <functional>
#include <utility>
#include <vector>

#include "platform/HashIndex.h"

namespace platform {

template <typename Key, typename Value>
class Cache {
 public:
  /// The value, or null when there is none. Valid until the next change of the cache.
  const Value* objectForKey(const Key& key) const {
    const auto found = find(key);
    return found ? &entries_[*found].second : nullptr;
  }
  void setObject(Value value, const Key& key) {
    if (const auto found = find(key)) {
      entries_[*found].second = std::move(value);
      return;
    }
    index_.add(hash(key), static_cast<std::uint32_t>(entries_.size()));
    entries_.emplace_back(key, std::move(value));
  }
  void removeObjectForKey(const Key& key) {
    const auto found = find(key);
    if (!found) return;
    index_.remove(hash(key), *found);
    // The last one fills the gap.
    const auto last = static_cast<std::uint32_t>(entries_.size() - 1);
    if (*found != last) {
      index_.renumber(hash(entries_[last].first), last, *found);
      std::swap(entries_[*found], entries_[last]);
    }
    entries_.pop_back();
  }
  void removeAllObjects() {
    index_.clear();
    entries_ = {};
  }
  std::size_t count() const { return entries_.size(); }

 private:
  static std::size_t hash(const Key& key) { return std::hash<Key>()(key); }
  std::optional<std::uint32_t> find(const Key& key) const {
    return index_.find(hash(key), [&](std::uint32_t number) { return entries_[number].first == key; });
  }

  // In the order of their arrival, mostly the order in which they are asked for again.
  std::vector<std::pair<Key, Value>> entries_;
  HashIndex index_;
};

}  // namespace platform
