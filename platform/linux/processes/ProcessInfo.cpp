#include "platform/linux/processes/ProcessInfo.h"

#include <charconv>

namespace platform::native {

LinuxProcessInfo::LinuxProcessInfo(std::string_view version) {
  for (int* number : {&version_.majorVersion, &version_.minorVersion, &version_.patchVersion}) {
    std::from_chars(version.data(), version.data() + version.size(), *number);
    const auto dot = version.find('.');
    version.remove_prefix(dot == version.npos ? version.size() : dot + 1);
  }
}

bool LinuxProcessInfo::isOperatingSystemAtLeastVersion(const OperatingSystemVersion& version) const { return version_ >= version; }

}  // namespace platform::native
