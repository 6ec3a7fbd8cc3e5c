#include "browsers/gtk3/LocationWidget.h"

#include "browsers/gobject/FileURLs.h"
#include "browsers/gobject/Signals.h"

namespace browsers {

using platform::URL;
namespace {

bool isEmpty(GtkContainer* box) {
  bool isEmpty = true;
  GList* const children = gtk_container_get_children(box);
  for (GList* child = children; child; child = child->next) isEmpty &= !gtk_widget_get_visible(GTK_WIDGET(child->data));
  g_list_free(children);
  return isEmpty;
}

gboolean hideIfEmpty(gpointer box) {
  if (isEmpty(GTK_CONTAINER(box))) gtk_widget_hide(GTK_WIDGET(box));
  return G_SOURCE_REMOVE;
}

// The browser shows a box with a border for such widgets, empty but for ours in most windows, as soon as it has put them in.
void hideBoxSoon(GtkWidget* widget, GtkWidget*, gpointer) {
  GtkWidget* const box = gtk_widget_get_parent(widget);
  if (box) g_idle_add_full(G_PRIORITY_HIGH_IDLE, hideIfEmpty, g_object_ref(box), g_object_unref);
}

}  // namespace

GtkWidget* locationWidget(BrowserModule& module, const char* uri) {
  const URL folder = folderURL(uri);
  if (!folder.isFileURL() || !module.shownFolders().opened(folder)) return nullptr;
  GtkWidget* const widget = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
  gtk_widget_set_no_show_all(widget, TRUE);
  g_signal_connect(widget, "parent-set", G_CALLBACK(hideBoxSoon), nullptr);
  connectSignal(widget, "destroy", [&module, folder] { module.shownFolders().closed(folder); });
  return widget;
}

}  // namespace browsers
