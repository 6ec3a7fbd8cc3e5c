// Running programs by their bundle identifier, which a program owns as a well-known name on the session bus
// and lets others queue for: the instances are the owner and the queue behind it.
#pragma once

#include "platform/RunningApplications.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform::native {

class LinuxRunningApplications final : public RunningApplications {
 public:
  explicit LinuxRunningApplications(SessionBus& bus) : bus_(bus) {}

  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(std::string_view identifier) override;

 private:
  std::int32_t processOf(const char* owner, SessionBus::Moment deadline);

  SessionBus& bus_;
};

}  // namespace platform::native
