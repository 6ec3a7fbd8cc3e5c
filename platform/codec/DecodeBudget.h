// What decoding one archive may cost, set before its first object is looked at: the bounds of docs/host-protocol.md.
// An archive may refer to one object from many places, so a few bytes can ask for any amount of work; each use of an object
// is therefore paid for, in bytes looked at and bytes of memory made, out of an account in proportion to the archive.
#pragma once

#include <cstddef>

namespace platform {

/// Levels of objects inside one another in one archive, collections and instances alike. Cycles end here too.
inline constexpr unsigned maximumObjectDepth = 512;
/// Levels of archives inside archives: a tree's levels below its root.
inline constexpr unsigned maximumArchiveDepth = 4096;
/// Bytes of one archive.
inline constexpr std::size_t maximumArchiveLength = std::size_t{1} << 30;

class DecodeBudget {
 public:
  /// Every archive may cost this much, whatever its length, and three times its length on top.
  static constexpr std::size_t allowance = std::size_t{32} << 20;
  /// What one use of any object costs, and what one that is an instance of a class costs on top.
  static constexpr std::size_t costOfObject = 16;
  static constexpr std::size_t costOfInstance = 128;

  explicit DecodeBudget(std::size_t archiveLength) : left_(allowance + 3 * archiveLength) {}

  /// False once the account is overdrawn, and for ever after.
  bool spend(std::size_t amount) {
    if (amount > left_) {
      left_ = 0;
      isExhausted_ = true;
    } else {
      left_ -= amount;
    }
    return !isExhausted_;
  }
  /// For `count` things of `size` bytes, where `count` comes from outside.
  bool spend(std::size_t count, std::size_t size) { return spend(count > left_ / size ? left_ + 1 : count * size); }
  bool isExhausted() const { return isExhausted_; }

  /// Goes one object deeper. False, and as deep as before, at the bound; nothing can be decoded then.
  bool enter() {
    if (depthLeft_ == 0) isExhausted_ = true;
    if (isExhausted_) return false;
    --depthLeft_;
    return true;
  }
  void leave() { ++depthLeft_; }

  /// How many archives stand around the one being read. Kept by whoever reads archives inside archives, so that a nest
  /// which goes on inside an object of one of them is counted as a whole.
  unsigned archiveDepth() const { return archiveDepth_; }
  void setArchiveDepth(unsigned depth) { archiveDepth_ = depth; }

 private:
  std::size_t left_;
  unsigned depthLeft_ = maximumObjectDepth;
  unsigned archiveDepth_ = 0;
  bool isExhausted_ = false;
};

}  // namespace platform
