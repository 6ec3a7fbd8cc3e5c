// Notifications to every program of the session, each a name and one string (Cocoa's NSDistributedNotificationCenter).
// Main thread only; nothing is delivered before control returns to the main loop.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace platform {

class DistributedNotificationCenter {
 public:
  virtual ~DistributedNotificationCenter() = default;

  /// Runs `handler` for each notification of that name from any sender, with its string.
  virtual void addObserver(const void* observer, std::string_view name, std::function<void(const std::string& object)> handler) = 0;
  /// Ends all subscriptions of `observer`. Does nothing for an unknown one.
  virtual void removeObserver(const void* observer) = 0;
  /// Posts to every process of the session at once, without waiting. Lost without a report when there is no session bus.
  virtual void postNotificationName(std::string_view name, std::string_view object, bool deliverImmediately) = 0;
};

}  // namespace platform
