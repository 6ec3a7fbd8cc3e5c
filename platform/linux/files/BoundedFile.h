// Small files of the desktop, read whole.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace platform::native {

/// The contents of a regular file of at most `maximumLength` bytes; nothing for a longer one, another kind (a
/// FIFO is not waited for) or one that cannot be read.
[[nodiscard]] std::optional<std::string> contentsOfFile(const char* path, std::size_t maximumLength);

}  // namespace platform::native
