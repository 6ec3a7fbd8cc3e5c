// A planned menu as the items of a browser's own interface, which are GObjects with a property "sensitive" that tell of their choice
// with a signal "activate". `Interface` is the adapter's (see GObjectBrowser.h).
#pragma once

#include <glib-object.h>

#include <cstddef>
#include <string>
#include <vector>

#include "browsers/BrowserModule.h"
#include "browsers/MenuText.h"
#include "browsers/gobject/Signals.h"
#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::native::OwnedObject;

/// The item, part of the menu, is chosen when its object says so. The object holds the menu.
inline void chooseOnActivate(gpointer object, BrowserModule& module, const BoundMenuRef& menu, const PlannedItem& item) {
  connectSignal(object, "activate", [&module, menu, &item] { module.menus().choose(*menu, item); });
}

template <typename Interface>
class NativeItems {
 public:
  using Item = typename Interface::Item;

  explicit NativeItems(BrowserModule& module) : module_(module) {}

  /// A new list with a reference to each item, as the browsers take it; null for no menu. The items of a menu that was listed last
  /// are listed again, where the browser does not want others.
  GList* list(const BoundMenuRef& menu) {
    if (!menu) return nullptr;
    if (menu != menu_ || Interface::isPageKnownByLabel) remember(menu);
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
    const char* const icon = planned.icon.empty() ? nullptr : planned.icon.c_str();
    OwnedItem item(Interface::newItem(planned.name.c_str(), labelOf(planned).c_str(), "", icon));
    g_object_set(item.get(), "sensitive", gboolean(planned.isEnabled), nullptr);
    if (planned.items) {
      const OwnedObject<typename Interface::Menu> submenu(Interface::newMenu());
      for (const PlannedItem& child : *planned.items) Interface::append(submenu.get(), make(child).get());
      Interface::setSubmenu(item.get(), submenu.get());
    } else if (planned.isEnabled) {
      chooseOnActivate(item.get(), module_, menu_, planned);
    }
    return item;
  }

  // Differs from all that were listed before, as pages may be left of those.
  std::string labelOf(const PlannedItem& planned) {
    return planned.items && Interface::isPageKnownByLabel ? planned.label + invisibleNumber(pages_++) : planned.label;
  }

  BrowserModule& module_;
  BoundMenuRef menu_;
  std::vector<OwnedItem> items_;
  std::size_t pages_ = 0;
};

}  // namespace browsers
