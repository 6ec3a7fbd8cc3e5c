#include "browsers/caja/ToolbarPicture.h"

#include <string>
#include <string_view>

#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::ImageRef;
using platform::native::OwnedObject;

namespace {

constexpr GtkIconSize buttonSize = GTK_ICON_SIZE_LARGE_TOOLBAR;

struct Picture {
  OwnedObject<GIcon> symbol;
  std::string buttonName;
  OwnedObject<GtkWidget> window;
};

// Null for an image whose drawing GTK would not colour: it knows those that it may by the file's name.
OwnedObject<GIcon> symbolOf(const ImageRef& image) {
  if (!image || !image->isTemplate || image->representations.empty()) return nullptr;
  const std::string& file = image->representations.front().file;
  if (!file.ends_with("-symbolic.svg")) return nullptr;
  const OwnedObject<GFile> drawing(g_file_new_for_path(file.c_str()));
  return OwnedObject<GIcon>(g_file_icon_new(drawing.get()));
}

// The toolbar is made of actions, which GTK has deprecated.
G_GNUC_BEGIN_IGNORE_DEPRECATIONS
bool isButtonOf(GtkWidget* widget, std::string_view name) {
  if (!GTK_IS_TOOL_BUTTON(widget)) return false;
  GtkAction* const action = gtk_activatable_get_related_action(GTK_ACTIVATABLE(widget));
  return action && gtk_action_get_name(action) == name;
}
G_GNUC_END_IGNORE_DEPRECATIONS

void showOnButton(GtkWidget* widget, gpointer data) {
  const auto& picture = *static_cast<const Picture*>(data);
  if (isButtonOf(widget, picture.buttonName)) {
    GtkWidget* const image = gtk_image_new_from_gicon(picture.symbol.get(), buttonSize);
    gtk_widget_show(image);
    gtk_tool_button_set_icon_widget(GTK_TOOL_BUTTON(widget), image);
  } else if (GTK_IS_CONTAINER(widget)) {
    gtk_container_forall(GTK_CONTAINER(widget), showOnButton, data);
  }
}

gboolean show(gpointer picture) {
  showOnButton(static_cast<Picture*>(picture)->window.get(), picture);
  return G_SOURCE_REMOVE;
}

}  // namespace

void showAsSymbol(const ImageRef& image, const char* buttonName, GtkWidget* window) {
  OwnedObject<GIcon> symbol = symbolOf(image);
  if (!symbol) return;
  const auto end = [](gpointer picture) { delete static_cast<Picture*>(picture); };
  auto* const picture = new Picture{std::move(symbol), buttonName, OwnedObject<GtkWidget>(GTK_WIDGET(g_object_ref(window)))};
  // After the toolbar was put together, which is an idle call as well.
  g_idle_add_full(G_PRIORITY_DEFAULT_IDLE + 1, show, picture, end);
}

}  // namespace browsers
