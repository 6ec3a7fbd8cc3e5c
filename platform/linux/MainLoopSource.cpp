#include "platform/linux/MainLoopSource.h"

#include <glib-unix.h>
#include <glib.h>

#include <algorithm>
#include <utility>

namespace platform::native {
namespace {

using Handler = std::function<void()>;

gboolean runAtReady(gint, GIOCondition, gpointer handler) {
  (*static_cast<Handler*>(handler))();
  return G_SOURCE_CONTINUE;
}

gboolean runOnce(gpointer handler) {
  (*static_cast<Handler*>(handler))();
  return G_SOURCE_REMOVE;
}

void attach(GSource* source, GSourceFunc run, Handler handler) {
  const auto release = [](gpointer data) { delete static_cast<Handler*>(data); };
  g_source_set_callback(source, run, new Handler(std::move(handler)), release);
  g_source_attach(source, nullptr);
}

}  // namespace

void MainLoopSource::Destroy::operator()(GSource* source) const {
  g_source_destroy(source);
  g_source_unref(source);
}

MainLoopSource MainLoopSource::whenReadable(int descriptor, Handler handler, int order) {
  const int priority = G_PRIORITY_DEFAULT + std::clamp(order, -100, 100);
  return onDescriptor(g_unix_fd_source_new(descriptor, G_IO_IN), priority, std::move(handler));
}

MainLoopSource MainLoopSource::firstWhenReadable(int descriptor, Handler handler) {
  return onDescriptor(g_unix_fd_source_new(descriptor, G_IO_IN), 10 * G_PRIORITY_HIGH, std::move(handler));
}

MainLoopSource MainLoopSource::whenWritable(int descriptor, Handler handler) {
  return onDescriptor(g_unix_fd_source_new(descriptor, G_IO_OUT), G_PRIORITY_DEFAULT, std::move(handler));
}

MainLoopSource MainLoopSource::onDescriptor(GSource* source, int priority, Handler handler) {
  g_source_set_priority(source, priority);
  attach(source, reinterpret_cast<GSourceFunc>(reinterpret_cast<void*>(runAtReady)), std::move(handler));
  return MainLoopSource(source);
}

MainLoopSource MainLoopSource::soon(Handler handler) { return once(g_idle_source_new(), std::move(handler)); }

MainLoopSource MainLoopSource::after(unsigned milliseconds, Handler handler) {
  return once(g_timeout_source_new(milliseconds), std::move(handler));
}

MainLoopSource MainLoopSource::once(GSource* source, Handler handler) {
  g_source_set_priority(source, G_PRIORITY_DEFAULT);
  attach(source, runOnce, std::move(handler));
  return MainLoopSource(source);
}

}  // namespace platform::native
