// Menus as trees of text for people at a terminal.
#pragma once

#include <string>
#include <string_view>

#include "platform/linux/programs/JSON.h"

/// The reply's menu, an item a line with the number that chooses it.
std::string menuText(const platform::JSON& menu);
/// The text without what would move a terminal's cursor or turn its writing: control characters and direction marks as a visible
/// sign, bytes that are not UTF-8 too.
std::string printable(std::string_view text);
