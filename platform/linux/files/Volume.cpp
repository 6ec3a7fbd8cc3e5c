#include "platform/linux/files/Volume.h"

#include <fcntl.h>
#include <linux/magic.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fstream>
#include <sstream>

#include "platform/linux/Descriptor.h"

namespace platform::native {
namespace {

// Not in linux/magic.h of all kernels: fs/hfsplus/hfsplus_raw.h and fs/smb/common/smb2pdu.h.
constexpr std::uint32_t hfsPlusMagic = 0x482B;
constexpr std::uint32_t exfatMagic = 0x2011BAB0;
constexpr std::uint32_t cifsMagic = 0xFF534D42;
constexpr std::uint32_t smb2Magic = 0xFE534D42;
constexpr std::array<std::uint32_t, 5> caseInsensitiveMagics = {MSDOS_SUPER_MAGIC, exfatMagic, hfsPlusMagic, cifsMagic, smb2Magic};

bool isOctalDigit(char c) { return c >= '0' && c <= '7'; }

// Space, tab, end of line and backslash stand as \ and three octal digits.
std::string unescaped(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isEscape = text[i] == '\\' && i + 3 < text.size() && isOctalDigit(text[i + 1]) && isOctalDigit(text[i + 2]) &&
                          isOctalDigit(text[i + 3]);
    if (!isEscape) {
      bytes += text[i];
      continue;
    }
    bytes += static_cast<char>((text[i + 1] - '0') << 6 | (text[i + 2] - '0') << 3 | (text[i + 3] - '0'));
    i += 3;
  }
  return bytes;
}

// Of the file itself: the calls that take a path would follow a symbolic link.
Descriptor fileItself(const char* path) { return Descriptor(open(path, O_PATH | O_NOFOLLOW | O_CLOEXEC)); }

}  // namespace

std::optional<std::string> mountPoint(std::uint64_t mountIdentifier) {
  std::ifstream mounts("/proc/self/mountinfo");
  if (!mounts.is_open()) return std::nullopt;
  auto point = mountPointIn(mounts, mountIdentifier);
  if (!point) errno = ENODEV;
  return point;
}

std::optional<std::string> mountPointIn(std::istream& mounts, std::uint64_t mountIdentifier) {
  for (std::string line; std::getline(mounts, line);) {
    std::istringstream fields(line);
    std::uint64_t identifier = 0;
    std::string parent, device, root, point;
    if (fields >> identifier >> parent >> device >> root >> point && identifier == mountIdentifier) {
      return unescaped(point);
    }
  }
  return std::nullopt;
}

std::optional<bool> isVolumeReadOnly(const char* path) {
  const Descriptor file = fileItself(path);
  struct statvfs volume;
  if (!file || fstatvfs(file.get(), &volume) != 0) return std::nullopt;
  return (volume.f_flag & ST_RDONLY) != 0;
}

std::optional<bool> hasVolumeCaseSensitiveNames(const char* path) {
  const Descriptor file = fileItself(path);
  struct statfs volume;
  if (!file || fstatfs(file.get(), &volume) != 0) return std::nullopt;
  return isCaseSensitive(static_cast<std::uint32_t>(volume.f_type));
}

bool isCaseSensitive(std::uint32_t fileSystemMagic) {
  return std::ranges::find(caseInsensitiveMagics, fileSystemMagic) == caseInsensitiveMagics.end();
}

}  // namespace platform::native
