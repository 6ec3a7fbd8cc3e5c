#include "host/BusName.h"

BusName::BusName(GDBusConnection* bus, const std::string& name, std::function<void(State)> onChange)
    : bus_(G_DBUS_CONNECTION(g_object_ref(bus))), onChange_(std::move(onChange)) {
  const auto acquired = [](GDBusConnection*, const char*, gpointer self) { static_cast<BusName*>(self)->enter(State::owned); };
  // Also said of an owned name by a bus that is about to go, whose end then follows.
  const auto notAcquired = [](GDBusConnection*, const char*, gpointer self) {
    auto* name = static_cast<BusName*>(self);
    if (name->state_ == State::asked && !g_dbus_connection_is_closed(name->bus_.get())) name->enter(State::queued);
  };
  closed_ = g_signal_connect(bus_.get(), "closed", G_CALLBACK(onClosed), this);
  // No flags: the request waits in the queue, and nobody may replace the owner.
  owner_ = g_bus_own_name_on_connection(bus, name.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE, acquired, notAcquired, this, nullptr);
}

BusName::~BusName() {
  g_signal_handler_disconnect(bus_.get(), closed_);
  g_bus_unown_name(owner_);
}

void BusName::onClosed(GDBusConnection*, gboolean, GError*, gpointer self) { static_cast<BusName*>(self)->enter(State::lost); }

void BusName::enter(State state) {
  state_ = state;
  onChange_(state);
}
