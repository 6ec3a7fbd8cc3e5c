// A browser whose extension interface is made of GObjects: what its module consists of, and the entry points that load it. An adapter
// derives one class from it and names its interface's types and calls in `Interface`:
//   using File, Item, Menu, MenuProvider;
//   newItem(name, label, tip, icon), newMenu();            a reference for the caller
//   append(menu, item), setSubmenu(item, menu);            take a reference of their own
//   locationOf(file);                                      a reference for the caller
//   isDirectory(file);
//   tellItemsUpdated(provider);                            for tellItemsUpdated() alone
//   isPageKnownByLabel;                                    submenus are pages that the toolkit tells apart by their label
#pragma once

#include <utility>
#include <vector>

#include "browsers/BrowserModule.h"
#include "browsers/gobject/FileURLs.h"
#include "browsers/gobject/NativeItems.h"
#include "browsers/gobject/Provider.h"

namespace browsers {

/// Main thread only.
template <typename Interface>
class GObjectBrowser {
 public:
  using File = typename Interface::File;

  explicit GObjectBrowser(BrowserModule::Traits traits) : module_(traits) {}

  static platform::URL urlOf(File* file) {
    const platform::native::OwnedObject<GFile> location(Interface::locationOf(file));
    return browsers::urlOf(location.get(), Interface::isDirectory(file));
  }
  static std::vector<platform::URL> urlsOf(GList* files) {
    std::vector<platform::URL> urls;
    for (; files; files = files->next) urls.push_back(urlOf(static_cast<File*>(files->data)));
    return urls;
  }

  BrowserModule& module() { return module_; }
  Provider& provider() { return provider_; }

  /// The contextual menus, as the browser takes them: a new list with a reference to each item.
  GList* itemsForSelection(std::vector<platform::URL> selection) {
    return selectionItems_.list(module_.menus().menuForItems(std::move(selection)));
  }
  GList* itemsForFolder(File* folder) { return folderItems_.list(module_.menus().menuForFolder(urlOf(folder))); }

  /// Tells the browser that it would get other items now.
  void tellItemsUpdated() {
    using MenuProvider = typename Interface::MenuProvider;
    if (provider_.object()) Interface::tellItemsUpdated(reinterpret_cast<MenuProvider*>(provider_.object()));
  }

 private:
  BrowserModule module_;
  NativeItems<Interface> selectionItems_{module_};
  NativeItems<Interface> folderItems_{module_};
  Provider provider_;
};

/// The one browser of the process, for the module's entry points and for what the browser calls.
template <typename Browser>
class Loaded {
 public:
  /// Makes the browser the first time. When that fails, the module has no type and so nothing of it is ever called.
  static void initialize(GTypeModule* module, const char* typeName, const std::vector<Provider::Interface>& interfaces) {
    guarded(make);
    if (browser_) browser_->provider().registerType(module, typeName, interfaces);
  }
  static void listTypes(const GType** types, int* count) {
    static GType type;
    type = browser_ ? browser_->provider().type() : 0;
    *types = &type;
    *count = browser_ ? 1 : 0;
  }
  /// Only from what the browser calls.
  static Browser& browser() { return *browser_; }

 private:
  static void make() {
    static Browser once;
    browser_ = &once;
  }

  static inline Browser* browser_ = nullptr;
};

}  // namespace browsers
