// All services of the platform as fakes that share one call log and one main loop: for tests that order calls and make
// them fail on demand. Each public field of a fake is the test's to set.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/Platform.h"
#include "platform/fake/CallLog.h"
#include "platform/fake/FakeFileManager.h"
#include "platform/fake/FakeMainLoop.h"
#include "platform/fake/FakeMessagePorts.h"
#include "platform/fake/FakeUserDefaults.h"

namespace platform::fake {

class FakeSecurity final : public Security {
 public:
  explicit FakeSecurity(CallLog& log) : log_(log) {}

  bool hasTask = true;
  Object applicationGroups = Object(Array{Object("G")});  ///< nil for a process without the entitlement.

  std::unique_ptr<SecTask> createFromSelf() override;

 private:
  CallLog& log_;
};

class FakeDistributedNotificationCenter final : public DistributedNotificationCenter {
 public:
  FakeDistributedNotificationCenter(CallLog& log, FakeMainLoop& loop) : log_(log), loop_(loop) {}

  struct Posted {
    std::string name;
    std::string object;
  };
  std::vector<Posted> posted;

  void addObserver(const void* observer, std::string_view name, std::function<void(const std::string& object)> handler) override;
  void removeObserver(const void* observer) override;
  void postNotificationName(std::string_view name, std::string_view object, bool deliverImmediately) override;

 private:
  struct Subscription {
    const void* observer;
    std::string name;
    std::function<void(const std::string& object)> handler;
  };

  CallLog& log_;
  FakeMainLoop& loop_;
  std::vector<Subscription> subscriptions_;
};

class FakeRunningApplications final : public RunningApplications {
 public:
  explicit FakeRunningApplications(CallLog& log) : log_(log) {}

  std::map<std::string, std::vector<std::int32_t>, std::less<>> processes;

  std::vector<RunningApplication> runningApplicationsWithBundleIdentifier(std::string_view identifier) override;

 private:
  CallLog& log_;
};

class FakeProcessSources final : public ProcessSources {
 public:
  FakeProcessSources(CallLog& log, FakeMainLoop& loop) : log_(log), loop_(loop) {}
  /// Releases the handlers of sources that are still armed: each holds its own source.
  ~FakeProcessSources() override;

  /// Processes that are already gone when a source on them is resumed.
  std::set<std::int32_t> gone;

  /// An event (exit or signal) of a process: runs the handlers of all armed sources on it, through the main loop.
  void fire(std::int32_t processIdentifier, std::uint32_t event = ProcessExit);
  /// Sources that are resumed and not cancelled.
  std::size_t armedCount() const;

  std::shared_ptr<ProcessSource> createProcessSource(std::int32_t processIdentifier, std::uint32_t mask) override;

 private:
  class Source;

  CallLog& log_;
  FakeMainLoop& loop_;
  std::vector<std::shared_ptr<Source>> armed_;
};

class FakeWorkspace final : public Workspace {
 public:
  explicit FakeWorkspace(CallLog& log) : log_(log) {}

  bool hasImages = true;

  /// Two representations each, of 16 and 32 points, named after what was asked for.
  ImageRef imageNamed(std::string_view name) override;
  ImageRef iconForFileType(std::string_view extension) override;

 private:
  CallLog& log_;
};

class FakeBundle final : public Bundle {
 public:
  std::optional<std::string> version = "1.0";

  std::optional<std::string> objectForInfoDictionaryKey(std::string_view key) const override {
    return key == BundleVersionKey ? version : std::nullopt;
  }
  std::string hostBundleIdentifier() const override { return "host"; }
  std::int32_t processIdentifier() const override { return 4711; }
};

class FakeFinderSyncController final : public FinderSyncController {
 public:
  explicit FakeFinderSyncController(CallLog& log) : log_(log) {}

  bool refusesExtension = false;
  std::vector<URL> selection;
  std::optional<URL> target;
  std::vector<URL> directoryURLs;
  FinderSync* extension = nullptr;
  std::function<void()> whenDirectoryURLsAreSet;  ///< Runs inside the call, as a browser may call back.

  bool initFinderSync(FinderSync& extension) override;
  void deallocFinderSync(FinderSync& extension) override;
  std::vector<URL> selectedItemURLs() override { return selection; }
  std::optional<URL> targetedURL() override { return target; }
  void setDirectoryURLs(std::vector<URL> urls) override;

 private:
  CallLog& log_;
};

class FakeLog final : public Log {
 public:
  std::vector<std::string> lines;
  void line(std::string_view text) override { lines.emplace_back(text); }
};

struct FakePlatform {
  CallLog calls;
  FakeMainLoop loop;
  FakeFinderSyncController finderSyncController{calls};
  FakeMessagePorts messagePorts{calls, loop};
  FakeUserDefaultsSuites userDefaultsSuites{calls, loop};
  FakeSecurity security{calls};
  FakeDistributedNotificationCenter distributedNotificationCenter{calls, loop};
  FakeRunningApplications runningApplications{calls};
  FakeProcessSources processSources{calls, loop};
  FakeFileManager fileManager{calls};
  FakeWorkspace workspace{calls};
  FakeBundle mainBundle;
  FakeLog log;

  Platform references() {
    return {finderSyncController,
            messagePorts,
            userDefaultsSuites,
            security,
            distributedNotificationCenter,
            runningApplications,
            processSources,
            fileManager,
            workspace,
            mainBundle,
            log};
  }
};

}  // namespace platform::fake
