// The contextual menu that the user has open: the browser is told of changes once it is closed. GTK 3.
#pragma once

#include <functional>

#include "browsers/BrowserModule.h"

namespace browsers {

/// Whenever a menu given before is outdated: forgets it and calls `update`, at once or, while a menu is up, after it was closed. What
/// the user is about to click stays in its place until then, and so does what is asked for again.
void updateClosedMenus(BrowserModule& module, std::function<void()> update);

}  // namespace browsers
