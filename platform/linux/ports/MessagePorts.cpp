#include "platform/linux/ports/MessagePorts.h"

#include <unistd.h>

#include <utility>

#include "platform/linux/ports/RemotePort.h"

namespace platform::native {

struct LinuxMessagePorts::Source final : RunLoopSource {
  Source(std::shared_ptr<LocalPort> port, int order) : port(std::move(port)), order(order) {}

  std::shared_ptr<LocalPort> port;
  int order;
};

LinuxMessagePorts::LinuxMessagePorts(Log& log) : LinuxMessagePorts(log, PortFolder::usualPath(), ::geteuid()) {}

LinuxMessagePorts::LinuxMessagePorts(Log& log, std::string folder, uid_t user)
    : log_(log), user_(user), connector_(std::make_shared<Connector>(log, std::move(folder), user)) {}

LinuxMessagePorts::~LinuxMessagePorts() {
  for (const auto& port : ports_) port->invalidate();
}

std::shared_ptr<LocalMessagePort> LinuxMessagePorts::createLocal(std::string_view name, MessagePortCallBack callBack,
                                                                 const MessagePortContext&) {
  std::erase_if(ports_, [](const auto& port) { return !port->isOpen(); });
  auto folder = connector_->openFolder(PortFolder::Missing::isMade);
  if (!folder) return nullptr;
  auto socket = ListeningSocket::open(*std::move(folder), name);
  if (!socket) {
    log_.line("Port " + std::string(name) + " cannot be opened: " + socket.reason());
    return nullptr;
  }
  ports_.push_back(std::make_shared<LocalPort>(std::string(name), *std::move(socket), user_, std::move(callBack), log_));
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

pid_t LinuxMessagePorts::senderTo(const LocalMessagePort& port) { return static_cast<const LocalPort&>(port).sender(); }

std::unique_ptr<RemoteMessagePort> LinuxMessagePorts::createRemote(std::string_view name) {
  refreshLocalPorts();
  std::string ownName(name);
  auto connection = connector_->connect(ownName, Connector::Wait::oneSecond);
  if (!connection.socket) return nullptr;
  return std::make_unique<RemotePort>(std::move(ownName), std::move(connection), connector_, log_);
}

void LinuxMessagePorts::refreshLocalPorts() {
  for (const auto& port : ports_) {
    if (!port->isOpen()) continue;
    if (auto folder = connector_->openFolder(PortFolder::Missing::isMade)) port->publishAgain(std::move(*folder));
    port->resumeAccepting();
  }
}

}  // namespace platform::native
