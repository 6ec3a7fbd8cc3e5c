#include "platform/linux/files/AliasFile.h"

#include <string_view>

#include "platform/linux/OwnedGLib.h"
#include "platform/linux/files/BoundedFile.h"

namespace platform::native {
namespace {

// Real ones are of a few hundred bytes, translations included.
constexpr std::size_t maximumDesktopEntryLength = 64 * 1024;

}  // namespace

bool isAliasRegularFile(const char* path) {
  if (!std::string_view(path).ends_with(".desktop")) return false;
  const auto text = contentsOfFile(path, maximumDesktopEntryLength);
  if (!text) return false;
  const OwnedKeyFile entry(g_key_file_new());
  if (!g_key_file_load_from_data(entry.get(), text->data(), text->size(), G_KEY_FILE_NONE, nullptr)) return false;
  const OwnedText type(g_key_file_get_string(entry.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_TYPE, nullptr));
  return type && std::string_view(type.get()) == G_KEY_FILE_DESKTOP_TYPE_LINK;
}

}  // namespace platform::native
