// The program's own information on Linux: the build settings.
#pragma once

#include <string>

#include "platform/BuildSettings.h"
#include "platform/Bundle.h"

namespace platform::native {

class LinuxBundle : public Bundle {
 public:
  /// A program may pass for another version or belong to another host.
  explicit LinuxBundle(std::string version = std::string(BuildSettings::bundleVersion),
                       std::string hostBundleIdentifier = std::string(BuildSettings::hostBundleIdentifier));

  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override;
  std::string hostBundleIdentifier() const override;
  std::int32_t processIdentifier() const override;

 private:
  std::string version_;
  std::string hostBundleIdentifier_;
};

}  // namespace platform::native
