// All services of Linux for one process, one of each. A program or plugin makes one at its start and keeps it for as long as
// its extension object lives. Main thread only.
#pragma once

#include <optional>
#include <string>

#include "platform/Platform.h"
#include "platform/linux/FinderSyncBrowser.h"
#include "platform/linux/Log.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/bus/DistributedNotificationCenter.h"
#include "platform/linux/bus/SessionBus.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/ports/MessagePorts.h"
#include "platform/linux/processes/Bundle.h"
#include "platform/linux/processes/ProcessSource.h"
#include "platform/linux/processes/RunningApplications.h"
#include "platform/linux/processes/Security.h"
#include "platform/linux/settings/UserDefaults.h"

namespace platform::native {

class LinuxPlatform {
 public:
  /// What a program may be told to take in place of the build settings.
  struct Options {
    std::optional<std::string> entitlements;  ///< The text of the property list.
    std::optional<std::string> bundleVersion;
  };

  LinuxPlatform() : LinuxPlatform(Options{}) {}
  explicit LinuxPlatform(Options options);
  LinuxPlatform(const LinuxPlatform&) = delete;
  LinuxPlatform& operator=(const LinuxPlatform&) = delete;

  /// For the extension object.
  Platform references();
  /// For the adapter.
  FinderSyncBrowser& finderSyncBrowser() { return finderSyncBrowser_; }
  FileManager& fileManager() { return fileManager_; }
  LinuxLog& log() { return log_; }
  SessionBus& sessionBus() { return bus_; }

 private:
  std::string entitlements_;
  LinuxLog log_;
  SessionBus bus_{log_};
  SessionBus settingsBus_{log_};  // the settings want a connection of their own
  LinuxWorkspace workspace_{log_};
  LinuxFileManager fileManager_{workspace_};
  FinderSyncBrowser finderSyncBrowser_{fileManager_};
  LinuxMessagePorts messagePorts_{log_};
  LinuxUserDefaultsSuites userDefaultsSuites_{settingsBus_};
  LinuxSecurity security_{entitlements_};
  LinuxDistributedNotificationCenter distributedNotificationCenter_{bus_, log_};
  LinuxRunningApplications runningApplications_{bus_};
  LinuxProcessSources processSources_{log_};
  LinuxBundle mainBundle_;
  MainLoopSource foldersAgain_;
};

}  // namespace platform::native
