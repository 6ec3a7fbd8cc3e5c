// The desktop's list of recently used files (freedesktop.org, Desktop Bookmarks, recently-used.xbel).
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Object.h"

namespace platform::native {

/// Where the desktop keeps the list of this user: $XDG_DATA_HOME/recently-used.xbel.
std::string recentlyUsedListPath();

/// When a program last opened the file, by the list at `listPath`. Nothing when the list does not name the
/// file, cannot be read, is no such list or is longer than 8 MiB. The list is read anew each time.
[[nodiscard]] std::optional<Date> lastUsedDate(const std::string& listPath, std::string_view path);

}  // namespace platform::native
