// The running programs that bear a bundle identifier (Cocoa's NSRunningApplication). Main thread only.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace platform {

struct RunningApplication {
  std::int32_t processIdentifier = 0;
};

class RunningApplications {
 public:
  virtual ~RunningApplications() = default;
  /// Each running instance once, in the order of their start; none when that cannot be found out within 1.0 s.
  virtual std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(std::string_view identifier) = 0;
};

}  // namespace platform
