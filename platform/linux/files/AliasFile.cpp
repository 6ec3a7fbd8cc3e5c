#include "platform/linux/files/AliasFile.h"

#include <glib.h>
#include <sys/xattr.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>

#include "platform/linux/files/BoundedFile.h"

namespace platform::native {
namespace {

// Real ones are of a few hundred bytes, translations included.
constexpr std::size_t maximumDesktopEntryLength = 64 * 1024;

// The attribute as archivers and file servers write it on Linux, as some file systems pass it through, and as
// HFS+ names it.
constexpr const char* finderInfoNames[] = {"user.com.apple.FinderInfo", "com.apple.FinderInfo",
                                           "osx.com.apple.FinderInfo"};

// 32 bytes; the finder flags are the two from offset 8, the higher first, and the alias flag is their highest
// bit.
constexpr std::size_t finderInfoLength = 32;
constexpr std::size_t finderFlagsOffset = 8;
constexpr std::uint8_t aliasBitOfHighByte = 0x80;

bool hasFinderAliasFlag(const char* path) {
  // Most files have no attribute at all, which one question tells.
  if (llistxattr(path, nullptr, 0) == 0) return false;
  for (const char* name : finderInfoNames) {
    std::array<std::uint8_t, finderInfoLength> info{};
    const ssize_t length = lgetxattr(path, name, info.data(), info.size());
    if (length == finderInfoLength) return (info[finderFlagsOffset] & aliasBitOfHighByte) != 0;
  }
  return false;
}

bool isDesktopLink(const char* path) {
  if (!std::string_view(path).ends_with(".desktop")) return false;
  const auto text = contentsOfFile(path, maximumDesktopEntryLength);
  if (!text) return false;
  const std::unique_ptr<GKeyFile, decltype(&g_key_file_free)> entry(g_key_file_new(), g_key_file_free);
  if (!g_key_file_load_from_data(entry.get(), text->data(), text->size(), G_KEY_FILE_NONE, nullptr))
    return false;
  const std::unique_ptr<char, decltype(&g_free)> type(
      g_key_file_get_string(entry.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_TYPE, nullptr),
      g_free);
  return type && std::string_view(type.get()) == G_KEY_FILE_DESKTOP_TYPE_LINK;
}

}  // namespace

bool isAliasRegularFile(const char* path) {
  return hasFinderAliasFlag(path) || isDesktopLink(path);
}

}  // namespace platform::native
