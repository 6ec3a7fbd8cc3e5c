// The extension in Nemo: items of the selection and of the folder's background, and what its windows show. Nemo calls all of it on the
// main thread.
#include <gtk/gtk.h>
#include <libnemo-extension/nemo-extension-types.h>
#include <libnemo-extension/nemo-file-info.h>
#include <libnemo-extension/nemo-location-widget-provider.h>
#include <libnemo-extension/nemo-menu-provider.h>
#include <libnemo-extension/nemo-name-and-desc-provider.h>

#include "browsers/NativeItems.h"
#include "browsers/gtk3/LocationWidget.h"
#include "browsers/gtk3/OpenMenu.h"

using browsers::BrowserModule;
using browsers::guarded;
using browsers::NativeItems;
using browsers::PlannedItem;
using platform::URL;
using platform::native::OwnedObject;

namespace {

struct NemoToolkit {
  using Item = NemoMenuItem;
  using Menu = NemoMenu;
  static Item* newItem(const PlannedItem& item) {
    Item* const made =
        nemo_menu_item_new(item.name.c_str(), item.label.c_str(), "", item.icon.empty() ? nullptr : item.icon.c_str());
    g_object_set(made, "sensitive", gboolean(item.isEnabled), nullptr);
    return made;
  }
  static Menu* newMenu() { return nemo_menu_new(); }
  static void append(Menu* menu, Item* item) { nemo_menu_append_item(menu, item); }
  static void setSubmenu(Item* item, Menu* menu) { nemo_menu_item_set_submenu(item, menu); }
};

// Nemo asks at each popup, and pays for every item then.
constexpr BrowserModule::Traits traits{.style = {.archiveItems = 200, .areSubmenuLabelsDistinct = false}, .areIconsDrawn = true};

/// One for the process.
struct Nemo {
  BrowserModule module{traits};
  NativeItems<NemoToolkit> fileItems{module};
  NativeItems<NemoToolkit> folderItems{module};
  NemoMenuProvider* provider = nullptr;
};
Nemo* nemo = nullptr;

URL urlOf(NemoFileInfo* file) {
  const OwnedObject<GFile> location(nemo_file_info_get_location(file));
  return browsers::urlOf(location.get(), nemo_file_info_is_directory(file));
}

std::vector<URL> urlsOf(GList* files) {
  std::vector<URL> urls;
  for (GList* file = files; file; file = file->next) urls.push_back(urlOf(NEMO_FILE_INFO(file->data)));
  return urls;
}

// ---- Contextual menus

GList* getFileItems(NemoMenuProvider*, GtkWidget*, GList* files) {
  return guarded([&] { return nemo->fileItems.list(nemo->module.menus().menuForItems(urlsOf(files))); });
}

GList* getBackgroundItems(NemoMenuProvider*, GtkWidget*, NemoFileInfo* folder) {
  return guarded([&] { return nemo->folderItems.list(nemo->module.menus().menuForFolder(urlOf(folder))); });
}

// An open menu stays as it is; the next one is asked for anew.
void updateItems() {
  if (nemo->provider) nemo_menu_provider_emit_items_updated_signal(nemo->provider);
}

// ---- What the windows show

GtkWidget* getWidget(NemoLocationWidgetProvider*, const char* uri, GtkWidget*) {
  return guarded([&] { return browsers::locationWidget(nemo->module, uri); });
}

// ---- The object that Nemo makes

struct DovetailNemo {
  GObject parent;
};
struct DovetailNemoClass {
  GObjectClass parent;
};

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<NemoMenuProviderIface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
}
void implementLocations(gpointer interface, gpointer) {
  static_cast<NemoLocationWidgetProviderIface*>(interface)->get_widget = getWidget;
}
void implementName(gpointer interface, gpointer) {
  static_cast<NemoNameAndDescProviderInterface*>(interface)->get_name_and_desc = [](NemoNameAndDescProvider*) {
    return g_list_prepend(nullptr, g_strdup("Dovetail:::Commands of the Dovetail file manager, and the contents of archives"));
  };
}

GType dovetail_nemo_get_type();
G_DEFINE_DYNAMIC_TYPE_EXTENDED(DovetailNemo, dovetail_nemo, G_TYPE_OBJECT, 0,
                               G_IMPLEMENT_INTERFACE_DYNAMIC(NEMO_TYPE_MENU_PROVIDER, implementMenus)
                                   G_IMPLEMENT_INTERFACE_DYNAMIC(NEMO_TYPE_LOCATION_WIDGET_PROVIDER, implementLocations)
                                       G_IMPLEMENT_INTERFACE_DYNAMIC(NEMO_TYPE_NAME_AND_DESC_PROVIDER, implementName))

void dovetail_nemo_init(DovetailNemo* object) { nemo->provider = NEMO_MENU_PROVIDER(object); }
void dovetail_nemo_finalize(GObject* object) {
  if (nemo->provider == NEMO_MENU_PROVIDER(object)) nemo->provider = nullptr;
  G_OBJECT_CLASS(dovetail_nemo_parent_class)->finalize(object);
}
void dovetail_nemo_class_init(DovetailNemoClass* type) { G_OBJECT_CLASS(type)->finalize = dovetail_nemo_finalize; }
void dovetail_nemo_class_finalize(DovetailNemoClass*) {}

void start() {
  static Nemo once;
  nemo = &once;
  browsers::updateClosedMenus(nemo->module, updateItems);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void nemo_module_initialize(GTypeModule* module) {
  guarded(start);
  if (nemo) dovetail_nemo_register_type(module);
}

void nemo_module_shutdown() {}

void nemo_module_list_types(const GType** types, int* count) {
  static GType type;
  type = nemo ? dovetail_nemo_get_type() : 0;
  *types = &type;
  *count = nemo ? 1 : 0;
}

}  // extern "C"
#pragma GCC visibility pop
