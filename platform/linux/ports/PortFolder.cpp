#include "platform/linux/ports/PortFolder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "platform/linux/OwnedGLib.h"

namespace platform::native {
namespace {

constexpr std::size_t longestPlainName = 64;

bool isPlain(std::string_view name) {
  const auto isPlainByte = [](char byte) { return g_ascii_isalnum(byte) || byte == '-' || byte == '_' || byte == '.'; };
  return !name.empty() && name.size() <= longestPlainName && name.front() != '.' &&
         std::all_of(name.begin(), name.end(), isPlainByte);
}

std::string sha256(std::string_view text) {
  const auto* bytes = reinterpret_cast<const guchar*>(text.data());
  const OwnedText digits(g_compute_checksum_for_data(G_CHECKSUM_SHA256, bytes, text.size()));
  return digits.get();
}

std::string faultOf(const struct stat& facts, uid_t user) {
  if (facts.st_uid != user) return "belongs to another user";
  if ((facts.st_mode & 077) != 0) return "is open to other users";
  return {};
}

}  // namespace

std::string PortFolder::usualPath() { return std::string(g_get_user_runtime_dir()) + "/dovetail"; }

Result<PortFolder> PortFolder::open(const std::string& path, uid_t user, Missing missing) {
  if (missing == Missing::isMade) ::mkdir(path.c_str(), 0700);
  Descriptor folder(::open(path.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  struct stat facts = {};
  if (!folder || ::fstat(folder.get(), &facts) != 0) {
    // The system's word for a symbolic link at the end of the path is ENOTDIR or ELOOP.
    const bool isWorthTelling = errno != ENOENT || missing == Missing::isMade;
    return Failure{isWorthTelling ? std::strerror(errno) : ""};
  }
  if (const std::string fault = faultOf(facts, user); !fault.empty()) return Failure{fault};
  return PortFolder(std::move(folder));
}

std::string PortFolder::fileForPort(std::string_view name) { return isPlain(name) ? std::string(name) : sha256(name); }

std::string PortFolder::address(std::string_view file) const {
  return "/proc/self/fd/" + std::to_string(folder_.get()) + "/" + std::string(file);
}

}  // namespace platform::native
