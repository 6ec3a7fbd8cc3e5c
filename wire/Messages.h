// What travels between the two programs beside the commands: selectors, keys, names. Texts are a contract with every host
// (docs/host-protocol.md).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace wire {

namespace Selector {
inline constexpr std::string_view openArchive = "openArchive:portName:";  ///< To the host: the URL of a file seen.
inline constexpr std::string_view pingPortName = "pingPortName:";         ///< To the host: the extension's port.
inline constexpr std::string_view setArchive = "setArchive:";             ///< To the extension: an option of tree and identity.
inline constexpr std::string_view showError = "showError:";               ///< To the host: an error of `errorDomain`.
}  // namespace Selector

/// The two keys of an option dictionary.
namespace Option {
inline constexpr std::string_view subject = "1";
inline constexpr std::string_view choice = "2";
}  // namespace Option

namespace Notification {
inline constexpr std::string_view hostRunning = "DTDovetailRunning";     ///< From each instance of the host.
inline constexpr std::string_view sendFailure = "DTDovetailAppMessage";  ///< To the host; the object is JSON.
}  // namespace Notification

inline constexpr std::string_view errorDomain = "DTMessageErrorDomain";

/// Where the host listens.
inline std::string hostPortName(std::string_view group) { return std::string(group) + ".App"; }

/// Where an extension listens.
inline std::string extensionPortName(std::string_view group, std::int32_t processIdentifier) {
  return std::string(group) + ".Sync." + std::to_string(processIdentifier);
}

}  // namespace wire
