// The resource properties of a file, one function a property, found by the platform's name of it.
#pragma once

#include <string>
#include <string_view>

#include "platform/Object.h"
#include "platform/Result.h"

namespace platform::native {

/// The property of the file at `path` (absolute; symbolic links are not followed). nil for a
/// name that is no property and for a property that the file does not have. Fails with the errno when the file
/// cannot be asked.
Result<Object, int> propertyOfFile(const std::string& path, std::string_view key);

}  // namespace platform::native
