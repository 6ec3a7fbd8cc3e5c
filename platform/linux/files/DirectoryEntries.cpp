#include "platform/linux/files/DirectoryEntries.h"

#include <dirent.h>
#include <fcntl.h>

#include <cstddef>
#include <cstring>

namespace platform::native {
namespace {

// glibc's readdir asks for 32 KiB a time; a longer answer is no faster.
constexpr std::size_t bufferSize = 64 * 1024;

// The layout of getdents64(2), which glibc's dirent64 shares but for the bound it puts on the name.
struct KernelEntry {
  std::uint64_t inode;
  std::int64_t offset;
  std::uint16_t length;
  std::uint8_t kind;
};
constexpr std::size_t nameOffset = offsetof(KernelEntry, kind) + 1;

bool isFolderItselfOrParent(std::string_view name) { return name == "." || name == ".."; }

}  // namespace

std::optional<DirectoryEntries> DirectoryEntries::ofFolder(const char* path) {
  Descriptor folder(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return std::nullopt;
  return DirectoryEntries(std::move(folder));
}

DirectoryEntries::DirectoryEntries(Descriptor folder) : folder_(std::move(folder)), buffer_(std::make_unique<char[]>(bufferSize)) {}

bool DirectoryEntries::fill() {
  const auto length = getdents64(folder_.get(), buffer_.get(), bufferSize);
  hasFailed_ = length < 0;
  filled_ = length > 0 ? static_cast<std::size_t>(length) : 0;
  at_ = 0;
  return filled_ > 0;
}

std::optional<DirectoryEntries::Entry> DirectoryEntries::next() {
  while (at_ < filled_ || fill()) {
    const char* const record = buffer_.get() + at_;
    KernelEntry entry;
    std::memcpy(&entry, record, sizeof entry);
    at_ += entry.length;
    const std::string_view name = record + nameOffset;
    if (!isFolderItselfOrParent(name)) return Entry{name, entry.inode, entry.kind == DT_DIR};
  }
  return std::nullopt;
}

}  // namespace platform::native
