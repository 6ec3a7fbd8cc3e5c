// Process sources: the exit by a descriptor of the process (pidfd_open(2)), the delivery of signals by a
// program of ours that traces the process (SignalWatch.h). A signal that the process ignores or blocks is not
// delivered to it, nor is one that merely stops it or lets it go on; one that it sends to a thread of its
// own, and the kernel's SIGCHLD for a child of its own, is its own business. None of these is an event. Where
// kernel.yama.ptrace_scope is 1, as on many desktops, the process must give this one leave: prctl(PR_SET_PTRACER).
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "platform/Log.h"
#include "platform/ProcessSource.h"

namespace platform::native {

class LinuxProcessSources final : public ProcessSources {
 public:
  explicit LinuxProcessSources(Log& log);
  /// Starts the program `watcher` for signals.
  LinuxProcessSources(Log& log, std::string watcher);
  /// Disarms all sources and releases their handlers.
  ~LinuxProcessSources() override;

  /// Runs at each creation of a source.
  void setOnCreation(std::function<void()> handler) { onCreation_ = std::move(handler); }

  std::shared_ptr<ProcessSource> createProcessSource(std::int32_t processIdentifier, std::uint32_t mask) override;
  /// Runs now the handlers of exits that have happened and that the main loop has not come to yet.
  void reportExits();

 private:
  class Source;
  struct Registry;

  std::shared_ptr<Registry> registry_;
  std::function<void()> onCreation_;
};

}  // namespace platform::native
