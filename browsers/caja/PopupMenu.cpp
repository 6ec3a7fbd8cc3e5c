#include "browsers/caja/PopupMenu.h"

#include "browsers/gobject/NativeItems.h"

namespace browsers {
namespace {

// GTK has deprecated the one item that shows an icon as the rest of the browser's menus do.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
GtkWidget* newItem(const PlannedItem& planned) {
  GtkWidget* const item = gtk_image_menu_item_new_with_mnemonic(planned.label.c_str());
  if (!planned.icon.empty()) {
    gtk_image_menu_item_set_image(GTK_IMAGE_MENU_ITEM(item), gtk_image_new_from_file(planned.icon.c_str()));
  }
  return item;
}
G_GNUC_END_IGNORE_DEPRECATIONS

GtkWidget* newMenu(BrowserModule& module, const BoundMenuRef& menu, const PlannedItems& items) {
  GtkWidget* const shell = gtk_menu_new();
  for (const PlannedItem& planned : items) {
    GtkWidget* const item = newItem(planned);
    gtk_widget_set_sensitive(item, planned.isEnabled);
    if (planned.items) {
      gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), newMenu(module, menu, *planned.items));
    } else {
      chooseOnActivate(item, module, menu, planned);
    }
    gtk_menu_shell_append(GTK_MENU_SHELL(shell), item);
  }
  gtk_widget_show_all(shell);
  return shell;
}

}  // namespace

void showPopupMenu(BrowserModule& module, const BoundMenuRef& menu, GtkWindow* window) {
  GtkWidget* const shell = newMenu(module, menu, menu->items);
  gtk_menu_attach_to_widget(GTK_MENU(shell), GTK_WIDGET(window), nullptr);
  // Comes after the chosen item's "activate", and also when nothing was chosen.
  g_signal_connect(shell, "selection-done", G_CALLBACK(gtk_widget_destroy), nullptr);
  gtk_menu_popup_at_pointer(GTK_MENU(shell), nullptr);
}

}  // namespace browsers
