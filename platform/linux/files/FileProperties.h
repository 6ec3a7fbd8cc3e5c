// The resource properties of a file, one function a property, found by the platform's name of it.
#pragma once

#include <string>
#include <string_view>

#include "platform/Object.h"

namespace platform::native {

/// The property of the file at `path` (absolute; symbolic links are not followed). nil without an error for a
/// name that is no property and for a property that the file does not have; nil with `failure` set to the
/// errno when the file cannot be asked.
Object propertyOfFile(const std::string& path, std::string_view key, int& failure);

}  // namespace platform::native
