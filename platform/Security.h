// What the build grants the running process: its entitlements (Cocoa's SecTask).
#pragma once

#include <memory>
#include <string_view>

#include "platform/Object.h"

namespace platform {

inline constexpr std::string_view ApplicationGroupsEntitlement = "com.apple.security.application-groups";

class SecTask {
 public:
  virtual ~SecTask() = default;
  /// The entitlement's value, or nil when the process has none of that name.
  [[nodiscard]] virtual Object copyValueForEntitlement(std::string_view entitlement) = 0;
};

class Security {
 public:
  virtual ~Security() = default;
  /// A handle on the own process, or null when its entitlements cannot be read.
  [[nodiscard]] virtual std::unique_ptr<SecTask> createFromSelf() = 0;
};

}  // namespace platform
