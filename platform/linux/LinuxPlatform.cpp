#include "platform/linux/LinuxPlatform.h"

namespace platform::native {

LinuxPlatform::LinuxPlatform(Options options)
    : entitlements_(options.entitlements.value_or(std::string(BuildSettings::entitlements))),
      mainBundle_(options.bundleVersion.value_or(std::string(BuildSettings::bundleVersion))) {
  // A host announces itself after the one before it has ended: an end that the main loop has not come to yet is to be heard first.
  // What the host has stored before it notifies is there for whoever hears it: the settings' own notices come on another connection,
  // sooner or later.
  distributedNotificationCenter_.setBeforeDelivery([this] {
    processSources_.reportExits();
    userDefaultsSuites_.synchronize();
  });
  // The extension watches a process each time that it has found a host, and nothing else. By the next turn of the loop it is done with
  // that host's start.
  processSources_.setOnCreation(
      [this] { foldersAgain_ = MainLoopSource::soon([this] { finderSyncBrowser_.showFoldersAgain(); }); });
}

Platform LinuxPlatform::references() {
  return {
      .finderSyncController = finderSyncBrowser_,
      .messagePorts = messagePorts_,
      .userDefaultsSuites = userDefaultsSuites_,
      .security = security_,
      .distributedNotificationCenter = distributedNotificationCenter_,
      .runningApplications = runningApplications_,
      .processSources = processSources_,
      .fileManager = fileManager_,
      .workspace = workspace_,
      .mainBundle = mainBundle_,
      .log = log_,
  };
}

}  // namespace platform::native
