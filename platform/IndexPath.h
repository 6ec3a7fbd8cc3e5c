// The position of a node in a tree: one child index per level below the root, none for the root itself.
#pragma once

#include <cstdint>
#include <vector>

namespace platform {

struct IndexPath {
  std::vector<std::uint64_t> indexes;

  friend bool operator==(const IndexPath&, const IndexPath&) = default;
};

}  // namespace platform
