#include "platform/linux/processes/Bundle.h"

#include <unistd.h>

#include <utility>

namespace platform::native {

LinuxBundle::LinuxBundle(std::string version, std::string hostBundleIdentifier)
    : version_(std::move(version)), hostBundleIdentifier_(std::move(hostBundleIdentifier)) {}

std::optional<std::string> LinuxBundle::objectForInfoDictionaryKey(std::string_view key) const {
  return key == BundleVersionKey ? std::optional(version_) : std::nullopt;
}

std::string LinuxBundle::hostBundleIdentifier() const { return hostBundleIdentifier_; }

std::int32_t LinuxBundle::processIdentifier() const { return getpid(); }

}  // namespace platform::native
