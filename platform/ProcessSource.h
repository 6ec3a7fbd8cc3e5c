// Watches another process for its exit and for signals delivered to it (a dispatch source of the process type).
// Handlers run on the main loop.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

/// The platform's process event flags.
inline constexpr std::uint32_t ProcessExit = 0x80000000;
inline constexpr std::uint32_t ProcessSignal = 0x08000000;

/// Made inactive. Once resumed it is armed until it is cancelled: dropping the last reference does not disarm it, so that
/// whoever forgets it still hears of the event.
class ProcessSource {
 public:
  virtual ~ProcessSource() = default;
  /// Runs once for each event of the mask, from the main loop. When the process is already gone as the source is resumed, its exit
  /// is told then, once; signals are told only while it lives.
  virtual void setEventHandler(std::function<void()> handler) = 0;
  /// Runs once on the main loop after `cancel`; both handlers are released after it.
  virtual void setCancelHandler(std::function<void()> handler) = 0;
  /// Arms the source. No handler runs before control returns to the main loop. A second call does nothing.
  virtual void resume() = 0;
  /// No event handler runs from now on. A second call does nothing.
  virtual void cancel() = 0;
};

class ProcessSources {
 public:
  virtual ~ProcessSources() = default;
  /// A source for the events of `mask`. Never null: where the system refuses to watch, the source is silent and says so in the log.
  [[nodiscard]] virtual std::shared_ptr<ProcessSource> createProcessSource(std::int32_t processIdentifier, std::uint32_t mask) = 0;
};

}  // namespace platform
