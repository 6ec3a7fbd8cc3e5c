#include "browsers/gobject/Provider.h"

namespace browsers {

struct Provider::ObjectClass {
  GObjectClass parent;
  Provider* provider;
};

void Provider::registerType(GTypeModule* module, const char* name, const std::vector<Interface>& interfaces) {
  GTypeInfo info{};
  info.class_size = sizeof(ObjectClass);
  info.class_init = initClass;
  info.class_data = this;
  info.instance_size = sizeof(GObject);
  info.instance_init = initObject;
  type_ = g_type_module_register_type(module, G_TYPE_OBJECT, name, &info, GTypeFlags(0));
  for (const auto& [interface, implement] : interfaces) {
    const GInterfaceInfo calls{implement, nullptr, nullptr};
    g_type_module_add_interface(module, type_, interface, &calls);
  }
}

void Provider::initClass(gpointer type, gpointer provider) {
  static_cast<ObjectClass*>(type)->provider = static_cast<Provider*>(provider);
  G_OBJECT_CLASS(type)->finalize = finalizeObject;
}

void Provider::initObject(GTypeInstance* object, gpointer type) {
  static_cast<ObjectClass*>(type)->provider->object_ = reinterpret_cast<GObject*>(object);
}

void Provider::finalizeObject(GObject* object) {
  auto* const type = reinterpret_cast<ObjectClass*>(G_OBJECT_GET_CLASS(object));
  if (type->provider->object_ == object) type->provider->object_ = nullptr;
  static_cast<GObjectClass*>(g_type_class_peek_parent(type))->finalize(object);
}

}  // namespace browsers
