// The deliveries of signals to one process, as the process watcher reports them: a program of ours that
// traces it, as only a tracer learns of them (ProcessWatcherMain.cpp). A process has one tracer at most, so
// all who want to know of one process share one watch. Where the system refuses (another tracer, another
// user's process, kernel.yama.ptrace_scope without the process's leave by prctl(PR_SET_PTRACER), which is waited for
// some seconds), and where the watching is switched off here or there (SignalWatchSwitch.h), the watch says so in the
// log and stays silent.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"

namespace platform::native {

/// Always held by a shared pointer.
class SignalWatch : public std::enable_shared_from_this<SignalWatch> {
 public:
  /// Starts the program `watcher`.
  SignalWatch(std::int32_t process, const std::string& watcher, Log& log);
  /// The watcher ends and the process is no longer traced.
  ~SignalWatch() = default;
  SignalWatch(const SignalWatch&) = delete;
  SignalWatch& operator=(const SignalWatch&) = delete;

  /// Whether signals are, or may yet be, reported.
  bool isOpen() const { return static_cast<bool>(channel_); }
  /// Runs at each signal until it is removed.
  void addListener(const void* listener, std::function<void()> onSignal) { listeners_[listener] = std::move(onSignal); }
  void removeListener(const void* listener) { listeners_.erase(listener); }

 private:
  void start(const std::string& watcher);
  void readReports();
  void tellListeners();
  void end(const std::string& fault);

  std::int32_t process_;
  Log& log_;
  std::map<const void*, std::function<void()>> listeners_;
  Descriptor channel_;
  MainLoopSource reports_;
};

/// The watcher beside the module or program that this code is part of, as in a build tree, else the installed
/// one.
std::string usualProcessWatcher();

}  // namespace platform::native
