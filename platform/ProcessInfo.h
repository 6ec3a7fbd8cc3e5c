// Facts about the system that the process runs on (Cocoa's NSProcessInfo).
#pragma once

#include <compare>

namespace platform {

struct OperatingSystemVersion {
  int majorVersion = 0;
  int minorVersion = 0;
  int patchVersion = 0;

  friend auto operator<=>(const OperatingSystemVersion&, const OperatingSystemVersion&) = default;
};

class ProcessInfo {
 public:
  virtual ~ProcessInfo() = default;
  /// True when the running system is of that version or a later one.
  virtual bool isOperatingSystemAtLeastVersion(const OperatingSystemVersion& version) const = 0;
};

}  // namespace platform
