#include "core/URLSet.h"

namespace {

// The text's hash may be weak in its low bits, which choose the slot.
std::size_t mixed(std::size_t hash) {
  hash *= 0x9E3779B97F4A7C15u;
  return hash ^ hash >> 32;
}

}  // namespace

bool URLSet::insert(const platform::URL& url, const platform::FileIdentity& identity,
                    platform::FileManager& fileManager) {
  if (slots_.size() < 2 * (urls_.size() + 1)) grow();
  const std::size_t hash = mixed(url.hash());
  const std::size_t slot = slotFor(hash, url, identity, fileManager);
  if (slots_[slot] != 0) return false;
  urls_.push_back(url);
  hashes_.push_back(hash);
  slots_[slot] = static_cast<std::uint32_t>(urls_.size());
  return true;
}

// The slot of the equal member, or the free one where it would stand.
std::size_t URLSet::slotFor(std::size_t hash, const platform::URL& url, const platform::FileIdentity& identity,
                            platform::FileManager& fileManager) const {
  std::size_t slot = hash & (slots_.size() - 1);
  for (; slots_[slot] != 0; slot = (slot + 1) & (slots_.size() - 1)) {
    const std::size_t member = slots_[slot] - 1;
    if (hashes_[member] != hash) continue;
    // The same text names the same file, and that it exists the caller has just seen: no need to ask for it again.
    if (urls_[member].isSameText(url) || fileManager.fileResourceIdentifier(urls_[member]) == identity) break;
  }
  return slot;
}

void URLSet::grow() {
  slots_.assign(slots_.empty() ? 16 : 2 * slots_.size(), 0);
  for (std::size_t member = 0; member < urls_.size(); ++member) {
    std::size_t slot = hashes_[member] & (slots_.size() - 1);
    while (slots_[slot] != 0) slot = (slot + 1) & (slots_.size() - 1);
    slots_[slot] = static_cast<std::uint32_t>(member + 1);
  }
}
