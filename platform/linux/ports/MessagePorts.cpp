#include "platform/linux/ports/MessagePorts.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <optional>
#include <utility>

#include "platform/linux/ports/RemotePort.h"
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

struct LinuxMessagePorts::Source final : RunLoopSource {
  Source(std::shared_ptr<LocalPort> port, int order) : port(std::move(port)), order(order) {}

  std::shared_ptr<LocalPort> port;
  int order;
};

LinuxMessagePorts::LinuxMessagePorts(Log& log) : LinuxMessagePorts(log, PortFolder::usualPath(), ::geteuid()) {}

LinuxMessagePorts::LinuxMessagePorts(Log& log, std::string folder, uid_t user)
    : log_(log), folder_(std::move(folder)), user_(user) {}

LinuxMessagePorts::~LinuxMessagePorts() {
  for (const auto& port : ports_) port->invalidate();
}

std::shared_ptr<LocalMessagePort> LinuxMessagePorts::createLocal(std::string_view name, MessagePortCallBack callBack,
                                                                 const MessagePortContext&) {
  std::erase_if(ports_, [](const auto& port) { return !port->isOpen(); });
  auto folder = openFolder(PortFolder::Missing::isMade);
  if (!folder) return nullptr;
  std::string fault;
  auto socket = ListeningSocket::open(std::move(*folder), name, fault);
  if (!socket) {
    log_.line("Port " + std::string(name) + " cannot be opened: " + fault);
    return nullptr;
  }
  ports_.push_back(std::make_shared<LocalPort>(std::string(name), std::move(socket), user_, std::move(callBack), log_));
  return ports_.back();
}

std::unique_ptr<RunLoopSource> LinuxMessagePorts::createRunLoopSource(LocalMessagePort& port, int order) {
  return std::make_unique<Source>(static_cast<LocalPort&>(port).shared_from_this(), order);
}

// A menu runs the very same context, so there is one mode only.
void LinuxMessagePorts::addSourceToCurrentRunLoop(RunLoopSource& source, RunLoopMode) {
  const auto& added = static_cast<Source&>(source);
  added.port->startReading(added.order);
}

std::unique_ptr<RemoteMessagePort> LinuxMessagePorts::createRemote(std::string_view name) {
  refreshLocalPorts();
  const auto folder = openFolder(PortFolder::Missing::isRefused);
  if (!folder) return nullptr;
  std::string ownName(name);
  Descriptor socket = connect(*folder, ownName);
  if (!socket) return nullptr;
  return std::make_unique<RemotePort>(std::move(ownName), std::move(socket), log_);
}

std::optional<PortFolder> LinuxMessagePorts::openFolder(PortFolder::Missing missing) {
  std::string fault;
  auto folder = PortFolder::open(folder_, user_, missing, fault);
  if (!fault.empty()) log_.line("The folder of ports " + folder_ + " is not used: " + fault);
  return folder;
}

void LinuxMessagePorts::refreshLocalPorts() {
  for (const auto& port : ports_) {
    if (!port->isOpen()) continue;
    if (auto folder = openFolder(PortFolder::Missing::isMade)) port->publishAgain(std::move(*folder));
    port->resumeAccepting();
  }
}

Descriptor LinuxMessagePorts::connect(const PortFolder& folder, const std::string& name) {
  const bool mayWait = unanswering_.count(name) == 0;
  const int type = SOCK_SEQPACKET | SOCK_CLOEXEC | (mayWait ? 0 : SOCK_NONBLOCK);
  Descriptor socket(::socket(AF_UNIX, type, 0));
  const SocketAddress address(folder.address(PortFolder::fileForPort(name)));
  const int error = socket ? connectWithin(socket.get(), address, longestConnect) : errno;
  if (error == EAGAIN)
    unanswering_.insert(name);
  else
    unanswering_.erase(name);
  // Nobody listens under the name: nothing to speak of.
  if (error == ENOENT || error == ECONNREFUSED) return {};
  if (error != 0) {
    log_.line("Port " + name + " cannot be reached: " + std::strerror(error));
    return {};
  }
  if (isPeerOfUser(socket.get(), user_)) return socket;
  log_.line("Port " + name + " belongs to a process of another user");
  return {};
}

}  // namespace platform::native
