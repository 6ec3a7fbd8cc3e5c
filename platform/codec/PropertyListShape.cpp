#include "platform/codec/PropertyListShape.h"

#include <algorithm>
#include <cstring>

namespace platform {
namespace {

bool isScalarToVary(const PropertyListItem& item) { return item.isString() || item.kind == PropertyListKind::Integer; }

std::size_t referencesOf(const PropertyListItem& item) {
  if (item.kind == PropertyListKind::Dictionary) return 2 * item.count;
  return item.kind == PropertyListKind::Array || item.kind == PropertyListKind::Set ? item.count : 0;
}

}  // namespace

std::optional<PropertyListShape> PropertyListShape::of(const PropertyListReader& list, std::span<const std::uint64_t> scalars) {
  if (scalars.size() > mostScalars || list.count_ > mostObjects) return std::nullopt;
  PropertyListShape shape;
  shape.bytes_.assign(list.bytes_, list.table_);
  shape.offsetSize_ = list.offsetSize_;
  shape.referenceSize_ = list.referenceSize_;
  shape.top_ = list.top_;
  if (!shape.learnObjects(list, scalars) || !shape.learnGaps(scalars)) return std::nullopt;
  shape.learnRuns();
  return shape;
}

// Looks at every object once: where it stands, whether it is one of the scalars, and which of them it refers to.
bool PropertyListShape::learnObjects(const PropertyListReader& list, std::span<const std::uint64_t> scalars) {
  std::vector<std::pair<std::size_t, std::size_t>> extents;
  std::vector<unsigned> references(list.count_);
  ++references[list.top_];
  for (std::uint64_t object = 0; object < list.count_; ++object) {
    PropertyListItem item;
    if (!list.read(object, item)) return false;
    const std::uint8_t* at = list.position(object);
    const auto start = static_cast<std::size_t>(at - list.bytes_), end = static_cast<std::size_t>(list.end(at, item) - list.bytes_);
    offsets_.push_back(start);
    extents.emplace_back(start, end);
    const bool isOne = std::find(scalars.begin(), scalars.end(), object) != scalars.end();
    if (isOne && !isScalarToVary(item)) return false;
    if (isOne) gaps_.push_back({start, end, object, item.isString()});
    for (std::size_t i = 0; i < referencesOf(item); ++i) {
      const std::uint64_t to = list.reference(item, i);
      if (to >= list.count_) return false;
      ++references[to];
    }
  }
  std::sort(extents.begin(), extents.end());
  for (std::size_t i = 1; i < extents.size(); ++i) {
    if (extents[i - 1].second > extents[i].first) return false;
  }
  return std::all_of(scalars.begin(), scalars.end(), [&](std::uint64_t object) { return references[object] == 1; });
}

bool PropertyListShape::learnGaps(std::span<const std::uint64_t> scalars) {
  std::sort(gaps_.begin(), gaps_.end(), [](const Gap& a, const Gap& b) { return a.start < b.start; });
  for (std::size_t i = 0; i < scalars.size(); ++i) {
    const auto gap = std::find_if(gaps_.begin(), gaps_.end(), [&](const Gap& one) { return one.object == scalars[i]; });
    if (gap == gaps_.end()) return false;
    gapOfScalar_[i] = static_cast<std::size_t>(gap - gaps_.begin());
  }
  return true;
}

void PropertyListShape::learnRuns() {
  for (const std::size_t offset : offsets_) {
    const auto gapsBefore =
        static_cast<std::size_t>(std::count_if(gaps_.begin(), gaps_.end(), [&](const Gap& gap) { return gap.start < offset; }));
    if (runs_.empty() || runs_.back().gapsBefore != gapsBefore) runs_.push_back({0, gapsBefore});
    ++runs_.back().count;
  }
}

bool PropertyListShape::hasSameForm(const PropertyListReader& list) const {
  return list.count_ == offsets_.size() && list.top_ == top_ && list.offsetSize_ == offsetSize_ &&
         list.referenceSize_ == referenceSize_;
}

bool PropertyListShape::hasSameOffsets(const PropertyListReader& list, const Shifts& shifts) const {
  const auto areSame = [&](auto numberAt) {
    const std::size_t* learned = offsets_.data();
    const std::uint8_t* at = list.table_;
    std::uint64_t difference = 0;
    for (const Run& run : runs_) {
      const auto shift = static_cast<std::uint64_t>(shifts[run.gapsBefore]);
      for (std::size_t i = 0; i < run.count; ++i) difference |= numberAt(at + i * offsetSize_) ^ (learned[i] + shift);
      learned += run.count;
      at += run.count * offsetSize_;
    }
    return difference == 0;
  };
  // The usual size has a loop of its own.
  if (offsetSize_ == 2) return areSame([](const std::uint8_t* at) { return std::uint64_t{at[0]} << 8 | at[1]; });
  return areSame([&](const std::uint8_t* at) { return PropertyListReader::number(at, offsetSize_); });
}

bool PropertyListShape::matches(ByteView bytes, std::span<PropertyListItem> items) const {
  PropertyListReader list;
  if (bytes.size() < PropertyListReader::smallestLength) return false;
  list.bytes_ = bytes.data();
  if (!list.readTrailer(bytes.size()) || !hasSameForm(list)) return false;
  const auto length = static_cast<std::size_t>(list.table_ - list.bytes_);
  std::size_t learned = 0, here = 0;  // how far both are compared
  const auto isSameUntil = [&](std::size_t end) {
    const std::size_t count = end - learned;
    if (count > length - here || std::memcmp(bytes_.data() + learned, list.bytes_ + here, count) != 0) return false;
    learned = end;
    here += count;
    return true;
  };
  std::array<PropertyListItem, mostScalars> found;
  Shifts shifts{};
  for (std::size_t i = 0; i < gaps_.size(); ++i) {
    if (!isSameUntil(gaps_[i].start) || here == length) return false;
    const std::uint8_t* at = list.bytes_ + here;
    if (!list.readAt(at, found[i]) || !isScalarToVary(found[i]) || found[i].isString() != gaps_[i].isString) return false;
    here = static_cast<std::size_t>(list.end(at, found[i]) - list.bytes_);
    learned = gaps_[i].end;
    shifts[i + 1] = static_cast<std::ptrdiff_t>(here) - static_cast<std::ptrdiff_t>(learned);
  }
  if (!isSameUntil(bytes_.size()) || here != length || !hasSameOffsets(list, shifts)) return false;
  for (std::size_t i = 0; i < items.size(); ++i) items[i] = found[gapOfScalar_[i]];
  return true;
}

}  // namespace platform
