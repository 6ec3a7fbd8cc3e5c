// What is wrong with the settings that the host shares: their service, their file, what stands in them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "console/Finding.h"
#include "platform/Platform.h"

/// `busNames` are the names that programs on the session bus own or that it can start a program for; nothing when it does not say.
Finding findingOfSettingsService(const std::optional<std::vector<std::string>>& busNames);

/// Of the user's database in `configurationFolder`. A `profile` other than "" may have put the settings anywhere.
Finding findingOfSettingsFile(const std::string& configurationFolder, const std::string& profile);

/// Of the watched folders and the lists of commands.
std::vector<Finding> findingsOfChoices(platform::FileManager& fileManager, const platform::UserDefaults& settings);
