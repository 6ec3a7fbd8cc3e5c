// What the extension object holds at this moment, as the console's lines tell it.
#pragma once

#include <string>
#include <unordered_map>

#include "core/DTDovetailSync.h"
#include "platform/linux/programs/JSON.h"

/// Paths that folders were entered by, to call them by a name; an identity has none.
using FolderPaths = std::unordered_map<platform::FileIdentity, std::string>;

platform::JSON stateJSON(const DTDovetailSync& extension, const FolderPaths& folderPaths);
