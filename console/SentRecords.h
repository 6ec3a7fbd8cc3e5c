// The message ports of a platform, with a count of the records that they took: whether a choice reached anybody.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>

#include "platform/Platform.h"

class SentRecords final : public platform::MessagePorts {
 public:
  /// The ports outlive this object, and this object every remote port that it opened.
  explicit SentRecords(platform::MessagePorts& ports) : ports_(ports) {}

  /// The services, with these ports in place of their own.
  platform::Platform standingIn(const platform::Platform& given) {
    return {.finderSyncController = given.finderSyncController,
            .messagePorts = *this,
            .userDefaultsSuites = given.userDefaultsSuites,
            .security = given.security,
            .distributedNotificationCenter = given.distributedNotificationCenter,
            .runningApplications = given.runningApplications,
            .processSources = given.processSources,
            .fileManager = given.fileManager,
            .workspace = given.workspace,
            .mainBundle = given.mainBundle,
            .log = given.log};
  }
  /// Records that a remote port has taken.
  std::size_t count() const { return count_; }

  std::shared_ptr<platform::LocalMessagePort> createLocal(std::string_view name, platform::MessagePortCallBack callBack,
                                                          const platform::MessagePortContext& context) override {
    return ports_.createLocal(name, std::move(callBack), context);
  }
  std::unique_ptr<platform::RunLoopSource> createRunLoopSource(platform::LocalMessagePort& port, int order) override {
    return ports_.createRunLoopSource(port, order);
  }
  void addSourceToCurrentRunLoop(platform::RunLoopSource& source, platform::RunLoopMode mode) override {
    ports_.addSourceToCurrentRunLoop(source, mode);
  }
  std::unique_ptr<platform::RemoteMessagePort> createRemote(std::string_view name) override {
    auto port = ports_.createRemote(name);
    return port ? std::make_unique<CountedPort>(std::move(port), count_) : nullptr;
  }

 private:
  class CountedPort final : public platform::RemoteMessagePort {
   public:
    CountedPort(std::unique_ptr<platform::RemoteMessagePort> port, std::size_t& count) : port_(std::move(port)), count_(count) {}

    platform::MessagePortStatus sendRequest(std::int32_t messageId, platform::ByteView data, double sendTimeout,
                                            double receiveTimeout) override {
      const auto status = port_->sendRequest(messageId, data, sendTimeout, receiveTimeout);
      if (status == platform::MessagePortStatus::success) ++count_;
      return status;
    }
    bool isValid() override { return port_->isValid(); }
    void invalidate() override { port_->invalidate(); }

   private:
    std::unique_ptr<platform::RemoteMessagePort> port_;
    std::size_t& count_;
  };

  platform::MessagePorts& ports_;
  std::size_t count_ = 0;
};
