#include "core/URLSet.h"

bool URLSet::insert(const platform::URL& url, const platform::FileIdentity& identity, platform::FileManager& fileManager) {
  const std::size_t hash = url.hash();
  const auto isEqual = [&](std::uint32_t member) {
    if (hashes_[member] != hash) return false;
    // The same text names the same file, and that it exists the caller has just seen: no need to ask for it again.
    return urls_[member].isSameText(url) || fileManager.fileResourceIdentifier(urls_[member]) == identity;
  };
  if (index_.find(hash, isEqual)) return false;
  index_.add(hash, static_cast<std::uint32_t>(urls_.size()));
  urls_.push_back(url);
  hashes_.push_back(hash);
  return true;
}
