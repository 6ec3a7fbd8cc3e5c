// A connection to another process's port.
#pragma once

#include <string>

#include "platform/Log.h"
#include "platform/MessagePort.h"
#include "platform/linux/Descriptor.h"

namespace platform::native {

class RemotePort final : public RemoteMessagePort {
 public:
  RemotePort(std::string name, Descriptor socket, Log& log);

  /// The number of the message does not travel. A record of more than 256 MiB is refused as `transportError`,
  /// as one is for which the system has no memory or descriptor left; the port stays usable.
  MessagePortStatus sendRequest(std::int32_t messageId, ByteView data, double sendTimeout, double receiveTimeout) override;
  bool isValid() const override;
  void invalidate() override { socket_.reset(); }

 private:
  MessagePortStatus statusOf(int error);

  std::string name_;
  Descriptor socket_;
  Log& log_;
  bool hasTimedOut_ = false;
};

}  // namespace platform::native
