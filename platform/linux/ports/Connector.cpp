#include "platform/linux/ports/Connector.h"

#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/linux/ports/SocketAddress.h"

namespace platform::native {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::microseconds longestConnect = std::chrono::seconds(1);

// Polling cannot tell when a listener's queue has room again, but a connect that blocks is woken by it and
// heeds the time allowed for sending (unix(7), SO_SNDTIMEO).
int connectWithin(int socket, const SocketAddress& address, std::chrono::microseconds time) {
  const auto deadline = Clock::now() + time;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::microseconds>(deadline - Clock::now()).count();
    if (left <= 0) return EAGAIN;
    const timeval allowed{left / 1000000, left % 1000000};
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &allowed, sizeof(allowed));
    if (::connect(socket, address.get(), address.length()) == 0) return 0;
    if (errno != EINTR) return errno;
  }
}

}  // namespace

Connector::Connector(Log& log, std::string folder, uid_t user) : log_(log), folder_(std::move(folder)), user_(user) {}

Connector::Connection Connector::connect(const std::string& name, Wait wait) {
  const auto folder = openFolder(PortFolder::Missing::isRefused);
  if (!folder) return {};
  const bool mayWait = wait == Wait::oneSecond && unanswering_.count(name) == 0;
  Descriptor socket(::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | (mayWait ? 0 : SOCK_NONBLOCK), 0));
  const SocketAddress address(folder->address(PortFolder::fileForPort(name)));
  const int error = socket ? connectWithin(socket.get(), address, longestConnect) : errno;
  if (error != EAGAIN)
    unanswering_.erase(name);
  else if (mayWait)
    unanswering_.insert(name);
  return error == 0 ? accepted(std::move(socket), name) : refused(error, name, wait);
}

Connector::Connection Connector::accepted(Descriptor socket, const std::string& name) {
  const ucred listener = peerOf(socket.get());
  if (listener.uid == user_) return {std::move(socket), listener.pid, false};
  log_.line("Port " + name + " belongs to a process of another user");
  return {};
}

Connector::Connection Connector::refused(int error, const std::string& name, Wait wait) {
  // Nobody listens under the name: nothing to speak of.
  if (error == ENOENT || error == ECONNREFUSED) return {};
  if (wait == Wait::oneSecond) log_.line("Port " + name + " cannot be reached: " + std::strerror(error));
  return {{}, 0, true};
}

std::optional<PortFolder> Connector::openFolder(PortFolder::Missing missing) const {
  auto folder = PortFolder::open(folder_, user_, missing);
  if (folder) return *std::move(folder);
  if (!folder.reason().empty()) log_.line("The folder of ports " + folder_ + " is not used: " + folder.reason());
  return std::nullopt;
}

}  // namespace platform::native
