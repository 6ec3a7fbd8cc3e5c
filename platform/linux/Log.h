// The system log over GLib's structured log, domain "Dovetail", priority 6 (informational). Lines go to the
// journal alone, past whatever log writer the browser has set, as GLib's own default one prints this priority
// to standard output. Only when G_MESSAGES_DEBUG names the domain (or "all") does a line also appear on
// standard error.
#pragma once

#include <functional>

#include "platform/Log.h"

namespace platform::native {

class LinuxLog final : public Log {
 public:
  /// A control character within the text is written as a space.
  void line(std::string_view text) override;
  /// Shows each line to `onLine` too, after it was written. For programs with a screen of their own.
  void setOnLine(std::function<void(std::string_view text)> onLine) { onLine_ = std::move(onLine); }

 private:
  std::function<void(std::string_view)> onLine_;
};

}  // namespace platform::native
