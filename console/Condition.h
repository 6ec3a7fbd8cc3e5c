// Waits for something to become true without asking for it again and again: looks each time the main loop has done
// something, as nothing changes but through the main loop.
#pragma once

#include <functional>
#include <memory>

using GSource = struct _GSource;

class Condition {
 public:
  /// Runs `onEnd` once on the main loop: with true as soon as `holds` does, with false after that many seconds. Neither runs
  /// once the condition was destroyed; `onEnd` may destroy it.
  Condition(std::function<bool()> holds, double seconds, std::function<void(bool isMet)> onEnd);

 private:
  struct Destroy {
    void operator()(GSource* source) const;
  };
  std::unique_ptr<GSource, Destroy> source_;
};
