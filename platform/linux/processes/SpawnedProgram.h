// Starts a program that is to leave no trace in this process: no open descriptor but one, no signal setting,
// no environment, and its end reaped without the browser's help or harm.
#pragma once

#include <string>
#include <vector>

#include "platform/Result.h"
#include "platform/linux/Descriptor.h"

namespace platform::native {

/// Runs `arguments` with `channel` as its descriptor 3 and nothing else but /dev/null, or fails with the errno. The program is
/// expected to end soon, and may leave a child of its own behind; its end is awaited on the main loop.
Result<Done, int> spawnProgram(const std::vector<std::string>& arguments, const Descriptor& channel);

}  // namespace platform::native
