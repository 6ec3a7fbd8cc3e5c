// A menu of our own under a toolbar button, as Caja's buttons have none. GTK 3.
#pragma once

#include <gtk/gtk.h>

#include "browsers/BrowserModule.h"

namespace browsers {

/// Shows the menu at the pointer of the click that is being handled, over `window`. It ends itself when it is closed.
void showPopupMenu(BrowserModule& module, const BoundMenuRef& menu, GtkWindow* window);

}  // namespace browsers
