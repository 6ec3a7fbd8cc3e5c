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
  shape.bytes_.assign(list.bytes_, list.table_ + list.tableSize() + PropertyListReader::trailerLength);
  shape.table_ = static_cast<std::size_t>(list.table_ - list.bytes_);
  shape.offsetSize_ = list.offsetSize_;
  if (!shape.learnObjects(list, scalars) || !shape.learnGaps(scalars)) return std::nullopt;
  shape.learnRuns(list);
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
    extents.emplace_back(start, end);
    const bool isOne = std::find(scalars.begin(), scalars.end(), object) != scalars.end();
    if (isOne && !isScalarToVary(item)) return false;
    if (isOne) gaps_.push_back({start, end, object, 0, item.isString()});
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
    const auto first = static_cast<std::size_t>(std::find(scalars.begin(), scalars.end(), scalars[i]) - scalars.begin());
    if (first == i)
      gap->scalar = i;
    else
      repeated_.emplace_back(i, first);
  }
  return true;
}

void PropertyListShape::learnRuns(const PropertyListReader& list) {
  for (std::uint64_t object = 0; object < list.count_; ++object) {
    const auto offset = static_cast<std::size_t>(list.position(object) - list.bytes_);
    const auto gapsBefore =
        static_cast<std::size_t>(std::count_if(gaps_.begin(), gaps_.end(), [&](const Gap& gap) { return gap.start < offset; }));
    if (runs_.empty() || runs_.back().gapsBefore != gapsBefore) runs_.push_back({0, gapsBefore});
    ++runs_.back().count;
  }
}

// Sizes, the number of objects and the top object are those learned, and the table stands where all of them say.
bool PropertyListShape::hasSameTrailer(ByteView bytes) const {
  constexpr std::size_t unused = 6, position = 24;
  const std::uint8_t* trailer = bytes.data() + bytes.size() - PropertyListReader::trailerLength;
  const std::uint8_t* learned = bytes_.data() + bytes_.size() - PropertyListReader::trailerLength;
  const std::size_t table = bytes.size() - (bytes_.size() - table_);
  return std::memcmp(trailer + unused, learned + unused, position - unused) == 0 &&
         PropertyListReader::number(trailer + position, 8) == table && PropertyListReader::fits(table, offsetSize_);
}

bool PropertyListShape::hasSameOffsets(const std::uint8_t* table, const Shifts& shifts) const {
  const std::uint8_t* learned = bytes_.data() + table_;
  for (const Run& run : runs_) {
    const std::size_t size = run.count * offsetSize_;
    if (!areShifted(table, learned, size, shifts[run.gapsBefore])) return false;
    table += size;
    learned += size;
  }
  return true;
}

bool PropertyListShape::areShifted(const std::uint8_t* offsets, const std::uint8_t* learned, std::size_t size,
                                   std::ptrdiff_t shift) const {
  if (shift == 0) return std::memcmp(offsets, learned, size) == 0;
  const auto difference = [&](std::size_t at, unsigned width) {
    return PropertyListReader::number(offsets + at, width) - PropertyListReader::number(learned + at, width);
  };
  const auto one = static_cast<std::uint64_t>(shift);
  std::size_t at = 0;
  if (offsetSize_ != 2) {
    while (at < size && difference(at, offsetSize_) == one) at += offsetSize_;
    return at == size;
  }
  // Four of the usual size at once. Each sum is a place ahead of the table and fits its two bytes, so none carries into another.
  while (at + 8 <= size && difference(at, 8) == one * 0x0001'0001'0001'0001) at += 8;
  while (at < size && difference(at, 2) == one) at += 2;
  return at == size;
}

bool PropertyListShape::matches(ByteView bytes, std::span<PropertyListItem> items) const {
  const std::size_t rest = bytes_.size() - table_;
  if (bytes.size() < rest) return false;
  PropertyListReader list;
  list.bytes_ = bytes.data();
  list.table_ = bytes.data() + bytes.size() - rest;
  const std::size_t length = bytes.size() - rest;
  std::size_t learned = 0, here = 0;  // how far both are compared
  const auto isSameUntil = [&](std::size_t end) {
    const std::size_t count = end - learned;
    if (count > length - here || std::memcmp(bytes_.data() + learned, list.bytes_ + here, count) != 0) return false;
    learned = end;
    here += count;
    return true;
  };
  Shifts shifts;
  shifts[0] = 0;
  for (std::size_t i = 0; i < gaps_.size(); ++i) {
    PropertyListItem& item = items[gaps_[i].scalar];
    if (!isSameUntil(gaps_[i].start) || here == length) return false;
    const std::uint8_t* end = list.readScalar(list.bytes_ + here, item);
    if (!end || item.isString() != gaps_[i].isString) return false;
    here = static_cast<std::size_t>(end - list.bytes_);
    learned = gaps_[i].end;
    shifts[i + 1] = static_cast<std::ptrdiff_t>(here) - static_cast<std::ptrdiff_t>(learned);
  }
  if (!isSameUntil(table_) || here != length) return false;
  if (!hasSameTrailer(bytes) || !hasSameOffsets(list.table_, shifts)) return false;
  for (const auto& [scalar, first] : repeated_) items[scalar] = items[first];
  return true;
}

}  // namespace platform
