// The other end of the host's wire, played by the test: a port like an extension's, and sends to the host's port.
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "archive/ArchivedClasses.h"
#include "core/DTMessage.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/linux/ports/MessagePorts.h"

class FakeExtension {
 public:
  FakeExtension(std::string portFolder, std::string name, platform::Log& log)
      : name_(std::move(name)), ports_(log, std::move(portFolder), getuid()) {
    const auto receive = [this](platform::LocalMessagePort&, std::int32_t, platform::ByteView data) {
      const auto root = platform::KeyedUnarchiver::unarchiveObjectWithData(data, archivedClasses());
      received_.push_back(root.instance<DTMessage>());
      return std::optional<platform::Data>();
    };
    const auto port = ports_.createLocal(name_, receive, {});
    if (port) ports_.addSourceToCurrentRunLoop(*ports_.createRunLoopSource(*port, 0), platform::RunLoopMode::common);
  }
  FakeExtension(const FakeExtension&) = delete;

  const std::string& name() const { return name_; }
  const std::vector<std::shared_ptr<const DTMessage>>& received() const { return received_; }
  bool canReachHost() { return ports_.createRemote("org.dovetail.group.App") != nullptr; }

  bool sendBytes(const platform::Data& bytes) {
    if (!host_) host_ = ports_.createRemote("org.dovetail.group.App");
    return host_ && host_->sendRequest(0, bytes, 1.0, 1.0) == platform::MessagePortStatus::success;
  }
  bool send(DTMessage message) {
    message.setPortName(name_);
    return sendAsItIs(std::move(message));
  }
  bool sendAsItIs(DTMessage message) {
    const auto bytes = platform::KeyedArchiver::archivedDataWithRootObject(
        platform::Object(std::make_shared<const DTMessage>(std::move(message))));
    return bytes && sendBytes(*bytes);
  }
  bool askFor(const std::string& path) {
    return send(DTMessage("openArchive:portName:", platform::Object(platform::URL::fileURLWithPath(path))));
  }
  void dropHost() { host_.reset(); }

 private:
  std::string name_;
  platform::native::LinuxMessagePorts ports_;
  std::unique_ptr<platform::RemoteMessagePort> host_;
  std::vector<std::shared_ptr<const DTMessage>> received_;
};
