// A connection to another process's port, made again as long as that process listens, and the records that wait
// for it to read.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/ports/Connector.h"
#include "platform/linux/ports/OutboundQueue.h"

namespace platform::native {

class RemotePort final : public RemoteMessagePort {
 public:
  RemotePort(std::string name, Connector::Connection connection, std::shared_ptr<Connector> connector, Log& log);

  /// The number of the message does not travel. A record of more than 256 MiB is refused as `transportError`,
  /// as one is for which the system has no memory or descriptor left; the port stays usable.
  MessagePortStatus sendRequest(std::int32_t messageId, ByteView data, double sendTimeout, double receiveTimeout) override;
  bool isValid() override;
  void invalidate() override;

 private:
  using Moment = std::chrono::steady_clock::time_point;

  // Results are error numbers, 0 for none.
  int transmit(OutgoingRecord& record);
  int connectAgain();
  int sendWithin(OutgoingRecord& record, ByteView data, Moment deadline);
  int sendWaiting();
  void goOn();
  void goOnAfter(int error);
  void tellObstacle(int error);
  void dropWaiting();
  MessagePortStatus statusOf(int error);

  std::string name_;
  Descriptor socket_;
  pid_t listener_;
  std::shared_ptr<Connector> connector_;
  Log& log_;
  OutboundQueue waiting_;
  MainLoopSource goingOn_;  // while something waits
  bool isInvalidated_ = false;
  bool isGone_ = false;
  bool hasTimedOut_ = false;
  bool hasToldObstacle_ = false;
};

}  // namespace platform::native
