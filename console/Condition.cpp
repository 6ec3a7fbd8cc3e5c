#include "console/Condition.h"

#include <glib.h>

#include <algorithm>
#include <utility>

namespace {

struct ConditionSource {
  GSource source;
  struct Handlers {
    std::function<bool()> holds;
    std::function<void(bool)> onEnd;
  } * handlers;
};

ConditionSource* self(GSource* source) { return reinterpret_cast<ConditionSource*>(source); }

// The loop asks this before each sleep, so after whatever could have made a difference.
gboolean prepare(GSource* source, gint* timeout) {
  *timeout = -1;
  return self(source)->handlers->holds();
}

gboolean dispatch(GSource* source, GSourceFunc, gpointer) {
  const auto handlers = *self(source)->handlers;
  g_source_ref(source);
  handlers.onEnd(handlers.holds());
  g_source_unref(source);
  return G_SOURCE_REMOVE;
}

void finalize(GSource* source) { delete self(source)->handlers; }

GSourceFuncs functions = {prepare, nullptr, dispatch, finalize, nullptr, nullptr};

}  // namespace

Condition::Condition(std::function<bool()> holds, double seconds, std::function<void(bool)> onEnd)
    : source_(g_source_new(&functions, sizeof(ConditionSource))) {
  self(source_.get())->handlers = new ConditionSource::Handlers{std::move(holds), std::move(onEnd)};
  const auto microseconds = static_cast<gint64>(std::clamp(seconds, 0.0, 1e6) * G_USEC_PER_SEC);
  g_source_set_ready_time(source_.get(), g_get_monotonic_time() + microseconds);
  g_source_attach(source_.get(), nullptr);
}

void Condition::Destroy::operator()(GSource* source) const {
  g_source_destroy(source);
  g_source_unref(source);
}
