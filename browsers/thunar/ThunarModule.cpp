// The extension in Thunar: items of the selection and of the folder's background, and what its windows show. Thunar calls all of it on
// the main thread.
#include <gtk/gtk.h>

#include "browsers/NativeItems.h"
#include "browsers/ShownLocations.h"

// Some of these headers do not say that they are C; what they include has been included above.
extern "C" {
#include <thunarx/thunarx.h>
}

using browsers::BrowserModule;
using browsers::guarded;
using browsers::NativeItems;
using browsers::PlannedItem;
using browsers::ShownLocations;
using platform::URL;
using platform::native::OwnedObject;

namespace {

struct ThunarToolkit {
  using Item = ThunarxMenuItem;
  using Menu = ThunarxMenu;
  static Item* newItem(const PlannedItem& item) {
    Item* const made =
        thunarx_menu_item_new(item.name.c_str(), item.label.c_str(), "", item.icon.empty() ? nullptr : item.icon.c_str());
    g_object_set(made, "sensitive", gboolean(item.isEnabled), nullptr);
    return made;
  }
  static Menu* newMenu() { return thunarx_menu_new(); }
  static void append(Menu* menu, Item* item) { thunarx_menu_append_item(menu, item); }
  static void setSubmenu(Item* item, Menu* menu) { thunarx_menu_item_set_menu(item, menu); }
};

// Thunar pays for every item when the menu pops up.
constexpr BrowserModule::Traits traits{.style = {.archiveItems = 200, .areSubmenuLabelsDistinct = false}, .areIconsDrawn = true};

URL urlOf(ThunarxFileInfo* file) {
  const OwnedObject<GFile> location(thunarx_file_info_get_location(file));
  return browsers::urlOf(location.get(), thunarx_file_info_is_directory(file));
}

URL urlOfLocation(GObject* location) { return urlOf(THUNARX_FILE_INFO(location)); }

std::vector<URL> urlsOf(GList* files) {
  std::vector<URL> urls;
  for (GList* file = files; file; file = file->next) urls.push_back(urlOf(THUNARX_FILE_INFO(file->data)));
  return urls;
}

/// One for the process.
struct Thunar {
  BrowserModule module{traits};
  NativeItems<ThunarToolkit> fileItems{module};
  NativeItems<ThunarToolkit> folderItems{module};
  // Its windows tell the folder of the tab in front.
  ShownLocations shownLocations{module, {"current-directory", nullptr, nullptr, urlOfLocation}};
};
Thunar* thunar = nullptr;

// ---- Contextual menus

// Thunar asks at each popup, and at each key as well, for the accelerators that items may have.
GList* getFileItems(ThunarxMenuProvider*, GtkWidget*, GList* files) {
  return guarded([&] { return thunar->fileItems.list(thunar->module.menus().menuForItems(urlsOf(files))); });
}

GList* getFolderItems(ThunarxMenuProvider*, GtkWidget*, ThunarxFileInfo* folder) {
  return guarded([&] { return thunar->folderItems.list(thunar->module.menus().menuForFolder(urlOf(folder))); });
}

// ---- The object that Thunar makes

struct DovetailThunar {
  GObject parent;
};
struct DovetailThunarClass {
  GObjectClass parent;
};

void implementMenus(gpointer interface, gpointer) {
  auto& menus = *static_cast<ThunarxMenuProviderIface*>(interface);
  menus.get_file_menu_items = getFileItems;
  menus.get_folder_menu_items = getFolderItems;
}

GType dovetail_thunar_get_type();
G_DEFINE_DYNAMIC_TYPE_EXTENDED(DovetailThunar, dovetail_thunar, G_TYPE_OBJECT, 0,
                               G_IMPLEMENT_INTERFACE_DYNAMIC(THUNARX_TYPE_MENU_PROVIDER, implementMenus))

void dovetail_thunar_init(DovetailThunar*) {}
void dovetail_thunar_class_init(DovetailThunarClass*) {}
void dovetail_thunar_class_finalize(DovetailThunarClass*) {}

// Thunar may load the module after it has opened windows.
void watchOpenWindows() {
  GApplication* const application = g_application_get_default();
  if (!application || !GTK_IS_APPLICATION(application)) return;
  for (GList* window = gtk_application_get_windows(GTK_APPLICATION(application)); window; window = window->next) {
    thunar->shownLocations.watchWindow(G_OBJECT(window->data));
  }
}

void start() {
  static Thunar once;
  thunar = &once;
  thunar->shownLocations.start();
  watchOpenWindows();
}

}  // namespace

#pragma GCC visibility push(default)
extern "C" {

void thunar_extension_initialize(ThunarxProviderPlugin* plugin) {
  // Thunar drops providers that it has not used for a while, and the module with them.
  thunarx_provider_plugin_set_resident(plugin, TRUE);
  guarded(start);
  if (thunar) dovetail_thunar_register_type(G_TYPE_MODULE(plugin));
}

void thunar_extension_shutdown() {}

void thunar_extension_list_types(const GType** types, gint* count) {
  static GType type;
  type = thunar ? dovetail_thunar_get_type() : 0;
  *types = &type;
  *count = thunar ? 1 : 0;
}

}  // extern "C"
#pragma GCC visibility pop
