// The vocabulary of the shared settings: the default menu layout and the titles of the commands by tag. The keys stand in
// wire/Settings.h.
#pragma once

#include <optional>
#include <string_view>

#include "platform/Log.h"
#include "platform/Object.h"

namespace DTExtension {

/// The menu layout of a new user: which tags stand at the top level, under "More" and nowhere, in order. Always the same object.
const platform::Dictionary& defaultFinderMenuItems();

/// The title of a command, or nothing and a log line for a number that is no tag.
std::optional<std::string_view> titleForMenuItemTag(platform::Integer tag, platform::Log& log);

}  // namespace DTExtension
