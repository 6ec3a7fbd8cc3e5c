#include "platform/codec/PackedIndexes.h"

#include <algorithm>

namespace platform {
namespace {

bool isLast(std::uint8_t byte) { return byte < 0x80; }

// Takes one number off the front of `bytes`, which hold its last byte somewhere.
std::optional<std::uint64_t> takeIndex(ByteView& bytes) {
  constexpr unsigned mostBytes = 10;
  std::uint64_t index = 0;
  for (unsigned i = 0; i < mostBytes; ++i) {
    const std::uint8_t byte = bytes[i];
    if (i == mostBytes - 1 && byte > 1) return std::nullopt;
    index |= std::uint64_t{byte & 0x7fu} << (7 * i);
    if (!isLast(byte)) continue;
    bytes = bytes.subspan(i + 1);
    return index;
  }
  return std::nullopt;
}

}  // namespace

Data packedIndexes(const std::vector<std::uint64_t>& indexes) {
  Data bytes;
  for (std::uint64_t index : indexes) {
    for (; index >= 0x80; index >>= 7) bytes.push_back(static_cast<std::uint8_t>(index | 0x80));
    bytes.push_back(static_cast<std::uint8_t>(index));
  }
  return bytes;
}

std::optional<std::vector<std::uint64_t>> unpackedIndexes(ByteView bytes, std::uint64_t count) {
  const auto complete = static_cast<std::uint64_t>(std::count_if(bytes.begin(), bytes.end(), isLast));
  if (complete != count || (!bytes.empty() && !isLast(bytes.back()))) return std::nullopt;
  std::vector<std::uint64_t> indexes;
  indexes.reserve(count);
  while (!bytes.empty()) {
    const auto index = takeIndex(bytes);
    if (!index) return std::nullopt;
    indexes.push_back(*index);
  }
  return indexes;
}

}  // namespace platform
