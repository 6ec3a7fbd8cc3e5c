// Diagnostic lines to the system log.
#pragma once

#include <string_view>

namespace platform {

class Log {
 public:
  virtual ~Log() = default;
  /// One line, without an end of line; never to a standard stream of a browser.
  virtual void line(std::string_view text) = 0;
};

}  // namespace platform
