// Looks for a file that left its path: in what is left of the folders above it, and around them.
#pragma once

#include <optional>
#include <string>

#include "platform/FileIdentity.h"

namespace platform::native {

/// Whether both are of the same file. The device number is left aside where a birth time tells enough: it
/// changes when a volume is mounted again.
bool isSameFile(const FileIdentity& a, const FileIdentity& b);

/// The path of the file of that identity within two levels of the deepest folder above `formerPath` that is
/// still there, then of the two folders above that one. Stays on the volume, follows no symbolic link, and
/// gives up after 20,000 entries.
[[nodiscard]] std::optional<std::string> pathNearby(const std::string& formerPath, const FileIdentity& identity);

}  // namespace platform::native
