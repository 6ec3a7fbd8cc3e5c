#include "platform/linux/ports/LocalPort.h"

#include <fcntl.h>
#include <sys/socket.h>

#include <array>
#include <cerrno>
#include <iterator>
#include <utility>

#include "platform/linux/ports/Record.h"
#include "platform/linux/ports/SocketAddress.h"

namespace platform::native {
namespace {

// The loop gets its turn for the user's clicks between a few records.
constexpr int recordsPerTurn = 8;

const char* faultOf(IncomingRecord::Result result) {
  switch (result) {
    case IncomingRecord::Result::brokenRules: return "a record was not formed as it must be";
    case IncomingRecord::Result::outOfMeans: return "no descriptor or memory left for a record";
    default: return nullptr;
  }
}

}  // namespace

LocalPort::LocalPort(std::string name, std::unique_ptr<ListeningSocket> socket, uid_t user, MessagePortCallBack callBack, Log& log)
    : name_(std::move(name)),
      socket_(std::move(socket)),
      user_(user),
      callBack_(std::move(callBack)),
      log_(log),
      spare_(::fcntl(socket_->descriptor(), F_DUPFD_CLOEXEC, 0)) {}

void LocalPort::invalidate() {
  isOpen_ = false;
  accepting_.reset();
  peers_.clear();
  spare_.reset();
  socket_.reset();
}

void LocalPort::startReading(int order) {
  isReading_ = true;
  order_ = order;
  resumeAccepting();
}

void LocalPort::publishAgain(PortFolder folder) {
  if (socket_ && socket_->isIn(folder)) return;
  accepting_.reset();
  socket_.reset();
  auto opened = ListeningSocket::open(std::move(folder), name_);
  if (!opened) return log_.line("Port " + name_ + " was removed and cannot be opened again: " + opened.reason());
  socket_ = *std::move(opened);
  resumeAccepting();
}

void LocalPort::resumeAccepting() {
  if (!isReading_ || !socket_ || accepting_ || peers_.size() >= mostPeers) return;
  accepting_ = MainLoopSource::whenReadable(
      socket_->descriptor(), [this] { acceptOne(); }, order_);
}

void LocalPort::acceptOne() {
  Descriptor socket = acceptedSocket();
  if (!socket) return;
  if (!isPeerOfUser(socket.get(), user_)) return log_.line("Port " + name_ + " refused a process of another user");
  const pid_t process = peerOf(socket.get()).pid;
  const auto peer = peers_.insert(peers_.end(), Peer{std::move(socket), process, {}});
  peer->source = MainLoopSource::whenReadable(
      peer->socket.get(), [this, peer] { read(peer); }, order_);
  if (peers_.size() >= mostPeers) accepting_.reset();
}

Descriptor LocalPort::acceptedSocket() {
  constexpr int flags = SOCK_NONBLOCK | SOCK_CLOEXEC;
  Descriptor socket(::accept4(socket_->descriptor(), nullptr, nullptr, flags));
  if (!socket && (errno == EMFILE || errno == ENFILE) && spare_) {
    log_.line("Port " + name_ + " has no descriptor left but its spare one");
    spare_.reset();
    socket.reset(::accept4(socket_->descriptor(), nullptr, nullptr, flags));
  }
  const bool isWorthWaiting = !socket && errno != EAGAIN && errno != ECONNABORTED && errno != EINTR;
  if (isWorthWaiting) accepting_.reset();
  return socket;
}

void LocalPort::read(std::list<Peer>::iterator peer) {
  const auto whole = shared_from_this();  // the callback may close the port
  std::array<std::uint8_t, longestPacket> packet;
  for (int count = 0; count < recordsPerTurn; ++count) {
    IncomingRecord record;
    const IncomingRecord::Result result = record.receiveFrom(peer->socket.get(), packet);
    if (result == IncomingRecord::Result::nothingYet) return;
    if (result != IncomingRecord::Result::record) {
      if (const char* fault = faultOf(result)) log_.line("Port " + name_ + " cut a connection: " + fault);
      return close(peer);
    }
    sender_ = peer->process;
    callBack_(*this, 0, record.bytes());
    if (!isOpen_) return;
  }
}

void LocalPort::close(std::list<Peer>::iterator peer) {
  // In one step, as another thread of the browser would take the number that is free for a moment.
  if (!spare_ && socket_ && ::dup3(socket_->descriptor(), peer->socket.get(), O_CLOEXEC) >= 0) {
    peer->source.reset();
    spare_ = std::move(peer->socket);
  }
  peers_.erase(peer);
  resumeAccepting();
}

}  // namespace platform::native
