// What the process watcher tells the program that started it: packets of two bytes, over the socket that the
// watcher finds as descriptor 3. The watcher ends when the other end of that socket is closed.
#pragma once

#include <cstdint>

namespace platform::native {

inline constexpr int watcherChannel = 3;

enum class WatcherNews : std::uint8_t {
  isAttached = 1,       ///< Signals are seen from now on.
  isRefused = 2,        ///< The system does not let it watch; the value is the error number.
  signalDelivered = 3,  ///< The value is the signal's number.
  processHasEnded = 4,  ///< There is nothing left to watch.
};

struct WatcherReport {
  WatcherNews news;
  std::uint8_t value;
};

}  // namespace platform::native
