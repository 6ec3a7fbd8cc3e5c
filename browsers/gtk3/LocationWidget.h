// How Caja and Nemo tell what their windows show: they ask for a widget whenever a view begins to show a folder, and destroy it when the
// view stops, so a widget without a look tells of both. GTK 3.
#pragma once

#include <gtk/gtk.h>

#include "browsers/BrowserModule.h"

namespace browsers {

/// A floating widget that stands for the folder being shown; null for one that is no folder of this machine.
GtkWidget* locationWidget(BrowserModule& module, const char* uri);

}  // namespace browsers
