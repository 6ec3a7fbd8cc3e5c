// Runs the main loop until a condition holds, ten seconds at most.
#pragma once

#include <glib.h>

#include <functional>

/// True as soon as `condition` holds; false when it has not after `seconds`.
inline bool runUntil(const std::function<bool()>& condition, unsigned seconds = 10) {
  bool isOver = false;
  const guint deadline = g_timeout_add_seconds(
      seconds, [](gpointer flag) -> gboolean { return *static_cast<bool*>(flag) = true; }, &isOver);
  while (!condition() && !isOver) g_main_context_iteration(nullptr, TRUE);
  g_source_remove(deadline);
  return condition();
}
