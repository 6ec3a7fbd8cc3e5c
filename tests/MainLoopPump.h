// Runs GLib's default main context until something holds: how tests wait for events of the real world, with a
// deadline.
#pragma once

#include <glib.h>

#include <chrono>

namespace tests {

/// Whether `holds()` became true in time. It is asked after each turn of the loop, and every two milliseconds
/// for what the loop does not hear of, such as another process's state.
template <typename Condition>
bool pumpUntil(Condition holds, std::chrono::milliseconds deadline = std::chrono::seconds(20)) {
  const auto end = std::chrono::steady_clock::now() + deadline;
  GSource* tick = g_timeout_source_new(2);
  g_source_set_callback(
      tick, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr, nullptr);
  g_source_attach(tick, nullptr);
  bool isHeld = holds();
  while (!isHeld && std::chrono::steady_clock::now() < end) {
    g_main_context_iteration(nullptr, TRUE);
    isHeld = holds();
  }
  g_source_destroy(tick);
  g_source_unref(tick);
  return isHeld;
}

/// Runs what is ready now, and what that makes ready, without waiting.
inline void pumpReady() {
  while (g_main_context_iteration(nullptr, FALSE)) continue;
}

}  // namespace tests
