#include "platform/linux/processes/RunningApplications.h"

#include <algorithm>
#include <string>

namespace platform::native {

std::vector<RunningApplication> LinuxRunningApplications::runningApplicationsWithBundleIdentifier(std::string_view identifier) {
  const std::string name(identifier);
  const bool isLegal = name.find('\0') == std::string::npos && g_dbus_is_name(name.c_str()) && name.front() != ':';
  if (!isLegal) return {};
  const auto deadline = SessionBus::deadline();
  const OwnedVariant queue = bus_.call("ListQueuedOwners", g_variant_new("(s)", name.c_str()), "(as)", deadline);
  if (!queue) return {};

  std::vector<RunningApplication> found;
  const OwnedVariant owners(g_variant_get_child_value(queue.get(), 0));
  for (gsize i = 0; i < g_variant_n_children(owners.get()); ++i) {
    const OwnedVariant owner(g_variant_get_child_value(owners.get(), i));
    const std::int32_t process = processOf(g_variant_get_string(owner.get(), nullptr), deadline);
    const auto isProcess = [&](const RunningApplication& known) { return known.processIdentifier == process; };
    if (process > 0 && std::none_of(found.begin(), found.end(), isProcess)) found.push_back({process});
  }
  // A count that is short of one would make two instances look like one.
  if (g_get_monotonic_time() >= deadline) return {};
  return found;
}

// 0 when the owner has gone meanwhile.
std::int32_t LinuxRunningApplications::processOf(const char* owner, SessionBus::Moment deadline) {
  const OwnedVariant answer = bus_.call("GetConnectionUnixProcessID", g_variant_new("(s)", owner), "(u)", deadline);
  guint32 process = 0;
  if (answer) g_variant_get(answer.get(), "(u)", &process);
  return static_cast<std::int32_t>(process);
}

}  // namespace platform::native
