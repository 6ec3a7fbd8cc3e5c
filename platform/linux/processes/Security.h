// The entitlements on Linux: a property list in XML that is part of the build (cmake/BuildSettings.cmake).
#pragma once

#include <optional>
#include <string_view>

#include "platform/BuildSettings.h"
#include "platform/Security.h"

namespace platform::native {

/// The value of a property list in XML: dictionaries, arrays, strings, integers, reals, booleans and data.
/// Nothing for a text that is none, is longer than 1 MiB or deeper than 64 levels.
std::optional<Object> objectOfPropertyListText(std::string_view text);

class LinuxSecurity : public Security {
 public:
  /// `entitlements` is read anew for each handle and outlives the object.
  explicit LinuxSecurity(std::string_view entitlements = BuildSettings::entitlements);

  /// Null when the text is no property list or no dictionary.
  std::unique_ptr<SecTask> createFromSelf() override;

 private:
  std::string_view entitlements_;
};

}  // namespace platform::native
