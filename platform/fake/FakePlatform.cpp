#include "platform/fake/FakePlatform.h"

#include <algorithm>

namespace platform::fake {
namespace {

class FakeSecTask final : public SecTask {
 public:
  FakeSecTask(CallLog& log, Object groups) : log_(log), groups_(std::move(groups)) {}
  ~FakeSecTask() override { log_.add("release task"); }

  Object copyValueForEntitlement(std::string_view entitlement) override {
    log_.add("copy entitlement " + std::string(entitlement));
    return entitlement == ApplicationGroupsEntitlement ? groups_ : Object();
  }

 private:
  CallLog& log_;
  Object groups_;
};

ImageRef imageOf(const std::string& source) {
  auto image = std::make_shared<Image>();
  image->name = source;
  image->size = {32, 32};
  image->representations = {{{32, 32}, source, ""}, {{16, 16}, source, ""}};
  return image;
}

}  // namespace

std::unique_ptr<SecTask> FakeSecurity::createFromSelf() {
  log_.add("create task");
  return hasTask ? std::make_unique<FakeSecTask>(log_, applicationGroups) : nullptr;
}

void FakeDistributedNotificationCenter::addObserver(const void* observer, std::string_view name,
                                                    std::function<void(const std::string& object)> handler) {
  log_.add("subscribe to " + std::string(name));
  subscriptions_.push_back({observer, std::string(name), std::move(handler)});
}

void FakeDistributedNotificationCenter::removeObserver(const void* observer) {
  log_.add("end all subscriptions");
  std::erase_if(subscriptions_, [&](const Subscription& subscription) { return subscription.observer == observer; });
}

void FakeDistributedNotificationCenter::postNotificationName(std::string_view name, std::string_view object,
                                                             bool deliverImmediately) {
  log_.add("post " + std::string(name) + (deliverImmediately ? " at once" : ""));
  posted.push_back({std::string(name), std::string(object)});
  loop_.post([this, notification = posted.back()] {
    for (const Subscription& subscription : std::vector(subscriptions_)) {
      if (subscription.name == notification.name) subscription.handler(notification.object);
    }
  });
}

std::vector<RunningApplication> FakeRunningApplications::runningApplicationsWithBundleIdentifier(std::string_view identifier) {
  log_.add("list running " + std::string(identifier));
  std::vector<RunningApplication> running;
  if (const auto found = processes.find(identifier); found != processes.end()) {
    for (const std::int32_t process : found->second) running.push_back({process});
  }
  return running;
}

class FakeProcessSources::Source final : public ProcessSource, public std::enable_shared_from_this<Source> {
 public:
  Source(FakeProcessSources& owner, std::int32_t process, std::uint32_t mask) : owner_(owner), process_(process), mask_(mask) {}

  void setEventHandler(std::function<void()> handler) override { eventHandler_ = std::move(handler); }
  void setCancelHandler(std::function<void()> handler) override { cancelHandler_ = std::move(handler); }
  void resume() override {
    owner_.log_.add("watch process " + std::to_string(process_));
    owner_.armed_.push_back(shared_from_this());
    if (owner_.gone.contains(process_) && isFor(process_, ProcessExit))
      owner_.loop_.post([self = weak_from_this()] { runIfArmed(self); });
  }
  void cancel() override {
    auto& armed = owner_.armed_;
    const auto found = std::ranges::find(armed, shared_from_this());
    if (found == armed.end()) return;
    owner_.log_.add("cancel watch on process " + std::to_string(process_));
    owner_.loop_.post([self = *found] {
      if (self->cancelHandler_) self->cancelHandler_();
      self->releaseHandlers();
    });
    armed.erase(found);
  }

  static void runIfArmed(const std::weak_ptr<Source>& source) {
    const auto self = source.lock();
    if (self && std::ranges::find(self->owner_.armed_, self) != self->owner_.armed_.end()) self->run();
  }
  void releaseHandlers() {
    eventHandler_ = nullptr;
    cancelHandler_ = nullptr;
  }

  bool isFor(std::int32_t process, std::uint32_t event) const { return process_ == process && (mask_ & event) != 0; }
  void run() {
    const auto handler = eventHandler_;
    if (handler) handler();
  }

 private:
  FakeProcessSources& owner_;
  std::int32_t process_;
  std::uint32_t mask_;
  std::function<void()> eventHandler_;
  std::function<void()> cancelHandler_;
};

FakeProcessSources::~FakeProcessSources() {
  for (const auto& source : armed_) source->releaseHandlers();
}

void FakeProcessSources::fire(std::int32_t processIdentifier, std::uint32_t event) {
  loop_.post([this, processIdentifier, event] {
    for (const auto& source : std::vector(armed_)) {
      if (std::ranges::find(armed_, source) == armed_.end()) continue;
      if (source->isFor(processIdentifier, event)) source->run();
    }
  });
}

std::size_t FakeProcessSources::armedCount() const { return armed_.size(); }

std::shared_ptr<ProcessSource> FakeProcessSources::createProcessSource(std::int32_t processIdentifier, std::uint32_t mask) {
  log_.add("create source for process " + std::to_string(processIdentifier) + ", mask " + std::to_string(mask));
  return std::make_shared<Source>(*this, processIdentifier, mask);
}

ImageRef FakeWorkspace::imageNamed(std::string_view name) {
  log_.add("image named " + std::string(name));
  return hasImages ? imageOf("named " + std::string(name)) : nullptr;
}

ImageRef FakeWorkspace::iconForFileType(std::string_view extension) {
  log_.add("icon for type \"" + std::string(extension) + "\"");
  return imageOf("type " + std::string(extension));
}

bool FakeFinderSyncController::initFinderSync(FinderSync& principal) {
  log_.add("init base");
  if (!refusesExtension) extension = &principal;
  return !refusesExtension;
}

void FakeFinderSyncController::deallocFinderSync(FinderSync&) {
  log_.add("dealloc base");
  extension = nullptr;
}

void FakeFinderSyncController::setDirectoryURLs(std::vector<URL> urls) {
  log_.add("set " + std::to_string(urls.size()) + " directory URLs");
  directoryURLs = std::move(urls);
  if (whenDirectoryURLsAreSet) whenDirectoryURLsAreSet();
}

}  // namespace platform::fake
