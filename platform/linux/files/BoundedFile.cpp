#include "platform/linux/files/BoundedFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>

#include "platform/linux/Descriptor.h"

namespace platform::native {

std::optional<std::string> contentsOfFile(const char* path, std::size_t maximumLength) {
  const Descriptor file(open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat status;
  if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  if (static_cast<std::size_t>(status.st_size) > maximumLength) return std::nullopt;
  std::string contents(static_cast<std::size_t>(status.st_size), '\0');
  std::size_t filled = 0;
  while (filled < contents.size()) {
    const ssize_t length = read(file.get(), contents.data() + filled, contents.size() - filled);
    if (length < 0 && errno == EINTR) continue;
    if (length < 0) return std::nullopt;
    if (length == 0) break;
    filled += static_cast<std::size_t>(length);
  }
  contents.resize(filled);
  return contents;
}

}  // namespace platform::native
