// Names of archive entries, as the archive menus read them.
#pragma once

#include <string_view>

/// The text after the last dot of the last component; empty when there is none.
std::string_view pathExtension(std::string_view name);
