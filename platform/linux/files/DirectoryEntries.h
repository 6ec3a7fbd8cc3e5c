// A folder's direct entries as the kernel lists them.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/linux/Descriptor.h"

namespace platform::native {

/// Walks the entries of one folder once, hidden ones included, without "." and "..", in the order of
/// getdents64(2).
class DirectoryEntries {
 public:
  struct Entry {
    std::string_view name;  ///< Bytes, ended by NUL; valid until the next entry is asked for.
    std::uint64_t inode;    ///< Of a mount point, the folder below the mount.
    bool isDirectory;       ///< False too where the file system does not tell while listing.
  };

  /// A final symbolic link is followed. Nothing with `errno` set when the folder cannot be opened for
  /// listing.
  [[nodiscard]] static std::optional<DirectoryEntries> ofFolder(const char* path);

  /// The next entry, or nothing at the end. Reading that fails midway ends the walk, and `hasFailed` tells
  /// so.
  std::optional<Entry> next();
  bool hasFailed() const { return hasFailed_; }

  /// The folder itself.
  int descriptor() const { return folder_.get(); }

 private:
  explicit DirectoryEntries(Descriptor folder);
  bool fill();

  Descriptor folder_;
  std::unique_ptr<char[]> buffer_;
  std::size_t filled_ = 0;
  std::size_t at_ = 0;
  bool hasFailed_ = false;
};

}  // namespace platform::native
