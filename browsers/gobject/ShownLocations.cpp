#include "browsers/gobject/ShownLocations.h"

#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::native::OwnedObject;

namespace {

bool hasSignal(GObject* object, const char* name) { return g_signal_lookup(name, G_OBJECT_TYPE(object)) != 0; }

bool hasObjectProperty(GObject* object, const char* name) {
  const GParamSpec* const property = g_object_class_find_property(G_OBJECT_GET_CLASS(object), name);
  if (!property || !(property->flags & G_PARAM_READABLE)) return false;
  return G_TYPE_IS_OBJECT(property->value_type) || G_TYPE_IS_INTERFACE(property->value_type);
}

}  // namespace

ShownLocations::~ShownLocations() {
  for (const auto& [object, folder] : objects_) {
    g_object_weak_unref(object, gone, this);
    g_signal_handlers_disconnect_by_data(object, this);
  }
  if (application_) g_signal_handlers_disconnect_by_data(application_, this);
}

void ShownLocations::start() {
  GApplication* const application = g_application_get_default();
  if (!application || !hasSignal(G_OBJECT(application), "window-added")) return;
  application_ = G_OBJECT(application);
  g_signal_connect(application_, "window-added", G_CALLBACK(windowAdded), this);
}

void ShownLocations::watchWindow(GObject* window) {
  if (objects_.contains(window)) return;
  if (!published_.partAdded) return watchPart(window);
  if (!hasSignal(window, published_.partAdded) || !hasSignal(window, published_.partRemoved)) return;
  objects_.emplace(window, std::nullopt);
  g_object_weak_ref(window, gone, this);
  g_signal_connect(window, published_.partAdded, G_CALLBACK(partAdded), this);
  g_signal_connect(window, published_.partRemoved, G_CALLBACK(partRemoved), this);
}

void ShownLocations::watchPart(GObject* part) {
  if (objects_.contains(part)) return;
  if (!hasObjectProperty(part, published_.location)) return;
  objects_.emplace(part, std::nullopt);
  g_object_weak_ref(part, gone, this);
  const std::string signal = std::string("notify::") + published_.location;
  g_signal_connect(part, signal.c_str(), G_CALLBACK(locationChanged), this);
  show(part, locationOf(part));
}

std::optional<URL> ShownLocations::locationOf(GObject* part) const {
  GObject* value = nullptr;
  g_object_get(part, published_.location, &value, nullptr);
  const OwnedObject<GObject> location(value);
  return location ? std::optional(published_.urlOf(location.get())) : std::nullopt;
}

// The new folder is opened first, so that one which is shown before and after never counts as left.
void ShownLocations::show(GObject* part, std::optional<URL> folder) {
  const auto known = objects_.find(part);
  if (known == objects_.end()) return;
  const std::optional<URL> left = known->second;
  const bool isOpen = folder && folder->isFileURL() && module_.shownFolders().opened(*folder);
  known->second = isOpen ? folder : std::nullopt;
  if (left) module_.shownFolders().closed(*left);
}

void ShownLocations::windowAdded(GObject*, GObject* window, gpointer self) {
  guarded([&] { static_cast<ShownLocations*>(self)->watchWindow(window); });
}

void ShownLocations::partAdded(GObject*, GObject* part, gpointer self) {
  guarded([&] { static_cast<ShownLocations*>(self)->watchPart(part); });
}

void ShownLocations::partRemoved(GObject*, GObject* part, gpointer self) {
  guarded([&] { static_cast<ShownLocations*>(self)->show(part, std::nullopt); });
}

void ShownLocations::locationChanged(GObject* part, GParamSpec*, gpointer self) {
  guarded([&] {
    auto& locations = *static_cast<ShownLocations*>(self);
    locations.show(part, locations.locationOf(part));
  });
}

void ShownLocations::gone(gpointer self, GObject* object) {
  guarded([&] {
    auto& locations = *static_cast<ShownLocations*>(self);
    locations.show(object, std::nullopt);
    locations.objects_.erase(object);
  });
}

}  // namespace browsers
