#include "platform/fake/FakeMessagePorts.h"

#include <utility>

namespace platform::fake {

class FakeMessagePorts::LocalPort final : public LocalMessagePort, public std::enable_shared_from_this<LocalPort> {
 public:
  LocalPort(FakeMessagePorts& ports, std::string name, MessagePortCallBack callBack)
      : ports_(ports), name_(std::move(name)), callBack_(std::move(callBack)) {}

  std::string_view name() const override { return name_; }
  void invalidate() override {
    ports_.log_.add("invalidate local port " + name_);
    const auto found = ports_.localPorts_.find(name_);
    isOpen_ = false;
    if (found != ports_.localPorts_.end() && found->second.get() == this) ports_.localPorts_.erase(found);
  }

  std::optional<Data> call(std::int32_t messageId, ByteView record) {
    return isOpen_ ? callBack_(*this, messageId, record) : std::nullopt;
  }

  bool isScheduled = false;
  std::vector<Data> waiting;

 private:
  FakeMessagePorts& ports_;
  std::string name_;
  MessagePortCallBack callBack_;
  bool isOpen_ = true;
};

class FakeMessagePorts::Source final : public RunLoopSource {
 public:
  explicit Source(std::shared_ptr<LocalPort> port) : port(std::move(port)) {}
  std::shared_ptr<LocalPort> port;
};

class FakeRemotePort final : public RemoteMessagePort {
 public:
  FakeRemotePort(FakeMessagePorts& ports, std::string name) : ports_(ports), name_(std::move(name)) {}
  ~FakeRemotePort() override { ports_.log_.add("release port " + name_); }

  MessagePortStatus sendRequest(std::int32_t messageId, ByteView data, double sendTimeout, double receiveTimeout) override {
    ports_.log_.add("send to " + name_ + ", id " + std::to_string(messageId) + ", time-outs " +
                    std::to_string(sendTimeout).substr(0, 3) + " and " + std::to_string(receiveTimeout).substr(0, 3));
    if (isInvalid_) return MessagePortStatus::isInvalid;
    const MessagePortStatus status = ports_.send(name_, data);
    const bool isFoundGone = status == MessagePortStatus::becameInvalid;
    return std::exchange(isGone_, isFoundGone) && isFoundGone ? MessagePortStatus::isInvalid : status;
  }

  bool isValid() override { return !isInvalid_ && (ports_.localPorts_.contains(name_) || ports_.received_.contains(name_)); }

  void invalidate() override {
    ports_.log_.add("invalidate port " + name_);
    isInvalid_ = true;
  }

 private:
  FakeMessagePorts& ports_;
  std::string name_;
  bool isInvalid_ = false;
  bool isGone_ = false;
};

std::vector<Data> FakeMessagePorts::takeReceived(const std::string& name) {
  const auto found = received_.find(name);
  return found == received_.end() ? std::vector<Data>() : std::exchange(found->second, {});
}

std::shared_ptr<LocalMessagePort> FakeMessagePorts::createLocal(std::string_view name, MessagePortCallBack callBack,
                                                                const MessagePortContext& context) {
  log_.add("create local port " + std::string(name) + ", context version " + std::to_string(context.version));
  if (refusesLocalPorts || localPorts_.contains(name) || received_.contains(name)) return nullptr;
  auto port = std::make_shared<LocalPort>(*this, std::string(name), std::move(callBack));
  localPorts_.emplace(std::string(name), port);
  return port;
}

std::unique_ptr<RunLoopSource> FakeMessagePorts::createRunLoopSource(LocalMessagePort& port, int order) {
  log_.add("create source of " + std::string(port.name()) + ", order " + std::to_string(order));
  return std::make_unique<Source>(static_cast<LocalPort&>(port).shared_from_this());
}

void FakeMessagePorts::addSourceToCurrentRunLoop(RunLoopSource& source, RunLoopMode) {
  const auto port = static_cast<Source&>(source).port;
  log_.add("add source of " + std::string(port->name()) + " in the common modes");
  port->isScheduled = true;
  for (Data& record : std::exchange(port->waiting, {})) {
    loop_.post([port, record = std::move(record)] { port->call(0, record); });
  }
}

std::unique_ptr<RemoteMessagePort> FakeMessagePorts::createRemote(std::string_view name) {
  log_.add("create remote port " + std::string(name));
  if (!localPorts_.contains(name) && !received_.contains(name)) return nullptr;
  return std::make_unique<FakeRemotePort>(*this, std::string(name));
}

std::optional<Data> FakeMessagePorts::deliver(const std::string& name, ByteView record, std::int32_t messageId) {
  const auto found = localPorts_.find(name);
  if (found == localPorts_.end()) return std::nullopt;
  const auto port = found->second;  // the callback may close it
  return port->call(messageId, record);
}

MessagePortStatus FakeMessagePorts::send(const std::string& name, ByteView record) {
  if (sendStatus) return *sendStatus;
  if (record.size() > longestRecord) return MessagePortStatus::transportError;
  Data copy(record.begin(), record.end());
  if (const auto listener = received_.find(name); listener != received_.end()) {
    listener->second.push_back(std::move(copy));
    return MessagePortStatus::success;
  }
  const auto local = localPorts_.find(name);
  if (local == localPorts_.end()) return MessagePortStatus::becameInvalid;
  if (local->second->isScheduled) {
    loop_.post([port = local->second, copy = std::move(copy)] { port->call(0, copy); });
  } else {
    local->second->waiting.push_back(std::move(copy));
  }
  return MessagePortStatus::success;
}

}  // namespace platform::fake
