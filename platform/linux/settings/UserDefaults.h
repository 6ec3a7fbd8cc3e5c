// The shared settings on Linux: dconf, below the path of the group (SettingsPath.h), values as in
// SettingsValue.h. Reads go to dconf's mapped file without the bus; what was read stays in memory until the
// dconf service tells of a change (its signal ca.desrt.dconf.Writer.Notify). After the session bus came back
// all that was read is read again.
#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "platform/UserDefaults.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform::native {

class DConfStore;

class LinuxUserDefaultsSuites : public UserDefaultsSuites {
 public:
  /// The bus outlives the suites and is theirs alone, as they use its one place for a handler of new
  /// connections.
  explicit LinuxUserDefaultsSuites(SessionBus& bus);
  ~LinuxUserDefaultsSuites() override;

  /// Without a bus the store opens all the same, and is told of changes once there is one. A store may
  /// outlive the suites and is then told of no change.
  std::unique_ptr<UserDefaults> initWithSuiteName(std::string_view suiteName) override;

  /// Takes over what others have stored by now, ahead of the notices of it, and tells the observers.
  void synchronize();

 private:
  SessionBus& bus_;
  std::shared_ptr<std::vector<DConfStore*>> stores_;  // all that are open
};

}  // namespace platform::native
