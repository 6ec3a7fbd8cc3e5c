#include "platform/linux/settings/SettingsWriter.h"

#include <dconf.h>

#include "platform/linux/files/FileStatus.h"
#include "platform/linux/settings/SettingsPath.h"
#include "platform/linux/settings/SettingsValue.h"

namespace platform::native {
namespace {

// dconf writes over the process's shared connection, whose loss would end the process.
OwnedObject<GDBusConnection> busThatMayClose() {
  OwnedObject<GDBusConnection> bus(g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr));
  if (bus) g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  return bus;
}

}  // namespace

std::unique_ptr<SettingsWriter> SettingsWriter::forGroup(std::string_view group) {
  auto path = settingsPathOfGroup(group);
  return path ? std::unique_ptr<SettingsWriter>(new SettingsWriter(*std::move(path))) : nullptr;
}

SettingsWriter::SettingsWriter(std::string path) : path_(std::move(path)), bus_(busThatMayClose()), client_(dconf_client_new()) {}

Result<Done, Error> SettingsWriter::setObject(const Object& value, std::string_view key) {
  const auto path = settingsPathOfKey(path_, key);
  const OwnedVariant variant = variantOfObject(value);
  if (!path || (!variant && !value.isNil())) return Failure{posixError(EINVAL)};
  GError* failure = nullptr;
  if (dconf_client_write_sync(client_.get(), path->c_str(), variant.get(), nullptr, nullptr, &failure)) return Done{};
  const OwnedError owned(failure);
  Error error{g_quark_to_string(failure->domain), failure->code, {}};
  error.setText(LocalizedDescriptionKey, failure->message);
  return Failure{std::move(error)};
}

}  // namespace platform::native
