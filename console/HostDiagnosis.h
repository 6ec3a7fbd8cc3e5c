// What is wrong with the host: absent, more than one, stopped, in another session, not reading, of another build.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "console/Finding.h"
#include "console/HostPort.h"

struct HostFacts {
  std::string identifier;
  bool isBusAnswering = false;        ///< Else `running` tells nothing.
  std::vector<std::int32_t> running;  ///< The processes that own the identifier on the session bus.
  PortFacts port;                     ///< The host's port in `runtimeFolder`.
  std::string runtimeFolder;          ///< Of this session.
  std::string processes = "/proc";    ///< As of proc(5).
};

std::vector<Finding> findingsOfHost(const HostFacts& facts);

/// Whether the host and the extension are of one build. `written` is what the host that ran last has written.
Finding findingOfBuilds(const std::optional<std::string>& written, const std::string& extension, bool isHostRunning);
