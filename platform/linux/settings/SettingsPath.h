// Where the settings of an application group stand in dconf.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace platform::native {

/// "/" + the group identifier with its dots as slashes + "/": of "org.dovetail.group",
/// "/org/dovetail/group/". Nothing for a group that makes no path of dconf, as one that is empty, has an
/// empty part, or is not UTF-8.
[[nodiscard]] std::optional<std::string> settingsPathOfGroup(std::string_view group);

/// The path followed by the key as it is, a final space too. Nothing for a key that makes no path of a key of
/// dconf.
[[nodiscard]] std::optional<std::string> settingsPathOfKey(std::string_view groupPath, std::string_view key);

}  // namespace platform::native
