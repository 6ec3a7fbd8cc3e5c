// The extension in Nautilus: items of the selection and of the folder's background, and what its windows show. Nautilus calls all of it
// on the main thread. No toolkit: GTK 3 and GTK 4 must not meet in one process.
#include "browsers/gobject/GObjectBrowser.h"
#include "browsers/gobject/ShownLocations.h"

// The header does not say that the entry points are C; what it includes has been included above.
extern "C" {
#include <nautilus-extension.h>
}

using browsers::guarded;

namespace {

struct NautilusInterface {
  using File = NautilusFileInfo;
  using Item = NautilusMenuItem;
  using Menu = NautilusMenu;
  using MenuProvider = NautilusMenuProvider;
  static constexpr auto newItem = nautilus_menu_item_new;
  static constexpr auto newMenu = nautilus_menu_new;
  static constexpr auto append = nautilus_menu_append_item;
  static constexpr auto setSubmenu = nautilus_menu_item_set_submenu;
  static constexpr auto locationOf = nautilus_file_info_get_location;
  static constexpr auto isDirectory = nautilus_file_info_is_directory;
  static constexpr auto tellItemsUpdated = nautilus_menu_provider_emit_items_updated_signal;
  // It takes submenus of one label for one, and its path bar keeps pages of the last listing until after the next.
  static constexpr bool isPageKnownByLabel = true;
};

platform::URL urlOfLocation(GObject* location) { return browsers::urlOf(G_FILE(location), true); }

class Nautilus final : public browsers::GObjectBrowser<NautilusInterface> {
 public:
  // Nautilus pays for every item after each change of the selection, more than others do. It draws no icons. Told of new items it asks
  // anew a little later; an open menu stays as it is.
  Nautilus() : GObjectBrowser({.style = {.archiveItems = 200, .archiveLevels = 16}, .areIconsDrawn = false}) {
    module().setOnOutdatedMenus([this] { tellItemsUpdated(); });
    shownLocations_.start();
  }

 private:
  // Its windows have slots, one a tab, each with the folder that it shows.
  browsers::ShownLocations shownLocations_{module(), {"location", "slot-added", "slot-removed", urlOfLocation}};
};
using LoadedNautilus = browsers::Loaded<Nautilus>;

GList* getFileItems(NautilusMenuProvider*, GList* files) {
  return guarded([&] { return LoadedNautilus::browser().itemsForSelection(Nautilus::urlsOf(files)); });
}

GList* getBackgroundItems(NautilusMenuProvider*, NautilusFileInfo* folder) {
  return guarded([&] { return LoadedNautilus::browser().itemsForFolder(folder); });
}

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<NautilusMenuProviderInterface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void nautilus_module_initialize(GTypeModule* module) {
  LoadedNautilus::initialize(module, "DovetailNautilus", {{NAUTILUS_TYPE_MENU_PROVIDER, implementMenus}});
}

void nautilus_module_shutdown() {}

void nautilus_module_list_types(const GType** types, int* num_types) { LoadedNautilus::listTypes(types, num_types); }

}  // extern "C"
#pragma GCC visibility pop
