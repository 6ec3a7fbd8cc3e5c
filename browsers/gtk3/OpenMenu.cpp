#include "browsers/gtk3/OpenMenu.h"

#include <gtk/gtk.h>

namespace browsers {
namespace {

struct Update {
  BrowserModule& module;
  std::function<void()> tellBrowser;

  void run() const {
    module.menus().release();
    if (module.menus().dropOutdated()) tellBrowser();
  }
};

GtkWidget* openMenu() {
  GtkWidget* menu = gtk_grab_get_current();
  if (!menu || !GTK_IS_MENU(menu)) return nullptr;
  for (GtkWidget* item = gtk_menu_get_attach_widget(GTK_MENU(menu)); item && GTK_IS_MENU_ITEM(item);
       item = gtk_menu_get_attach_widget(GTK_MENU(menu))) {
    GtkWidget* const parent = gtk_widget_get_parent(item);
    if (!parent || !GTK_IS_MENU(parent)) break;
    menu = parent;
  }
  return menu;
}

void menuClosed(GtkWidget* menu, gpointer update) {
  g_signal_handlers_disconnect_matched(menu, G_SIGNAL_MATCH_DATA, 0, 0, nullptr, nullptr, update);
}

// Also when the menu ends without a word.
void releaseUpdate(gpointer update, GClosure*) {
  guarded([&] { static_cast<Update*>(update)->run(); });
  delete static_cast<Update*>(update);
}

// A menu tells that it is done after the chosen item was told that it was chosen, and also when none was.
void updateOnceClosed(const Update& update) {
  GtkWidget* const menu = openMenu();
  if (!menu) return update.run();
  update.module.menus().hold();
  g_signal_connect_data(menu, "selection-done", G_CALLBACK(menuClosed), new Update(update), releaseUpdate, GConnectFlags(0));
}

}  // namespace

void updateClosedMenus(BrowserModule& module, std::function<void()> update) {
  module.setOnOutdatedMenus([closed = Update{module, std::move(update)}] { updateOnceClosed(closed); });
}

}  // namespace browsers
