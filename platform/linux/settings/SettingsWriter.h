// The host's side of the shared settings: writes what the extension reads. For programs of their own process,
// not for plugins: it uses the process's shared connection to the session bus. Main thread only.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "platform/Object.h"
#include "platform/Result.h"
#include "platform/linux/OwnedGLib.h"

using DConfClient = struct _DConfClient;

namespace platform::native {

class SettingsWriter {
 public:
  /// Null for a group that makes no path of dconf.
  [[nodiscard]] static std::unique_ptr<SettingsWriter> forGroup(std::string_view group);

  /// Stores the value in the form of SettingsValue.h and waits until it is stored. nil removes the key.
  Result<Done, Error> setObject(const Object& value, std::string_view key);

 private:
  explicit SettingsWriter(std::string path);

  std::string path_;
  OwnedObject<GDBusConnection> bus_;  // dconf takes the shared one, which lives as long as somebody holds it
  OwnedObject<DConfClient> client_;
};

}  // namespace platform::native
