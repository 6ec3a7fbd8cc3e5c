// Bytes as they come from outside: a view that owns nothing and a buffer that owns itself.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace platform {

using Data = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

}  // namespace platform
