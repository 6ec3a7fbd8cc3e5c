// The extension in Thunar: items of the selection and of the folder's background, and what its windows show. Thunar calls all of it on
// the main thread.
#include <gtk/gtk.h>

#include "browsers/gobject/GObjectBrowser.h"
#include "browsers/gobject/ShownLocations.h"

// Some of these headers do not say that they are C; what they include has been included above.
extern "C" {
#include <thunarx/thunarx.h>
}

using browsers::guarded;

namespace {

struct ThunarInterface {
  using File = ThunarxFileInfo;
  using Item = ThunarxMenuItem;
  using Menu = ThunarxMenu;
  static constexpr auto newItem = thunarx_menu_item_new;
  static constexpr auto newMenu = thunarx_menu_new;
  static constexpr auto append = thunarx_menu_append_item;
  static constexpr auto setSubmenu = thunarx_menu_item_set_menu;
  static constexpr auto locationOf = thunarx_file_info_get_location;
  static constexpr auto isDirectory = thunarx_file_info_is_directory;
  static constexpr bool isPageKnownByLabel = false;
};

platform::URL urlOfLocation(GObject* location) {
  return browsers::GObjectBrowser<ThunarInterface>::urlOf(THUNARX_FILE_INFO(location));
}

class Thunar final : public browsers::GObjectBrowser<ThunarInterface> {
 public:
  // Thunar pays for every item when the menu pops up.
  Thunar() : GObjectBrowser({.style = {.archiveItems = 200, .archiveLevels = 16}, .areIconsDrawn = true}) {
    shownLocations_.start();
    watchOpenWindows();
  }

 private:
  // Thunar may load the module after it has opened windows.
  void watchOpenWindows() {
    GApplication* const application = g_application_get_default();
    if (!application || !GTK_IS_APPLICATION(application)) return;
    for (GList* window = gtk_application_get_windows(GTK_APPLICATION(application)); window; window = window->next) {
      shownLocations_.watchWindow(G_OBJECT(window->data));
    }
  }

  // Its windows tell the folder of the tab in front.
  browsers::ShownLocations shownLocations_{module(), {"current-directory", nullptr, nullptr, urlOfLocation}};
};
using LoadedThunar = browsers::Loaded<Thunar>;

// Thunar asks at each popup, and at each key as well, for the accelerators that items may have.
GList* getFileItems(ThunarxMenuProvider*, GtkWidget*, GList* files) {
  return guarded([&] { return LoadedThunar::browser().itemsForSelection(Thunar::urlsOf(files)); });
}

GList* getFolderItems(ThunarxMenuProvider*, GtkWidget*, ThunarxFileInfo* folder) {
  return guarded([&] { return LoadedThunar::browser().itemsForFolder(folder); });
}

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<ThunarxMenuProviderIface*>(interface);
  menus.get_file_menu_items = getFileItems;
  menus.get_folder_menu_items = getFolderItems;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void thunar_extension_initialize(ThunarxProviderPlugin* plugin) {
  // Thunar drops providers that it has not used for a while, and the module with them.
  thunarx_provider_plugin_set_resident(plugin, TRUE);
  LoadedThunar::initialize(G_TYPE_MODULE(plugin), "DovetailThunar", {{THUNARX_TYPE_MENU_PROVIDER, implementMenus}});
}

void thunar_extension_shutdown() {}

void thunar_extension_list_types(const GType** types, gint* count) { LoadedThunar::listTypes(types, count); }

}  // extern "C"
#pragma GCC visibility pop
