// The application group that the extension shares with its host, read from the process's own entitlement.
#pragma once

#include <string>
#include <string_view>

#include "platform/Result.h"
#include "platform/Security.h"

/// The first group of the entitlement; later ones are ignored. Else why there is none, in the words that the host shows; static
/// storage. Looked up afresh at each call.
platform::Result<std::string, std::string_view> copyApplicationGroup(platform::Security& security);
