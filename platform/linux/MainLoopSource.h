// A source on GLib's default main context that ends with its owner. Main thread only. The handler may drop
// its own source; it stays whole until it returns.
#pragma once

#include <functional>
#include <memory>

using GSource = struct _GSource;

namespace platform::native {

class MainLoopSource {
 public:
  /// No source.
  MainLoopSource() = default;
  /// Runs `handler` whenever `descriptor` is readable or at its end. `order` 0 is the usual priority, greater
  /// ones come later.
  static MainLoopSource whenReadable(int descriptor, std::function<void()> handler, int order = 0);
  /// The same, before whatever else is ready, the browser's own events too.
  static MainLoopSource firstWhenReadable(int descriptor, std::function<void()> handler);
  /// Runs `handler` whenever `descriptor` takes bytes or has lost its other end.
  static MainLoopSource whenWritable(int descriptor, std::function<void()> handler);
  /// Runs `handler` once, at the next turn of the loop.
  static MainLoopSource soon(std::function<void()> handler);
  /// Runs `handler` once, after that many milliseconds.
  static MainLoopSource after(unsigned milliseconds, std::function<void()> handler);

  explicit operator bool() const { return source_ != nullptr; }
  void reset() { source_.reset(); }

 private:
  struct Destroy {
    void operator()(GSource* source) const;
  };
  explicit MainLoopSource(GSource* source) : source_(source) {}
  static MainLoopSource onDescriptor(GSource* source, int priority, std::function<void()> handler);
  static MainLoopSource once(GSource* source, std::function<void()> handler);

  std::unique_ptr<GSource, Destroy> source_;
};

}  // namespace platform::native
