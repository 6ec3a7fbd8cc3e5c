// Hash tables by text: look-ups by a piece of text without a copy of it.
#pragma once

#include <cstddef>
#include <functional>
#include <string_view>

namespace platform {

struct TextHash {
  using is_transparent = void;
  std::size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

}  // namespace platform
