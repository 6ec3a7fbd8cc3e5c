// One connection of our own to the session bus: not the browser's shared one, whose loss may end the browser.
// Made at the first use, and again at the next use after the bus went away; at the bus's return too where its
// address is a socket file. Main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/OwnedGLib.h"

namespace platform::native {

class SessionBus {
 public:
  /// In microseconds of the monotonic clock, as g_get_monotonic_time.
  using Moment = std::int64_t;
  /// What any use of the bus may keep the main thread waiting, in all.
  static constexpr Moment longestWait = 1'000'000;

  /// The address is $DBUS_SESSION_BUS_ADDRESS, else the socket `bus` of the user's runtime folder. Never
  /// starts a bus.
  explicit SessionBus(Log& log);
  SessionBus(Log& log, std::string address);
  /// Waits up to a second for what was sent.
  ~SessionBus();
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;

  static Moment deadline();

  /// The open connection, or null when there is none by `deadline`. A bus that has not answered by its
  /// deadline once is not waited for again until it has.
  GDBusConnection* connection(Moment deadline);
  /// The open connection, or null; never waits.
  GDBusConnection* openConnection() const { return connection_.get(); }
  /// A call of the bus itself, with `arguments` or, for null, none; null when it fails or the answer, of type `reply`, is not there by `deadline`.
  OwnedVariant call(const char* method, GVariant* arguments, const char* reply, Moment deadline);
  /// Runs for each connection made from now on, before anybody uses it, for as long as the bus object lives.
  void setOnConnect(std::function<void(GDBusConnection*)> onConnect) { onConnect_ = std::move(onConnect); }

 private:
  struct Attempt;

  void begin();
  void wait(const bool& isOver, Moment deadline);
  void adopt(Attempt& attempt);
  void lose(const char* reason);
  void watchForReturn();
  void tryAgain(unsigned delay);
  static void onClosed(GDBusConnection* connection, gboolean, GError*, gpointer self);
  static void onReturn(GFileMonitor*, GFile*, GFile*, GFileMonitorEvent event, gpointer self);

  Log& log_;
  std::string address_;
  std::function<void(GDBusConnection*)> onConnect_;
  OwnedObject<GDBusConnection> connection_;
  gulong closedHandler_ = 0;

  // What this object waits for comes by a context of its own, so that waiting runs nothing of the browser's.
  std::unique_ptr<GMainContext, Release<g_main_context_unref>> waiting_;
  std::shared_ptr<Attempt> attempt_;
  OwnedObject<GFileMonitor> returning_;
  MainLoopSource nextTry_;
};

}  // namespace platform::native
