// The extension in Nemo: items of the selection and of the folder's background, and what its windows show. Nemo calls all of it on the
// main thread.
#include <gtk/gtk.h>
#include <libnemo-extension/nemo-extension-types.h>
#include <libnemo-extension/nemo-file-info.h>
#include <libnemo-extension/nemo-info-provider.h>
#include <libnemo-extension/nemo-location-widget-provider.h>
#include <libnemo-extension/nemo-menu-provider.h>
#include <libnemo-extension/nemo-name-and-desc-provider.h>

#include "browsers/gobject/GObjectBrowser.h"
#include "browsers/gtk3/LocationWidget.h"
#include "browsers/gtk3/OpenMenu.h"

using browsers::guarded;

namespace {

struct NemoInterface {
  using File = NemoFileInfo;
  using Item = NemoMenuItem;
  using Menu = NemoMenu;
  using MenuProvider = NemoMenuProvider;
  static constexpr auto newItem = nemo_menu_item_new;
  static constexpr auto newMenu = nemo_menu_new;
  static constexpr auto append = nemo_menu_append_item;
  static constexpr auto setSubmenu = nemo_menu_item_set_submenu;
  static constexpr auto locationOf = nemo_file_info_get_location;
  static constexpr auto isDirectory = nemo_file_info_is_directory;
  static constexpr auto tellItemsUpdated = nemo_menu_provider_emit_items_updated_signal;
  static constexpr bool isPageKnownByLabel = false;
};

class Nemo final : public browsers::GObjectBrowser<NemoInterface> {
 public:
  // Nemo asks at each popup, and pays for every item then. An open menu stays as it is; the next one is asked for anew.
  Nemo() : GObjectBrowser({.style = {.archiveItems = 200, .archiveLevels = 16}, .areIconsDrawn = true}) {
    updateClosedMenus(module(), [this] { tellItemsUpdated(); });
  }
};
using LoadedNemo = browsers::Loaded<Nemo>;

GList* getFileItems(NemoMenuProvider*, GtkWidget*, GList* files) {
  return guarded([&] { return LoadedNemo::browser().itemsForSelection(Nemo::urlsOf(files)); });
}

GList* getBackgroundItems(NemoMenuProvider*, GtkWidget*, NemoFileInfo* folder) {
  return guarded([&] { return LoadedNemo::browser().itemsForFolder(folder); });
}

GtkWidget* getWidget(NemoLocationWidgetProvider*, const char* uri, GtkWidget*) {
  return guarded([&] { return browsers::locationWidget(LoadedNemo::browser().module(), uri); });
}

// Nemo asks for what comes into view, a search's finds among it.
NemoOperationResult updateFileInfo(NemoInfoProvider*, NemoFileInfo* file, GClosure*, NemoOperationHandle**) {
  guarded([&] { LoadedNemo::browser().module().shownFolders().fileShown(Nemo::urlOf(file)); });
  return NEMO_OPERATION_COMPLETE;
}

GList* getNameAndDescription(NemoNameAndDescProvider*) {
  return g_list_prepend(nullptr, g_strdup("Dovetail:::Commands of the Dovetail file manager, and the contents of archives"));
}

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<NemoMenuProviderIface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
}

void implementLocations(gpointer interface, gpointer) {
  static_cast<NemoLocationWidgetProviderIface*>(interface)->get_widget = getWidget;
}

void implementInfo(gpointer interface, gpointer) {
  static_cast<NemoInfoProviderInterface*>(interface)->update_file_info = updateFileInfo;
}

void implementName(gpointer interface, gpointer) {
  static_cast<NemoNameAndDescProviderInterface*>(interface)->get_name_and_desc = getNameAndDescription;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void nemo_module_initialize(GTypeModule* module) {
  LoadedNemo::initialize(module, "DovetailNemo",
                         {{NEMO_TYPE_MENU_PROVIDER, implementMenus},
                          {NEMO_TYPE_LOCATION_WIDGET_PROVIDER, implementLocations},
                          {NEMO_TYPE_INFO_PROVIDER, implementInfo},
                          {NEMO_TYPE_NAME_AND_DESC_PROVIDER, implementName}});
}

void nemo_module_shutdown() {}

void nemo_module_list_types(const GType** types, int* num_types) { LoadedNemo::listTypes(types, num_types); }

}  // extern "C"
#pragma GCC visibility pop
