// Message ports inside one process. A remote port opens when a local port of the name exists or the test plays the
// listener (`listen`); records go to the local port through the main loop, or into the listener's list.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/MessagePort.h"
#include "platform/fake/CallLog.h"
#include "platform/fake/FakeMainLoop.h"

namespace platform::fake {

class FakeMessagePorts final : public MessagePorts {
 public:
  FakeMessagePorts(CallLog& log, FakeMainLoop& loop) : log_(log), loop_(loop) {}

  /// From now on somebody outside listens on that name, or no longer.
  void listen(const std::string& name) { received_[name]; }
  void hangUp(const std::string& name) { received_.erase(name); }
  /// What was sent to an outside listener, taken off its list.
  std::vector<Data> takeReceived(const std::string& name);
  /// Fails the next calls of its kind until it is set back.
  bool refusesLocalPorts = false;
  std::optional<MessagePortStatus> sendStatus;

  std::shared_ptr<LocalMessagePort> createLocal(std::string_view name, MessagePortCallBack callBack,
                                                const MessagePortContext& context) override;
  std::unique_ptr<RunLoopSource> createRunLoopSource(LocalMessagePort& port, int order) override;
  void addSourceToCurrentRunLoop(RunLoopSource& source, RunLoopMode mode) override;
  std::unique_ptr<RemoteMessagePort> createRemote(std::string_view name) override;

  /// Delivers one record to a local port as a peer would; the callback's reply, or nothing.
  std::optional<Data> deliver(const std::string& name, ByteView record, std::int32_t messageId = 0);

 private:
  friend class FakeRemotePort;
  class LocalPort;
  class Source;

  MessagePortStatus send(const std::string& name, ByteView record);

  CallLog& log_;
  FakeMainLoop& loop_;
  std::map<std::string, std::shared_ptr<LocalPort>, std::less<>> localPorts_;
  std::map<std::string, std::vector<Data>, std::less<>> received_;
};

}  // namespace platform::fake
