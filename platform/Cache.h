// A key-value cache that may lose entries at any time (Cocoa's NSCache); every reader treats a lost entry as missing.
// This one keeps what it is given until it is told otherwise. Main thread only.
#pragma once

#include <cstddef>
#include <unordered_map>
#include <utility>

namespace platform {

template <typename Key, typename Value>
class Cache {
 public:
  /// The value, or null when there is none. Valid until the next change of the cache.
  const Value* objectForKey(const Key& key) const {
    const auto found = objects_.find(key);
    return found == objects_.end() ? nullptr : &found->second;
  }
  void setObject(Value value, const Key& key) { objects_.insert_or_assign(key, std::move(value)); }
  void removeObjectForKey(const Key& key) { objects_.erase(key); }
  void removeAllObjects() { objects_.clear(); }
  std::size_t count() const { return objects_.size(); }

 private:
  std::unordered_map<Key, Value> objects_;
};

}  // namespace platform
