#include "platform/linux/ports/RemotePort.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "platform/linux/ports/Record.h"

namespace platform::native {
namespace {

using Clock = std::chrono::steady_clock;

Clock::time_point momentAfter(double seconds) {
  // Written so that a number that is none waits not at all.
  const double bounded = seconds > 0 ? std::min(seconds, 3600.0) : 0.0;
  return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(bounded));
}

// The system calls a socket writable once a quarter of its buffer at most is waiting to be read, so a peer
// that reads one record now and then does not wake us for each. The end of the peer counts too: the next send
// tells.
bool becomesWritable(int socket, Clock::time_point deadline) {
  pollfd watched{socket, POLLOUT, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    const int count = ::poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(left.count(), 0)));
    if (count >= 0) return count > 0;
    if (errno != EINTR) return false;
  }
}

}  // namespace

RemotePort::RemotePort(std::string name, Descriptor socket, Log& log)
    : name_(std::move(name)), socket_(std::move(socket)), log_(log) {}

MessagePortStatus RemotePort::sendRequest(std::int32_t, ByteView data, double sendTimeout, double) {
  if (!socket_) return MessagePortStatus::isInvalid;
  if (hasTimedOut_ && !becomesWritable(socket_.get(), Clock::now())) return MessagePortStatus::sendTimeout;
  OutgoingRecord record(data);
  int error = record.sendTo(socket_.get());
  if (error == EAGAIN) {
    const auto deadline = momentAfter(sendTimeout);
    while (error == EAGAIN && becomesWritable(socket_.get(), deadline)) error = record.sendTo(socket_.get());
  }
  hasTimedOut_ = error == EAGAIN;
  return statusOf(error);
}

bool RemotePort::isValid() const {
  pollfd watched{socket_.get(), POLLRDHUP, 0};
  return socket_ && ::poll(&watched, 1, 0) >= 0 && watched.revents == 0;
}

MessagePortStatus RemotePort::statusOf(int error) {
  switch (error) {
    case 0: return MessagePortStatus::success;
    case EAGAIN: return MessagePortStatus::sendTimeout;
    case EPIPE:
    case ECONNRESET:
    case ECONNREFUSED:
    case ENOTCONN: invalidate(); return MessagePortStatus::becameInvalid;
    default:
      log_.line("Port " + name_ + " cannot be sent a record: " + std::strerror(error));
      return MessagePortStatus::transportError;
  }
}

}  // namespace platform::native
