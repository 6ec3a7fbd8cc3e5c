// What the kernel tells of one file in one question, statx(2), and the error of a question that failed. A
// symbolic link is asked itself, never what it leads to; an automount point is not mounted for being asked.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>

#include "platform/FileIdentity.h"
#include "platform/Object.h"

namespace platform::native {

/// The platform's domain of errors whose code is an `errno`.
inline constexpr std::string_view POSIXErrorDomain = "NSPOSIXErrorDomain";

/// The error of an `errno`, described in the user's language.
Error posixError(int code);

/// A file's identity, 24 bytes: three unsigned numbers of 64 bits, the highest byte first.
///   0  device: its major number in the high 32 bits, its minor number in the low 32 bits
///   8  inode number
///  16  birth time in nanoseconds since 1970-01-01 00:00:00 UTC, modulo 2^64; all ones where the file
///      system keeps none
/// Programs in other languages make the same bytes (docs/host-protocol.md).
inline constexpr std::size_t identityLength = 24;

class FileStatus {
 public:
  static constexpr unsigned identityFields = STATX_INO | STATX_BTIME;
  static constexpr unsigned allFields = STATX_BASIC_STATS | STATX_BTIME | STATX_MNT_ID;

  /// Nothing on failure, with `errno` set.
  [[nodiscard]] static std::optional<FileStatus> ofPath(const char* path, unsigned fields = allFields);
  /// Of an entry of an open folder.
  [[nodiscard]] static std::optional<FileStatus> ofEntry(int folder, const char* name, unsigned fields = allFields);
  /// Of an open file, an `O_PATH` descriptor too.
  [[nodiscard]] static std::optional<FileStatus> ofDescriptor(int descriptor, unsigned fields = allFields);

  FileIdentity identity() const;
  bool isRegularFile() const { return S_ISREG(status_.stx_mode); }
  bool isDirectory() const { return S_ISDIR(status_.stx_mode); }
  bool isSymbolicLink() const { return S_ISLNK(status_.stx_mode); }
  bool isImmutable() const { return (status_.stx_attributes & STATX_ATTR_IMMUTABLE) != 0; }
  std::optional<Date> birthDate() const;
  Date modificationDate() const { return date(status_.stx_mtime); }
  Date changeDate() const { return date(status_.stx_ctime); }
  /// The number that /proc/self/mountinfo gives the mount, or nothing from a kernel that does not tell
  /// (before 5.8).
  std::optional<std::uint64_t> mountIdentifier() const;

 private:
  static Date date(const statx_timestamp& time);

  struct statx status_ {};
};

}  // namespace platform::native
