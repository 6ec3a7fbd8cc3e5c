// The border between a browser and the extension: nothing that is thrown crosses it.
#pragma once

namespace browsers {

/// Runs what a browser calls and lets nothing out of it: whatever is thrown ends the call with an empty result.
template <typename Call>
auto guarded(Call call) noexcept -> decltype(call()) {
  try {
    return call();
  } catch (...) {
    return decltype(call())();
  }
}

}  // namespace browsers
