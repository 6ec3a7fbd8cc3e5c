// The version question on Linux, where the platform's interfaces are this backend's: the build settings say
// which version of them it supplies.
#pragma once

#include <string_view>

#include "platform/BuildSettings.h"
#include "platform/ProcessInfo.h"

namespace platform::native {

class LinuxProcessInfo final : public ProcessInfo {
 public:
  /// `version` is up to three numbers with dots between; what is missing or no number counts as 0.
  explicit LinuxProcessInfo(std::string_view version = BuildSettings::systemVersion);
  bool isOperatingSystemAtLeastVersion(const OperatingSystemVersion& version) const override;

 private:
  OperatingSystemVersion version_;
};

}  // namespace platform::native
