#include "console/HostPort.h"

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/linux/Descriptor.h"
#include "platform/linux/ports/PortFolder.h"
#include "platform/linux/ports/SocketAddress.h"

using platform::native::Descriptor;
using platform::native::PortFolder;
using platform::native::SocketAddress;

namespace {

using Answer = PortFacts::Answer;

PortFacts factsOfRefusal(int error) {
  if (error == ENOENT || error == ECONNREFUSED) return {};
  if (error == EAGAIN) return {Answer::isUnread, 0, {}};  // as many wait to be accepted as there is room for
  return {Answer::cannotBeSeen, 0, std::strerror(error)};
}

bool isClosedWithin(int socket, std::chrono::milliseconds longest) {
  ::shutdown(socket, SHUT_WR);
  pollfd end = {.fd = socket, .events = 0, .revents = 0};
  return ::poll(&end, 1, static_cast<int>(longest.count())) == 1;
}

}  // namespace

PortFacts factsOfPort(const std::string& path, const std::string& name, std::chrono::milliseconds longest) {
  const auto folder = PortFolder::open(path, ::geteuid(), PortFolder::Missing::isRefused);
  if (!folder) return folder.reason().empty() ? PortFacts() : PortFacts{Answer::cannotBeSeen, 0, path + ": " + folder.reason()};
  const Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
  const SocketAddress address(folder->address(PortFolder::fileForPort(name)));
  if (!socket || ::connect(socket.get(), address.get(), address.length()) != 0) return factsOfRefusal(errno);
  const ucred listener = platform::native::peerOf(socket.get());
  if (listener.uid != ::geteuid()) return {Answer::cannotBeSeen, listener.pid, "a process of another user listens"};
  return {isClosedWithin(socket.get(), longest) ? Answer::isRead : Answer::isUnread, listener.pid, {}};
}
