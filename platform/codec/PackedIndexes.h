// How a keyed archive packs an index path of two levels and more: each index as an unsigned little-endian number of base
// 128, lowest group first, the high bit set on all its bytes but the last (LEB128, DWARF 5 section 7.6).
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "platform/Bytes.h"

namespace platform {

Data packedIndexes(const std::vector<std::uint64_t>& indexes);

/// Nothing unless the bytes hold exactly `count` complete numbers of 64 bits at most.
std::optional<std::vector<std::uint64_t>> unpackedIndexes(ByteView bytes, std::uint64_t count);

}  // namespace platform
