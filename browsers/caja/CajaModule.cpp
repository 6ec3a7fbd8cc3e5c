// The extension in Caja: items of the selection and of the folder's background, a toolbar button that pops its menu up, and what its
// windows show. Caja calls all of it on the main thread.
#include <gtk/gtk.h>
#include <libcaja-extension/caja-extension-types.h>
#include <libcaja-extension/caja-file-info.h>
#include <libcaja-extension/caja-location-widget-provider.h>
#include <libcaja-extension/caja-menu-provider.h>

#include <map>

#include "browsers/NativeItems.h"
#include "browsers/caja/PopupMenu.h"
#include "browsers/gtk3/LocationWidget.h"
#include "browsers/gtk3/OpenMenu.h"

using browsers::BoundMenuRef;
using browsers::BrowserModule;
using browsers::guarded;
using browsers::NativeItems;
using browsers::PlannedItem;
using platform::URL;
using platform::native::OwnedObject;

namespace {

struct CajaToolkit {
  using Item = CajaMenuItem;
  using Menu = CajaMenu;
  static Item* newItem(const PlannedItem& item) {
    Item* const made =
        caja_menu_item_new(item.name.c_str(), item.label.c_str(), "", item.icon.empty() ? nullptr : item.icon.c_str());
    g_object_set(made, "sensitive", gboolean(item.isEnabled), nullptr);
    return made;
  }
  static Menu* newMenu() { return caja_menu_new(); }
  static void append(Menu* menu, Item* item) { caja_menu_append_item(menu, item); }
  static void setSubmenu(Item* item, Menu* menu) { caja_menu_item_set_submenu(item, menu); }
};

// Caja waits 100 ms and longer after each change of the selection, and pays for every item then.
constexpr BrowserModule::Traits traits{.style = {.archiveItems = 200, .areSubmenuLabelsDistinct = false}, .areIconsDrawn = true};

/// One for the process.
struct Caja {
  BrowserModule module{traits};
  NativeItems<CajaToolkit> fileItems{module};
  NativeItems<CajaToolkit> folderItems{module};
  std::map<GtkWidget*, std::vector<URL>> selections;  // what each window told last
  CajaMenuProvider* provider = nullptr;
};
Caja* caja = nullptr;

URL urlOf(CajaFileInfo* file) {
  const OwnedObject<GFile> location(caja_file_info_get_location(file));
  return browsers::urlOf(location.get(), caja_file_info_is_directory(file));
}

std::vector<URL> urlsOf(GList* files) {
  std::vector<URL> urls;
  for (GList* file = files; file; file = file->next) urls.push_back(urlOf(CAJA_FILE_INFO(file->data)));
  return urls;
}

// ---- Contextual menus

void forgetWindow(gpointer, GObject* window) { caja->selections.erase(reinterpret_cast<GtkWidget*>(window)); }

std::vector<URL>& selectionOf(GtkWidget* window) {
  const auto [known, isNew] = caja->selections.try_emplace(window);
  if (isNew) g_object_weak_ref(G_OBJECT(window), forgetWindow, nullptr);
  return known->second;
}

GList* getFileItems(CajaMenuProvider*, GtkWidget* window, GList* files) {
  return guarded([&] {
    const std::vector<URL>& selection = selectionOf(window) = urlsOf(files);
    return caja->fileItems.list(caja->module.menus().menuForItems(selection));
  });
}

GList* getBackgroundItems(CajaMenuProvider*, GtkWidget*, CajaFileInfo* folder) {
  return guarded([&] { return caja->folderItems.list(caja->module.menus().menuForFolder(urlOf(folder))); });
}

// Caja puts the new items into a menu that is up.
void updateItems() {
  if (caja->provider) caja_menu_provider_emit_items_updated_signal(caja->provider);
}

// ---- The toolbar button

struct Button {
  GtkWidget* window;
  URL folder;
};

void buttonClicked(CajaMenuItem*, gpointer data) {
  guarded([&] {
    const Button& button = *static_cast<Button*>(data);
    const BoundMenuRef menu = caja->module.menus().menuForToolbar(selectionOf(button.window), button.folder);
    if (menu) showPopupMenu(caja->module, menu, GTK_WINDOW(button.window));
  });
}

GList* getToolbarItems(CajaMenuProvider*, GtkWidget* window, CajaFileInfo* folder) {
  return guarded([&] {
    const DTDovetailSync& extension = caja->module.extension();
    CajaMenuItem* const item =
        caja_menu_item_new("DTDovetailSync3", extension.toolbarItemName().c_str(), extension.toolbarItemToolTip().c_str(),
                           caja->module.icons().fileOf(extension.toolbarItemImage(), 24).c_str());
    g_signal_connect_data(
        item, "activate", G_CALLBACK(buttonClicked), new Button{window, urlOf(folder)},
        [](gpointer button, GClosure*) { delete static_cast<Button*>(button); }, GConnectFlags(0));
    return g_list_prepend(nullptr, item);
  });
}

// ---- What the windows show

GtkWidget* getWidget(CajaLocationWidgetProvider*, const char* uri, GtkWidget*) {
  return guarded([&] { return browsers::locationWidget(caja->module, uri); });
}

// ---- The object that Caja makes

struct DovetailCaja {
  GObject parent;
};
struct DovetailCajaClass {
  GObjectClass parent;
};

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<CajaMenuProviderIface*>(interface);
  menus.get_file_items = getFileItems;
  menus.get_background_items = getBackgroundItems;
  menus.get_toolbar_items = getToolbarItems;
}
void implementLocations(gpointer interface, gpointer) {
  static_cast<CajaLocationWidgetProviderIface*>(interface)->get_widget = getWidget;
}

GType dovetail_caja_get_type();
G_DEFINE_DYNAMIC_TYPE_EXTENDED(DovetailCaja, dovetail_caja, G_TYPE_OBJECT, 0,
                               G_IMPLEMENT_INTERFACE_DYNAMIC(CAJA_TYPE_MENU_PROVIDER, implementMenus)
                                   G_IMPLEMENT_INTERFACE_DYNAMIC(CAJA_TYPE_LOCATION_WIDGET_PROVIDER, implementLocations))

void dovetail_caja_init(DovetailCaja* object) { caja->provider = CAJA_MENU_PROVIDER(object); }
void dovetail_caja_finalize(GObject* object) {
  if (caja->provider == CAJA_MENU_PROVIDER(object)) caja->provider = nullptr;
  G_OBJECT_CLASS(dovetail_caja_parent_class)->finalize(object);
}
void dovetail_caja_class_init(DovetailCajaClass* type) { G_OBJECT_CLASS(type)->finalize = dovetail_caja_finalize; }
void dovetail_caja_class_finalize(DovetailCajaClass*) {}

void start() {
  static Caja once;
  caja = &once;
  browsers::updateClosedMenus(caja->module, updateItems);
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void caja_module_initialize(GTypeModule* module) {
  guarded(start);
  if (caja) dovetail_caja_register_type(module);
}

void caja_module_shutdown() {}

void caja_module_list_types(const GType** types, int* count) {
  static GType type;
  type = caja ? dovetail_caja_get_type() : 0;
  *types = &type;
  *count = caja ? 1 : 0;
}

}  // extern "C"
#pragma GCC visibility pop
