// What a browser's windows show, by the properties that its own objects publish: for browsers whose extension interface does not tell.
// Each name is looked for before it is relied on; a browser that lacks one is not watched. Main thread only.
#pragma once

#include <gio/gio.h>

#include <map>
#include <optional>

#include "browsers/BrowserModule.h"

namespace browsers {

class ShownLocations {
 public:
  /// What the browser publishes. The objects that show a folder are the windows, or parts of them.
  struct Published {
    const char* location;   ///< The property that holds the shown folder, or null while there is none.
    const char* partAdded;  ///< The window's signal with a new part; null where windows show folders themselves.
    const char* partRemoved;
    URL (*urlOf)(GObject* location);
  };

  ShownLocations(BrowserModule& module, Published published) : module_(module), published_(published) {}
  ~ShownLocations();

  /// Watches the windows that the process's application adds from now on.
  void start();
  /// The same window twice counts once.
  void watchWindow(GObject* window);

 private:
  static void windowAdded(GObject* application, GObject* window, gpointer self);
  static void partAdded(GObject* window, GObject* part, gpointer self);
  static void partRemoved(GObject* window, GObject* part, gpointer self);
  static void locationChanged(GObject* part, GParamSpec*, gpointer self);
  static void gone(gpointer self, GObject* object);

  void watchPart(GObject* part);
  void show(GObject* part, std::optional<URL> folder);
  std::optional<URL> locationOf(GObject* part) const;

  BrowserModule& module_;
  Published published_;
  GObject* application_ = nullptr;
  std::map<GObject*, std::optional<URL>> objects_;  // windows and parts that live, and the folder that was opened for each
};

}  // namespace browsers
