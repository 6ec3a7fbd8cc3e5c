// The extension in Nautilus: items of the selection and of the folder's background, and what its windows show. Nautilus calls all of it
// on the main thread. No toolkit: GTK 3 and GTK 4 must not meet in one process.
#include "browsers/NativeItems.h"
#include "browsers/ShownLocations.h"

// The header does not say that the entry points are C; what it includes has been included above.
extern "C" {
#include <nautilus-extension.h>
}

using browsers::BrowserModule;
using browsers::guarded;
using browsers::NativeItems;
using browsers::PlannedItem;
using browsers::ShownLocations;
using platform::URL;
using platform::native::OwnedObject;

namespace {

struct NautilusToolkit {
  using Item = NautilusMenuItem;
  using Menu = NautilusMenu;
  static Item* newItem(const PlannedItem& item) {
    Item* const made = nautilus_menu_item_new(item.name.c_str(), item.label.c_str(), "", nullptr);
    g_object_set(made, "sensitive", gboolean(item.isEnabled), nullptr);
    return made;
  }
  static Menu* newMenu() { return nautilus_menu_new(); }
  static void append(Menu* menu, Item* item) { nautilus_menu_append_item(menu, item); }
  static void setSubmenu(Item* item, Menu* menu) { nautilus_menu_item_set_submenu(item, menu); }
};

// Nautilus pays for every item after each change of the selection, more than others do. It takes submenus of one label for one, and
// draws no icons.
constexpr BrowserModule::Traits traits{.style = {.archiveItems = 200, .areSubmenuLabelsDistinct = true}, .areIconsDrawn = false};

URL urlOfLocation(GObject* location) { return browsers::urlOf(G_FILE(location), true); }

/// One for the process.
struct Nautilus {
  BrowserModule module{traits};
  NativeItems<NautilusToolkit> fileItems{module};
  NativeItems<NautilusToolkit> folderItems{module};
  // Its windows have slots, one a tab, each with the folder that it shows.
  ShownLocations shownLocations{module, {"location", "slot-added", "slot-removed", urlOfLocation}};
  NautilusMenuProvider* provider = nullptr;
};
Nautilus* nautilus = nullptr;

URL urlOf(NautilusFileInfo* file) {
  const OwnedObject<GFile> location(nautilus_file_info_get_location(file));
  return browsers::urlOf(location.get(), nautilus_file_info_is_directory(file));
}

std::vector<URL> urlsOf(GList* files) {
  std::vector<URL> urls;
  for (GList* file = files; file; file = file->next) urls.push_back(urlOf(NAUTILUS_FILE_INFO(file->data)));
  return urls;
}

// ---- Contextual menus

GList* getFileItems(NautilusMenuProvider*, GList* files) {
  return guarded([&] { return nautilus->fileItems.list(nautilus->module.menus().menuForItems(urlsOf(files))); });
}

GList* getBackgroundItems(NautilusMenuProvider*, NautilusFileInfo* folder) {
  return guarded([&] { return nautilus->folderItems.list(nautilus->module.menus().menuForFolder(urlOf(folder))); });
}

// Nautilus asks anew a little later. An open menu stays as it is.
void updateItems() {
  if (nautilus->provider) nautilus_menu_provider_emit_items_updated_signal(nautilus->provider);
}

// ---- The object that Nautilus makes

struct DovetailNautilus {
  GObject parent;
};
struct DovetailNautilusClass {
  GObjectClass parent;
};

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<NautilusMenuProviderInterface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
}

GType dovetail_nautilus_get_type();
G_DEFINE_DYNAMIC_TYPE_EXTENDED(DovetailNautilus, dovetail_nautilus, G_TYPE_OBJECT, 0,
                               G_IMPLEMENT_INTERFACE_DYNAMIC(NAUTILUS_TYPE_MENU_PROVIDER, implementMenus))

void dovetail_nautilus_init(DovetailNautilus* object) { nautilus->provider = NAUTILUS_MENU_PROVIDER(object); }
void dovetail_nautilus_finalize(GObject* object) {
  if (nautilus->provider == NAUTILUS_MENU_PROVIDER(object)) nautilus->provider = nullptr;
  G_OBJECT_CLASS(dovetail_nautilus_parent_class)->finalize(object);
}
void dovetail_nautilus_class_init(DovetailNautilusClass* type) { G_OBJECT_CLASS(type)->finalize = dovetail_nautilus_finalize; }
void dovetail_nautilus_class_finalize(DovetailNautilusClass*) {}

void start() {
  static Nautilus once;
  nautilus = &once;
  nautilus->module.setOnOutdatedMenus(updateItems);
  nautilus->shownLocations.start();
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void nautilus_module_initialize(GTypeModule* module) {
  guarded(start);
  if (nautilus) dovetail_nautilus_register_type(module);
}

void nautilus_module_shutdown() {}

void nautilus_module_list_types(const GType** types, int* count) {
  static GType type;
  type = nautilus ? dovetail_nautilus_get_type() : 0;
  *types = &type;
  *count = nautilus ? 1 : 0;
}

}  // extern "C"
#pragma GCC visibility pop
