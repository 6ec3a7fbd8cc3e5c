// Why a menu may be missing: each condition of the extension's menus, checked in the order in which they depend on each other.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/Finding.h"
#include "console/HostPort.h"
#include "platform/Platform.h"

/// What was seen of the user's session.
struct SessionFacts {
  bool hasBus = false;                               ///< Whether a session bus can be reached.
  std::optional<std::vector<std::string>> busNames;  ///< That are owned there or can be started; nothing when it does not say.
  PortFacts hostsPort;
  std::string runtimeFolder, configurationFolder;
  std::string settingsProfile;      ///< $DCONF_PROFILE.
  std::string processes = "/proc";  ///< As of proc(5).
};

/// Of the host, the settings and the watched folders.
std::vector<Finding> findingsOfServices(const platform::Platform& services, const SessionFacts& session);
