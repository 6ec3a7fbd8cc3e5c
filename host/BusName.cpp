#include "host/BusName.h"

BusName::BusName(GDBusConnection* bus, const std::string& name, std::function<void(State)> onChange)
    : onChange_(std::move(onChange)) {
  const auto acquired = [](GDBusConnection*, const char*, gpointer self) { static_cast<BusName*>(self)->enter(State::owned); };
  const auto lost = [](GDBusConnection* connection, const char*, gpointer self) {
    static_cast<BusName*>(self)->enter(connection ? State::queued : State::lost);
  };
  // No flags: the request waits in the queue, and nobody may replace the owner.
  owner_ = g_bus_own_name_on_connection(bus, name.c_str(), G_BUS_NAME_OWNER_FLAGS_NONE, acquired, lost, this, nullptr);
}

BusName::~BusName() { g_bus_unown_name(owner_); }

void BusName::enter(State state) {
  state_ = state;
  onChange_(state);
}
