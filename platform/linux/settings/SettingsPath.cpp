#include "platform/linux/settings/SettingsPath.h"

#include <dconf.h>

#include <algorithm>

namespace platform::native {
namespace {

// The bus carries the path as a string, which has no NUL either.
bool isText(std::string_view text) { return g_utf8_validate(text.data(), static_cast<gssize>(text.size()), nullptr) != FALSE; }

}  // namespace

std::optional<std::string> settingsPathOfGroup(std::string_view group) {
  std::string path = "/" + std::string(group) + "/";
  std::ranges::replace(path, '.', '/');
  if (group.empty() || !isText(path) || !dconf_is_dir(path.c_str(), nullptr)) return std::nullopt;
  return path;
}

std::optional<std::string> settingsPathOfKey(std::string_view groupPath, std::string_view key) {
  std::string path = std::string(groupPath) += key;
  if (!isText(path) || !dconf_is_key(path.c_str(), nullptr)) return std::nullopt;
  return path;
}

}  // namespace platform::native
