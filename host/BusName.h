// A program's bundle identifier as a well-known name on the session bus, with which it counts as running. Others may queue for
// the same name, and nobody takes it from its owner (D-Bus, "Message Bus Messages"). Main thread only.
#pragma once

#include <gio/gio.h>

#include <functional>
#include <string>

#include "platform/linux/OwnedGLib.h"

class BusName {
 public:
  enum class State {
    asked,   ///< The bus has not answered yet.
    queued,  ///< Another instance owns the name; this one is counted too.
    owned,
    lost,  ///< The bus has gone.
  };

  /// Asks for the name on an open connection. `onChange` runs from the main loop for each new state.
  BusName(GDBusConnection* bus, const std::string& name, std::function<void(State state)> onChange);
  BusName(const BusName&) = delete;
  BusName& operator=(const BusName&) = delete;
  /// Gives the name, or the place in the queue, back.
  ~BusName();

  State state() const { return state_; }

 private:
  static void onClosed(GDBusConnection*, gboolean, GError*, gpointer self);
  void enter(State state);

  platform::native::OwnedObject<GDBusConnection> bus_;
  std::function<void(State)> onChange_;
  State state_ = State::asked;
  gulong closed_;
  guint owner_;
};
