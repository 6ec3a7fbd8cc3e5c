// What the process watcher tells the program that started it: packets of one report each, over the socket that the
// watcher finds as descriptor 3. The watcher ends when the other end of that socket is closed.
#pragma once

#include <cstdint>

namespace platform::native {

inline constexpr int watcherChannel = 3;

inline constexpr char watcherName[] = "dovetail-process-watcher";

enum class WatcherNews : std::int32_t {
  isAttached = 1,       ///< Signals are seen from now on.
  isRefused = 2,        ///< The system does not let it watch; the value is the error number.
  signalDelivered = 3,  ///< The value is the signal's number.
  processHasEnded = 4,  ///< There is nothing left to watch.
  browserHasWatch = 5,  ///< Another watcher traces the process; the value is the process that started that one.
  isTraced = 6,         ///< Another program does; the value is its process.
  isUnwanted = 7,       ///< The process was started with the switch (SignalWatchSwitch.h).
};

struct WatcherReport {
  WatcherNews news;
  std::int32_t value;
};

}  // namespace platform::native
