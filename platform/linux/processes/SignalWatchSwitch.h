// The switch that turns the watching of a host's signals off: for those who want to attach a debugger, and for those who want no
// tracing. It stands in the environment that a program is started with, the file browser's or the host's.
#pragma once

#include <cstdlib>

namespace platform::native {

/// Turns it off when it is set and not empty.
inline constexpr char noSignalWatchVariable[] = "DOVETAIL_NO_SIGNAL_WATCH";

inline bool isSignalWatchOff() {
  const char* value = std::getenv(noSignalWatchVariable);
  return value != nullptr && *value != '\0';
}

}  // namespace platform::native
