// A program of its own on a session bus. LINE is the number of the descriptor by which it and the test tell
// each other bytes.
//   bus-peer LINE ADDRESS own NAME          owns the name or queues for it, tells "o", ends when told
//   anything or at the line's end bus-peer LINE ADDRESS post NAME TEXT    posts a distributed notification
//   and ends
#include <gio/gio.h>
#include <unistd.h>

#include <string>

namespace {

GDBusConnection* connect(const char* address) {
  const auto flags = static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                                       G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION);
  return g_dbus_connection_new_for_address_sync(address, flags, nullptr, nullptr, nullptr);
}

int own(GDBusConnection* bus, const char* name, int line) {
  GVariant* answer = g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                                                 "RequestName", g_variant_new("(su)", name, 0), G_VARIANT_TYPE("(u)"),
                                                 G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
  if (answer == nullptr || ::write(line, "o", 1) != 1) return 1;
  char told = 0;
  return ::read(line, &told, 1) < 0;
}

int post(GDBusConnection* bus, const char* name, const char* text) {
  g_dbus_connection_emit_signal(bus, nullptr, "/org/dovetail/DistributedNotificationCenter",
                                "org.dovetail.DistributedNotificationCenter", name, g_variant_new("(s)", text), nullptr);
  return g_dbus_connection_flush_sync(bus, nullptr, nullptr) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
  GDBusConnection* bus = argc >= 5 ? connect(argv[2]) : nullptr;
  if (bus == nullptr) return 1;
  const std::string task = argv[3];
  return task == "own" ? own(bus, argv[4], std::stoi(argv[1])) : post(bus, argv[4], argv[5]);
}
