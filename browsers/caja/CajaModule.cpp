// The extension in Caja: items of the selection and of the folder's background, a toolbar button that pops its menu up, and what its
// windows show. Caja calls all of it on the main thread.
#include <gtk/gtk.h>
#include <libcaja-extension/caja-extension-types.h>
#include <libcaja-extension/caja-file-info.h>
#include <libcaja-extension/caja-location-widget-provider.h>
#include <libcaja-extension/caja-menu-provider.h>

#include <map>

#include "browsers/caja/PopupMenu.h"
#include "browsers/caja/ToolbarPicture.h"
#include "browsers/gobject/GObjectBrowser.h"
#include "browsers/gtk3/LocationWidget.h"
#include "browsers/gtk3/OpenMenu.h"

using browsers::guarded;
using platform::URL;

namespace {

struct CajaInterface {
  using File = CajaFileInfo;
  using Item = CajaMenuItem;
  using Menu = CajaMenu;
  using MenuProvider = CajaMenuProvider;
  static constexpr auto newItem = caja_menu_item_new;
  static constexpr auto newMenu = caja_menu_new;
  static constexpr auto append = caja_menu_append_item;
  static constexpr auto setSubmenu = caja_menu_item_set_submenu;
  static constexpr auto locationOf = caja_file_info_get_location;
  static constexpr auto isDirectory = caja_file_info_is_directory;
  static constexpr auto tellItemsUpdated = caja_menu_provider_emit_items_updated_signal;
  static constexpr bool isPageKnownByLabel = false;
};

class Caja final : public browsers::GObjectBrowser<CajaInterface> {
 public:
  // Caja waits 100 ms and longer after each change of the selection, and pays for every item then. It puts the new items into a menu
  // that is up.
  Caja() : GObjectBrowser({.style = {.archiveItems = 200, .archiveLevels = 16}, .areIconsDrawn = true}) {
    updateClosedMenus(module(), [this] { tellItemsUpdated(); });
  }

  GList* itemsForSelectionIn(GtkWidget* window, GList* files) { return itemsForSelection(selectionOf(window) = urlsOf(files)); }

  /// The button, as a list of one item.
  GList* toolbarItems(GtkWidget* window, const URL& folder) {
    const DTDovetailSync& extension = module().extension();
    const platform::ImageRef image = extension.toolbarItemImage();
    const std::string& icon = module().icons().fileOf(image, 24);
    CajaMenuItem* const button =
        caja_menu_item_new(buttonName, extension.toolbarItemName().c_str(), extension.toolbarItemToolTip().c_str(), icon.c_str());
    browsers::connectSignal(button, "activate", [this, window, folder] { buttonClicked(window, folder); });
    browsers::showAsSymbol(image, buttonName, window);
    return g_list_prepend(nullptr, button);
  }

 private:
  static constexpr const char* buttonName = "DTDovetailSync3";

  void buttonClicked(GtkWidget* window, const URL& folder) {
    const auto menu = module().menus().menuForToolbar(selectionOf(window), folder);
    if (menu) showPopupMenu(module(), menu, GTK_WINDOW(window));
  }

  std::vector<URL>& selectionOf(GtkWidget* window) {
    const auto [known, isNew] = selections_.try_emplace(window);
    if (isNew) g_object_weak_ref(G_OBJECT(window), forgetWindow, this);
    return known->second;
  }

  static void forgetWindow(gpointer self, GObject* window) {
    static_cast<Caja*>(self)->selections_.erase(reinterpret_cast<GtkWidget*>(window));
  }

  std::map<GtkWidget*, std::vector<URL>> selections_;  // what each window told last
};
using LoadedCaja = browsers::Loaded<Caja>;

GList* getFileItems(CajaMenuProvider*, GtkWidget* window, GList* files) {
  return guarded([&] { return LoadedCaja::browser().itemsForSelectionIn(window, files); });
}

GList* getBackgroundItems(CajaMenuProvider*, GtkWidget*, CajaFileInfo* folder) {
  return guarded([&] { return LoadedCaja::browser().itemsForFolder(folder); });
}

GList* getToolbarItems(CajaMenuProvider*, GtkWidget* window, CajaFileInfo* folder) {
  return guarded([&] { return LoadedCaja::browser().toolbarItems(window, Caja::urlOf(folder)); });
}

GtkWidget* getWidget(CajaLocationWidgetProvider*, const char* uri, GtkWidget*) {
  return guarded([&] { return browsers::locationWidget(LoadedCaja::browser().module(), uri); });
}

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<CajaMenuProviderIface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
  menus.get_toolbar_items = getToolbarItems;
}

void implementLocations(gpointer interface, gpointer) {
  static_cast<CajaLocationWidgetProviderIface*>(interface)->get_widget = getWidget;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void caja_module_initialize(GTypeModule* module) {
  LoadedCaja::initialize(module, "DovetailCaja",
                         {{CAJA_TYPE_MENU_PROVIDER, implementMenus}, {CAJA_TYPE_LOCATION_WIDGET_PROVIDER, implementLocations}});
}

void caja_module_shutdown() {}

void caja_module_list_types(const GType** types, int* num_types) { LoadedCaja::listTypes(types, num_types); }

}  // extern "C"
#pragma GCC visibility pop
