// How one property list stands in its bytes, but for a few scalars. Lists that come in great number and differ in those alone, such
// as the archives of a tree's files, are compared with the first of their kind instead of being taken apart one by one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/Bytes.h"
#include "platform/codec/PropertyListReader.h"

namespace platform {

class PropertyListShape {
 public:
  static constexpr std::size_t mostScalars = 8;
  /// Objects of a list that is worth the room.
  static constexpr std::size_t mostObjects = 256;

  /// The shape of `list` where the objects of the numbers `scalars`, strings and integers, may be others of their kind. Nothing when
  /// one of them is of another kind or referred to more than once, when objects overlap, or for a list of many objects.
  static std::optional<PropertyListShape> of(const PropertyListReader& list, std::span<const std::uint64_t> scalars);

  /// Whether `bytes` are a property list of this shape: the same objects under the same numbers in the same order, all equal but
  /// for the scalars, which are put into `items` in the order of `scalars`. False also for a list that no reader would open; `items`
  /// hold anything then.
  bool matches(ByteView bytes, std::span<PropertyListItem> items) const;

 private:
  // A scalar's place in the bytes learned from. What stands before, between and behind them is the same in each list.
  struct Gap {
    std::size_t start = 0;
    std::size_t end = 0;
    std::uint64_t object = 0;
    std::size_t scalar = 0;
    bool isString = false;
  };
  // Objects of adjoining numbers that stand between the same two gaps: their offsets differ from those learned by one amount.
  struct Run {
    std::size_t count = 0;
    std::size_t gapsBefore = 0;
  };
  // By how much the places behind each gap differ from those learned. The first is before all gaps: 0.
  using Shifts = std::array<std::ptrdiff_t, mostScalars + 1>;

  PropertyListShape() = default;
  bool learnObjects(const PropertyListReader& list, std::span<const std::uint64_t> scalars);
  bool learnGaps(std::span<const std::uint64_t> scalars);
  void learnRuns(const PropertyListReader& list);
  bool hasSameTrailer(ByteView bytes) const;
  bool hasSameOffsets(const std::uint8_t* table, const Shifts& shifts) const;
  bool areShifted(const std::uint8_t* offsets, const std::uint8_t* learned, std::size_t size, std::ptrdiff_t shift) const;

  Data bytes_;             // the list learned from
  std::size_t table_ = 0;  // where its offset table starts
  unsigned offsetSize_ = 0;
  std::vector<Gap> gaps_;  // in the order in which they stand
  std::vector<Run> runs_;
  std::vector<std::pair<std::size_t, std::size_t>> repeated_;  // scalars that are one object with an earlier one
};

}  // namespace platform
