#include "platform/linux/files/FileReference.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <array>

#include "platform/linux/files/FileStatus.h"

namespace platform::native {

std::shared_ptr<const LinuxFileReference> LinuxFileReference::ofPath(const std::string& path) {
  Descriptor file(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!file) return nullptr;
  const auto status = FileStatus::ofDescriptor(file.get(), FileStatus::identityFields);
  if (!status) return nullptr;
  return std::shared_ptr<const LinuxFileReference>(new LinuxFileReference(std::move(file), status->identity()));
}

LinuxFileReference::LinuxFileReference(Descriptor file, const FileIdentity& identity)
    : file_(std::move(file)), identity_(identity) {}

std::string LinuxFileReference::path() const {
  std::array<char, PATH_MAX> text;
  const std::string link = "/proc/self/fd/" + std::to_string(file_.get());
  const ssize_t length = readlink(link.c_str(), text.data(), text.size());
  if (length <= 0 || static_cast<std::size_t>(length) == text.size()) return {};
  std::string path(text.data(), static_cast<std::size_t>(length));
  // The link of a deleted file ends in " (deleted)", as may a file's name: only the file itself tells.
  const auto status = FileStatus::ofPath(path.c_str(), FileStatus::identityFields);
  return status && status->identity() == identity_ ? path : std::string();
}

}  // namespace platform::native
