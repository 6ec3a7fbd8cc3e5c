// Menus and images as the console's lines tell them.
#pragma once

#include "platform/Menu.h"
#include "platform/linux/programs/JSON.h"

/// `{"items":[…]}`; of an item its title, action (null for none), tag, whether it is enabled, image, and the items of its submenu.
platform::JSON menuJSON(const platform::Menu& menu);
/// `{"source","width","height"}`, the source of the representation that fits the image's own size; null for no image.
platform::JSON imageJSON(const platform::ImageRef& image);
