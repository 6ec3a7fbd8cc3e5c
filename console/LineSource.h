// Lines of a descriptor, one at a turn of the main loop.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "platform/linux/MainLoopSource.h"

class LineSource {
 public:
  /// What a line holds at most, without its end. A longer one is reported as `onLongLine` and thrown away.
  static constexpr std::size_t longestLine = 64 * 1024 * 1024;

  struct Handlers {
    std::function<void(std::string_view line)> onLine;
    std::function<void()> onLongLine;
    std::function<void()> onEnd;  ///< At the end of the input, or when it cannot be read.
  };

  /// Reads nothing before `next`. The descriptor stays the caller's.
  LineSource(int descriptor, Handlers handlers) : descriptor_(descriptor), handlers_(std::move(handlers)) {}

  /// One of the handlers runs once, at a later turn of the loop. A last line without an end counts.
  void next();

 private:
  void read();
  void deliver();

  int descriptor_;
  Handlers handlers_;
  std::string text_;
  std::size_t searched_ = 0;  // no end of line before this
  bool isEnded_ = false;
  bool isSkipping_ = false;  // the rest of a line that was too long
  platform::native::MainLoopSource source_;
};
