// All that the extension asks of the system it runs on, as one plain struct of references. A program fills it from one
// backend (platform/linux/LinuxPlatform.h), a test from fakes (platform/fake/FakePlatform.h). The referents outlive the
// extension object.
#pragma once

#include "platform/Bundle.h"
#include "platform/DistributedNotificationCenter.h"
#include "platform/FileManager.h"
#include "platform/FinderSync.h"
#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/ProcessSource.h"
#include "platform/RunningApplications.h"
#include "platform/Security.h"
#include "platform/UserDefaults.h"
#include "platform/Workspace.h"

namespace platform {

struct Platform {
  FinderSyncController& finderSyncController;
  MessagePorts& messagePorts;
  UserDefaultsSuites& userDefaultsSuites;
  Security& security;
  DistributedNotificationCenter& distributedNotificationCenter;
  RunningApplications& runningApplications;
  ProcessSources& processSources;
  FileManager& fileManager;
  Workspace& workspace;
  Bundle& mainBundle;
  Log& log;
};

}  // namespace platform
