// The running program's own information: what its build settings put into its bundle's list (Cocoa's NSBundle).
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

inline constexpr std::string_view BundleVersionKey = "CFBundleVersion";

class Bundle {
 public:
  virtual ~Bundle() = default;
  /// A text of the information list, or nothing.
  virtual std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const = 0;
  /// The bundle identifier of the host application that this build belongs to.
  virtual std::string hostBundleIdentifier() const = 0;
  /// Of the running process.
  virtual std::int32_t processIdentifier() const = 0;
};

}  // namespace platform
