#include "platform/linux/ports/RemotePort.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "platform/linux/ports/Record.h"

namespace platform::native {
namespace {

using Clock = std::chrono::steady_clock;

// The loop gets its turn for the user's clicks between a few records.
constexpr int recordsPerTurn = 64;
constexpr unsigned millisecondsBetweenTries = 1000;
// Nobody listens any more, or another process does.
constexpr int nobodyListens = ESRCH;

Clock::time_point momentAfter(double seconds) {
  // Written so that a number that is none waits not at all.
  const double bounded = seconds > 0 ? std::min(seconds, 3600.0) : 0.0;
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(bounded));
}

// The system calls a socket writable once a quarter of its buffer at most is waiting to be read, so a peer
// that reads one record now and then does not wake us for each. The end of the peer counts too: the next send
// tells. Without a socket there is only the time to wait for.
bool becomesWritable(int socket, Clock::time_point deadline) {
  pollfd watched{socket, POLLOUT, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    const int count = ::poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (count >= 0) return count > 0;
    if (errno != EINTR) return false;
  }
}

bool isConnected(int socket) {
  pollfd watched{socket, POLLRDHUP, 0};
  return socket >= 0 && ::poll(&watched, 1, 0) >= 0 && watched.revents == 0;
}

bool isEndOfConnection(int error) { return error == EPIPE || error == ECONNRESET || error == ECONNREFUSED || error == ENOTCONN; }

// The peer must read, or accept a connection, first.
bool mustWait(int error) { return error == EAGAIN || error == EBUSY; }

}  // namespace

RemotePort::RemotePort(std::string name, Connector::Connection connection, std::shared_ptr<Connector> connector, Log& log)
    : name_(std::move(name)),
      socket_(std::move(connection.socket)),
      listener_(connection.listener),
      connector_(std::move(connector)),
      log_(log) {}

MessagePortStatus RemotePort::sendRequest(std::int32_t, ByteView data, double sendTimeout, double) {
  if (isInvalidated_) return MessagePortStatus::isInvalid;
  OutgoingRecord record(data);
  int error = waiting_.isEmpty() ? transmit(record) : EAGAIN;
  if (mustWait(error) && data.size() > longestRecord) error = EMSGSIZE;
  if (!mustWait(error)) return statusOf(error);
  if (waiting_.add(data)) {
    goOnAfter(error);
    return MessagePortStatus::success;
  }
  return statusOf(sendWithin(record, data, momentAfter(hasTimedOut_ ? 0 : sendTimeout)));
}

bool RemotePort::isValid() {
  if (isInvalidated_) return false;
  return isConnected(socket_.get()) || connectAgain() != nobodyListens;
}

void RemotePort::invalidate() {
  isInvalidated_ = true;
  dropWaiting();
  socket_.reset();
}

int RemotePort::transmit(OutgoingRecord& record) {
  int error = socket_ ? record.sendTo(socket_.get()) : ENOTCONN;
  if (isEndOfConnection(error)) {
    error = connectAgain();
    if (error == 0) error = record.sendTo(socket_.get());
    // Closed as soon as it was made: once more is for later.
    if (isEndOfConnection(error)) error = EBUSY;
  }
  if (error == 0) hasTimedOut_ = hasToldObstacle_ = false;
  return error;
}

// Only to the process that listened before: another one is another host, which knows nothing of this port.
int RemotePort::connectAgain() {
  auto connection = connector_->connect(name_, Connector::Wait::notAtAll);
  if (connection.isBusy) return EBUSY;
  if (!connection.socket || connection.listener != listener_) return nobodyListens;
  goingOn_.reset();
  socket_ = std::move(connection.socket);
  isGone_ = false;
  goOnAfter(0);
  return 0;
}

int RemotePort::sendWithin(OutgoingRecord& record, ByteView data, Moment deadline) {
  while (becomesWritable(socket_.get(), deadline)) {
    int error = sendWaiting();
    if (error == nobodyListens) return error;
    if (waiting_.isEmpty()) error = transmit(record);
    if (waiting_.isEmpty() && !mustWait(error)) return error;
    if (!waiting_.add(data)) continue;
    goOnAfter(error);
    return 0;
  }
  hasTimedOut_ = true;
  return EAGAIN;
}

int RemotePort::sendWaiting() {
  int error = 0;
  for (int count = 0; error == 0 && !waiting_.isEmpty() && count < recordsPerTurn; ++count) {
    error = transmit(waiting_.first());
    if (error == 0) waiting_.removeFirst();
  }
  return error;
}

void RemotePort::goOn() {
  const int error = sendWaiting();
  if (error != nobodyListens) return goOnAfter(error);
  dropWaiting();
  socket_.reset();
}

// What neither the peer's reading nor its end would tell of is tried again now and then.
void RemotePort::goOnAfter(int error) {
  if (waiting_.isEmpty()) return goingOn_.reset();
  if (error != 0 && error != EAGAIN) {
    tellObstacle(error);
    goingOn_ = MainLoopSource::after(millisecondsBetweenTries, [this] {
      goingOn_.reset();
      goOn();
    });
  } else if (!goingOn_) {
    goingOn_ = MainLoopSource::whenWritable(socket_.get(), [this] { goOn(); });
  }
}

void RemotePort::tellObstacle(int error) {
  if (std::exchange(hasToldObstacle_, true)) return;
  log_.line("Port " + name_ + " keeps its records waiting: " + std::strerror(error));
}

void RemotePort::dropWaiting() {
  if (!waiting_.isEmpty())
    log_.line("Port " + name_ + " is gone with " + std::to_string(waiting_.count()) + " records that waited for it to read");
  goingOn_.reset();
  waiting_.clear();
}

MessagePortStatus RemotePort::statusOf(int error) {
  switch (error) {
    case 0: return MessagePortStatus::success;
    case EAGAIN: return MessagePortStatus::sendTimeout;
    case nobodyListens:
      dropWaiting();
      socket_.reset();
      return std::exchange(isGone_, true) ? MessagePortStatus::isInvalid : MessagePortStatus::becameInvalid;
    default:
      log_.line("Port " + name_ + " cannot be sent a record: " + std::strerror(error));
      return MessagePortStatus::transportError;
  }
}

}  // namespace platform::native
