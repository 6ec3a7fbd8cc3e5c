// Distributed notifications as signals on the session bus: object path
// /org/dovetail/DistributedNotificationCenter, interface org.dovetail.DistributedNotificationCenter, the
// notification's name as the member, one string as the body; any other body reads as an empty string. A name that is no legal member (letters, digits
// and underscores, no digit first, 255 bytes at most) cannot travel: it is dropped with one log line. The bus
// carries UTF-8 alone, so each byte of the string that is not part of it, or is NUL, arrives as U+FFFD. An
// observer that was without a bus is told once when there is one, with an empty string, as it may have missed
// something.
#pragma once

#include <list>
#include <memory>
#include <string>

#include "platform/DistributedNotificationCenter.h"
#include "platform/Log.h"
#include "platform/linux/bus/SessionBus.h"

namespace platform::native {

class LinuxDistributedNotificationCenter final : public DistributedNotificationCenter {
 public:
  /// The only one of that bus object.
  LinuxDistributedNotificationCenter(SessionBus& bus, Log& log);
  ~LinuxDistributedNotificationCenter() override;

  /// Runs before each delivery to an observer.
  void setBeforeDelivery(std::function<void()> handler) { beforeDelivery_ = std::move(handler); }

  void addObserver(const void* observer, std::string_view name, std::function<void(const std::string& object)> handler) override;
  void removeObserver(const void* observer) override;
  void postNotificationName(std::string_view name, std::string_view object, bool deliverImmediately) override;

 private:
  struct Subscription;
  using Subscriptions = std::list<std::shared_ptr<Subscription>>;

  static void tellOfReturn(const Subscriptions& subscriptions);
  bool isLegal(const std::string& name);
  void subscribe(const std::shared_ptr<Subscription>& subscription, GDBusConnection* bus);

  SessionBus& bus_;
  Log& log_;
  std::function<void()> beforeDelivery_;
  Subscriptions subscriptions_;
  MainLoopSource afterReturn_;
};

}  // namespace platform::native
