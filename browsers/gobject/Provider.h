// The object that a browser makes of a module's one type, and calls through the interfaces that the type has.
#pragma once

#include <glib-object.h>

#include <vector>

namespace browsers {

/// One for the process; it outlives the type. Main thread only.
class Provider {
 public:
  struct Interface {
    GType type;
    GInterfaceInitFunc implement;  ///< Fills the interface's table of calls.
  };

  Provider() = default;
  Provider(const Provider&) = delete;

  /// Registers the type for the module, again each time the browser loads it.
  void registerType(GTypeModule* module, const char* name, const std::vector<Interface>& interfaces);
  /// 0 before it was registered.
  GType type() const { return type_; }
  /// The object that the browser made last; null when there is none.
  GObject* object() const { return object_; }

 private:
  struct ObjectClass;

  static void initClass(gpointer type, gpointer provider);
  static void initObject(GTypeInstance* object, gpointer type);
  static void finalizeObject(GObject* object);

  GType type_ = 0;
  GObject* object_ = nullptr;
};

}  // namespace browsers
