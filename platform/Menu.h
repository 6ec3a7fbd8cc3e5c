// A menu as the file browser shows it: an ordered list of items. Items are values; a submenu is shared and immutable,
// so a menu that was built once can stand in many.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Image.h"

namespace platform {

struct Menu;

struct MenuItem {
  std::string title;
  std::string_view action;  ///< The selector sent when it is chosen; empty for none. Static storage.
  std::int64_t tag = 0;
  bool isEnabled = true;
  ImageRef image;                       ///< Null for none.
  std::shared_ptr<const Menu> submenu;  ///< Null for none; an item with one opens it and is not chosen itself.
};

struct Menu {
  std::vector<MenuItem> items;
};

}  // namespace platform
