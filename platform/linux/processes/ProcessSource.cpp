#include "platform/linux/processes/ProcessSource.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <set>
#include <utility>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/processes/SignalWatch.h"

namespace platform::native {

// What the sources share; a source that outlives it watches nothing.
struct LinuxProcessSources::Registry {
  std::shared_ptr<SignalWatch> signalWatch(std::int32_t process);

  Log& log;
  std::string watcher;
  std::set<std::shared_ptr<Source>> armed;
  std::map<std::int32_t, std::weak_ptr<SignalWatch>> signalWatches;
};

class LinuxProcessSources::Source final : public ProcessSource, public std::enable_shared_from_this<Source> {
 public:
  Source(std::weak_ptr<Registry> registry, std::int32_t process, std::uint32_t mask)
      : registry_(std::move(registry)), process_(process), mask_(mask) {}
  ~Source() override { disarm(); }

  void setEventHandler(std::function<void()> handler) override { eventHandler_ = std::move(handler); }
  void setCancelHandler(std::function<void()> handler) override { cancelHandler_ = std::move(handler); }
  void resume() override;
  void cancel() override;

  void reportExit();
  void disarm();
  void releaseHandlers() {
    eventHandler_ = nullptr;
    cancelHandler_ = nullptr;
  }

 private:
  enum class State { inactive, armed, cancelled };

  void watchExit(Registry& registry);
  void watchSignals(Registry& registry);
  void exited();
  void runEventHandler();
  void finishCancel();

  std::weak_ptr<Registry> registry_;
  std::int32_t process_;
  std::uint32_t mask_;
  State state_ = State::inactive;
  std::function<void()> eventHandler_;
  std::function<void()> cancelHandler_;
  Descriptor descriptor_;
  MainLoopSource exit_;
  MainLoopSource cancelled_;
  std::shared_ptr<SignalWatch> signals_;
};

std::shared_ptr<SignalWatch> LinuxProcessSources::Registry::signalWatch(std::int32_t process) {
  std::erase_if(signalWatches, [](const auto& entry) { return entry.second.expired(); });
  auto& known = signalWatches[process];
  auto watch = known.lock();
  if (watch && watch->isOpen()) return watch;
  watch = std::make_shared<SignalWatch>(process, watcher, log);
  known = watch;
  return watch;
}

void LinuxProcessSources::Source::resume() {
  const auto registry = registry_.lock();
  if (state_ != State::inactive || !registry) return;
  state_ = State::armed;
  registry->armed.insert(shared_from_this());
  if ((mask_ & ProcessExit) != 0) watchExit(*registry);
  if ((mask_ & ProcessSignal) != 0) watchSignals(*registry);
}

void LinuxProcessSources::Source::watchExit(Registry& registry) {
  descriptor_.reset(static_cast<int>(::syscall(SYS_pidfd_open, process_, 0)));
  const int error = descriptor_ ? 0 : errno;
  if (error == 0) {
    // What follows an end, as the next host's announcement does, is not to be heard before it.
    exit_ = MainLoopSource::firstWhenReadable(descriptor_.get(), [this] { exited(); });
  } else if (error == ESRCH) {
    exit_ = MainLoopSource::soon([this] { exited(); });
  } else {
    registry.log.line("The exit of process " + std::to_string(process_) + " is not watched: " + std::strerror(error));
  }
}

void LinuxProcessSources::Source::watchSignals(Registry& registry) {
  // Nothing to trace, and the exit is already on its way.
  if ((mask_ & ProcessExit) != 0 && !descriptor_) return;
  signals_ = registry.signalWatch(process_);
  signals_->addListener(this, [source = weak_from_this()] {
    if (const auto alive = source.lock()) alive->runEventHandler();
  });
}

void LinuxProcessSources::Source::exited() {
  exit_.reset();
  descriptor_.reset();
  runEventHandler();
}

void LinuxProcessSources::Source::reportExit() {
  pollfd watched{descriptor_.get(), POLLIN, 0};
  const bool hasExited = exit_ && (!descriptor_ || ::poll(&watched, 1, 0) == 1);
  if (hasExited) exited();
}

void LinuxProcessSources::Source::runEventHandler() {
  if (state_ != State::armed || !eventHandler_) return;
  // The handler may set another one in its place.
  const auto self = shared_from_this();
  const auto handler = eventHandler_;
  handler();
}

void LinuxProcessSources::Source::cancel() {
  if (state_ == State::cancelled) return;
  const auto self = shared_from_this();
  disarm();
  if (const auto registry = registry_.lock()) registry->armed.erase(self);
  // Holds the source until then, whoever else has dropped it.
  cancelled_ = MainLoopSource::soon([self] { self->finishCancel(); });
}

void LinuxProcessSources::Source::disarm() {
  state_ = State::cancelled;
  exit_.reset();
  descriptor_.reset();
  if (signals_) signals_->removeListener(this);
  signals_.reset();
}

void LinuxProcessSources::Source::finishCancel() {
  const auto handler = std::move(cancelHandler_);
  if (handler) handler();
  releaseHandlers();
  cancelled_.reset();
}

LinuxProcessSources::LinuxProcessSources(Log& log) : LinuxProcessSources(log, usualProcessWatcher()) {}

LinuxProcessSources::LinuxProcessSources(Log& log, std::string watcher)
    : registry_(std::make_shared<Registry>(Registry{log, std::move(watcher), {}, {}})) {}

LinuxProcessSources::~LinuxProcessSources() {
  for (const auto& source : std::exchange(registry_->armed, {})) {
    source->disarm();
    source->releaseHandlers();
  }
}

void LinuxProcessSources::reportExits() {
  const auto armed = registry_->armed;
  for (const auto& source : armed) source->reportExit();
}

std::shared_ptr<ProcessSource> LinuxProcessSources::createProcessSource(std::int32_t processIdentifier, std::uint32_t mask) {
  if (onCreation_) onCreation_();
  return std::make_shared<Source>(registry_, processIdentifier, mask);
}

}  // namespace platform::native
