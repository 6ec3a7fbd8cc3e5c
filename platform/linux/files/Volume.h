// Facts about the mounted file system that holds a file.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace platform::native {

/// The folder that a mount covers, by the number that statx(2) gives the mount; from /proc/self/mountinfo
/// (proc(5)). Nothing with `errno` set when the mount is not in this process's view.
[[nodiscard]] std::optional<std::string> mountPoint(std::uint64_t mountIdentifier);

/// The same in a text of that form.
[[nodiscard]] std::optional<std::string> mountPointIn(std::istream& mounts, std::uint64_t mountIdentifier);

/// Whether nothing can be written there: the file system or its mount is read-only. Nothing with `errno` set
/// on failure.
std::optional<bool> isVolumeReadOnly(const char* path);

/// Whether names that differ in letter case alone name different files: false for the file systems that come
/// from systems where they do not (FAT, exFAT, HFS+, SMB). A folder made case-insensitive on a volume that is
/// not does not count.
std::optional<bool> hasVolumeCaseSensitiveNames(const char* path);
/// The same by the number of the file system's kind (statfs(2)).
bool isCaseSensitive(std::uint32_t fileSystemMagic);

}  // namespace platform::native
