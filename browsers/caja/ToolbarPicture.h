// The picture of a toolbar button in the colours of the theme. Caja draws what an item names once, in the colours of its file, which may be
// the toolbar's own. GTK 3.
#pragma once

#include <gtk/gtk.h>

#include "platform/Image.h"

namespace browsers {

/// Soon, when the window's toolbar has the button of that name: it shows the image as a symbol, drawn anew whenever the theme or the
/// scale changes. Not for an image that is no symbol of the icon theme's kind; the button keeps what it has then.
void showAsSymbol(const platform::ImageRef& image, const char* buttonName, GtkWidget* window);

}  // namespace browsers
