#include "platform/linux/ports/ListeningSocket.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/ports/SocketAddress.h"

namespace platform::native {
namespace {

constexpr int waitingConnections = 64;

bool isSameFile(int descriptor, int folder, const std::string& file) {
  struct stat held = {};
  struct stat found = {};
  return ::fstat(descriptor, &held) == 0 && ::fstatat(folder, file.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
         held.st_dev == found.st_dev && held.st_ino == found.st_ino;
}

}  // namespace

ListeningSocket::ListeningSocket(PortFolder folder, std::string file)
    : folder_(std::move(folder)), file_(std::move(file)), lockFile_("." + file_ + ".lock"), owner_(::getpid()) {}

Result<std::unique_ptr<ListeningSocket>> ListeningSocket::open(PortFolder folder, std::string_view port) {
  std::string file = PortFolder::fileForPort(port);
  std::unique_ptr<ListeningSocket> opened(new ListeningSocket(std::move(folder), std::move(file)));
  if (const auto locked = opened->lock(); !locked) return Failure{locked.reason()};
  if (const auto listening = opened->listen(); !listening) return Failure{listening.reason()};
  return opened;
}

ListeningSocket::~ListeningSocket() {
  if (!lock_ || ::getpid() != owner_ || !isSameFile(lock_.get(), folder_.descriptor(), lockFile_)) return;
  if (socket_) ::unlinkat(folder_.descriptor(), file_.c_str(), 0);
  ::unlinkat(folder_.descriptor(), lockFile_.c_str(), 0);
}

bool ListeningSocket::isIn(const PortFolder& folder) const {
  struct stat facts = {};
  return isSameFile(lock_.get(), folder.descriptor(), lockFile_) &&
         ::fstatat(folder.descriptor(), file_.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 && S_ISSOCK(facts.st_mode);
}

Result<Done> ListeningSocket::lock() {
  constexpr int flags = O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK;
  for (;;) {
    Descriptor lock(::openat(folder_.descriptor(), lockFile_.c_str(), flags, 0600));
    if (!lock || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0) {
      return Failure{errno == EWOULDBLOCK ? "a live process has that name" : std::strerror(errno)};
    }
    // An owner that ends removes the file, maybe between our two steps: then this is the lock of nothing.
    if (isSameFile(lock.get(), folder_.descriptor(), lockFile_)) {
      lock_ = std::move(lock);
      return Done{};
    }
  }
}

Result<Done> ListeningSocket::listen() {
  ::unlinkat(folder_.descriptor(), file_.c_str(), 0);
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  const SocketAddress address(folder_.address(file_));
  if (!socket || ::bind(socket.get(), address.get(), address.length()) != 0 || ::listen(socket.get(), waitingConnections) != 0) {
    return Failure{std::strerror(errno)};
  }
  socket_ = std::move(socket);
  return Done{};
}

}  // namespace platform::native
