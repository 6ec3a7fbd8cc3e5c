// From a hash to the numbers of things that stand in an array of their owner's: what a hash table is beside its entries. Things
// are numbered from 0, without gaps. Those asked for in the order of their numbers are found without a look at the table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace platform {

class HashIndex {
 public:
  /// The number, among those added under the hash, for which `isWanted` holds. It may also be asked about a few others.
  template <typename IsWanted>
  std::optional<std::uint32_t> find(std::size_t hash, IsWanted isWanted) const {
    if (expected_ < count_ && isWanted(expected_)) return expected_++;
    if (slots_.empty()) return std::nullopt;
    const std::uint32_t tag = tagOf(hash);
    for (std::size_t at = home(tag); slots_[at].isTaken(); at = next(at)) {
      if (slots_[at].tag != tag || !isWanted(slots_[at].number())) continue;
      expected_ = slots_[at].number() + 1;
      return slots_[at].number();
    }
    return std::nullopt;
  }

  void add(std::size_t hash, std::uint32_t number) {
    if (slots_.size() < 2 * (count_ + 1)) grow();
    put({tagOf(hash), number + 1});
    ++count_;
  }

  /// Forgets a number that was added under the hash.
  void remove(std::size_t hash, std::uint32_t number) {
    std::size_t hole = slotOf(hash, number);
    // A later thing that would no longer be found from its home moves up.
    for (std::size_t at = next(hole); slots_[at].isTaken(); at = next(at)) {
      if (distance(home(slots_[at].tag), at) < distance(hole, at)) continue;
      slots_[hole] = std::exchange(slots_[at], {});
      hole = at;
    }
    slots_[hole] = {};
    --count_;
  }

  /// The thing that was added under the hash as `from` is called `to` from now on.
  void renumber(std::size_t hash, std::uint32_t from, std::uint32_t to) { slots_[slotOf(hash, from)].onePast = to + 1; }

  void clear() { *this = {}; }

 private:
  struct Slot {
    std::uint32_t tag = 0;
    std::uint32_t onePast = 0;  // the number plus one; 0 in a free slot

    bool isTaken() const { return onePast != 0; }
    std::uint32_t number() const { return onePast - 1; }
  };

  // The hash may be weak in its low bits, which choose the slot.
  static std::uint32_t tagOf(std::size_t hash) {
    return static_cast<std::uint32_t>(std::uint64_t{hash} * 0x9E3779B97F4A7C15u >> 32);
  }
  std::size_t home(std::uint32_t tag) const { return tag & (slots_.size() - 1); }
  std::size_t next(std::size_t at) const { return (at + 1) & (slots_.size() - 1); }
  std::size_t distance(std::size_t from, std::size_t to) const { return (to - from) & (slots_.size() - 1); }

  std::size_t slotOf(std::size_t hash, std::uint32_t number) const {
    std::size_t at = home(tagOf(hash));
    while (slots_[at].onePast != number + 1) at = next(at);
    return at;
  }
  void put(Slot slot) {
    std::size_t at = home(slot.tag);
    while (slots_[at].isTaken()) at = next(at);
    slots_[at] = slot;
  }
  void grow() {
    std::vector<Slot> old(std::max<std::size_t>(16, 2 * slots_.size()));
    old.swap(slots_);
    for (const Slot& slot : old) {
      if (slot.isTaken()) put(slot);
    }
  }

  std::vector<Slot> slots_;  // open addressing; a power of two of them, half of them free at least
  std::size_t count_ = 0;
  mutable std::uint32_t expected_ = 0;
};

}  // namespace platform
