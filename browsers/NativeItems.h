// A planned menu as the items of a browser's own interface, which are GObjects that tell of their choice with a signal "activate". An
// adapter names its interface's calls in `Toolkit`:
//   using Item, Menu;
//   static Item* newItem(const PlannedItem& item);        a reference for the caller
//   static Menu* newMenu();                                a reference for the caller
//   static void append(Menu* menu, Item* item);            takes a reference of its own
//   static void setSubmenu(Item* item, Menu* menu);        takes a reference of its own
#pragma once

#include <glib-object.h>

#include <memory>
#include <utility>

#include "browsers/BrowserModule.h"
#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::native::OwnedText;

/// What happens when an item is chosen. Held by the item's closure.
struct ItemChoice {
  BrowserModule& module;
  BoundMenuRef menu;
  const PlannedItem& item;  ///< Part of the menu.

  static void activate(GObject*, gpointer choice) {
    guarded([&] {
      const ItemChoice copy = *static_cast<ItemChoice*>(choice);  // the choice may end the item
      copy.module.menus().choose(*copy.menu, copy.item);
    });
  }
  static void release(gpointer choice, GClosure*) { delete static_cast<ItemChoice*>(choice); }
};

template <typename Toolkit>
class NativeItems {
 public:
  using Item = typename Toolkit::Item;

  explicit NativeItems(BrowserModule& module) : module_(module) {}

  /// A new list with a reference to each item, as the browsers take it; null for no menu. The items of a menu that was listed last
  /// are listed again.
  GList* list(const BoundMenuRef& menu) {
    if (!menu) return nullptr;
    if (menu != menu_) remember(menu);
    GList* list = nullptr;
    for (auto item = items_.rbegin(); item != items_.rend(); ++item) list = g_list_prepend(list, g_object_ref(item->get()));
    return list;
  }

 private:
  using OwnedItem = OwnedObject<Item>;

  void remember(const BoundMenuRef& menu) {
    items_.clear();
    menu_ = menu;
    for (const PlannedItem& item : menu->items) items_.push_back(make(item));
  }

  OwnedItem make(const PlannedItem& planned) {
    OwnedItem item(Toolkit::newItem(planned));
    if (planned.items) {
      const OwnedObject<typename Toolkit::Menu> submenu(Toolkit::newMenu());
      for (const PlannedItem& child : *planned.items) Toolkit::append(submenu.get(), make(child).get());
      Toolkit::setSubmenu(item.get(), submenu.get());
    } else if (planned.isEnabled) {
      g_signal_connect_data(item.get(), "activate", G_CALLBACK(ItemChoice::activate), new ItemChoice{module_, menu_, planned},
                            ItemChoice::release, GConnectFlags(0));
    }
    return item;
  }

  BrowserModule& module_;
  BoundMenuRef menu_;
  std::vector<OwnedItem> items_;
};

/// The URL of a file as the browser names it. A file of another file system than the machine's own is no file URL.
inline URL urlOf(GFile* file, bool isFolder) {
  const OwnedText path(g_file_is_native(file) ? g_file_get_path(file) : nullptr);
  if (path) return URL::fileURLWithPath(path.get(), isFolder);
  const OwnedText text(g_file_get_uri(file));
  return URL::URLWithString(text.get());
}

inline URL folderURL(const char* uri) {
  const OwnedObject<GFile> folder(g_file_new_for_uri(uri));
  return urlOf(folder.get(), true);
}

}  // namespace browsers
