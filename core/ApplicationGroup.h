// The application group that the extension shares with its host, read from the process's own entitlement.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/Security.h"

struct ApplicationGroup {
  std::optional<std::string> identifier;  ///< The first group of the entitlement; later ones are ignored.
  std::string_view reason;                ///< Why there is none, in the words that the host shows; static storage.
};

/// Looks the group up afresh at each call.
ApplicationGroup copyApplicationGroup(platform::Security& security);
