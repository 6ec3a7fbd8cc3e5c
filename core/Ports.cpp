// The two named ports between the extension and its host, and how a failure of the link reaches the host.
#include <new>

#include "core/ApplicationGroup.h"
#include "core/DTDovetailSync.h"
#include "platform/JSONText.h"
#include "wire/Messages.h"

using platform::ByteView;
using platform::Data;
using platform::Done;
using platform::Error;
using platform::Failure;
using platform::LocalMessagePort;
using platform::MessagePortStatus;
using platform::Result;

namespace {

constexpr double sendTimeoutInSeconds = 1.0;
constexpr double receiveTimeoutInSeconds = 1.0;

// The record is handed on as a copy: it may name an operation that reaches the port again. One that finds no memory is handed on
// empty, and so reported as one that cannot be read.
void receiveMessage(DTDovetailSync& extension, ByteView data) {
  Data copy;
  try {
    copy.assign(data.begin(), data.end());
  } catch (const std::bad_alloc&) {
  }
  extension.handleMessage(copy);
}

}  // namespace

void DTDovetailSync::setupMessageListener() {
  if (const auto opened = openInboundPort(); !opened) reportReceiveFailure(1, opened.reason());
}

Result<Done, std::string_view> DTDovetailSync::openInboundPort() {
  const auto group = copyApplicationGroup(platform_.security);
  if (!group) return Failure{group.reason()};
  const std::string name = wire::extensionPortName(*group, platform_.mainBundle.processIdentifier());
  // The port outlives the extension.
  const auto callBack = [weak = weak_from_this()](LocalMessagePort&, std::int32_t, ByteView data) -> std::optional<Data> {
    if (const auto self = weak.lock()) receiveMessage(*self, data);
    return std::nullopt;
  };
  const auto port = platform_.messagePorts.createLocal(name, callBack, {.version = 1});
  if (!port) return Failure{"There was an error creating receiving communication port."};
  const auto source = platform_.messagePorts.createRunLoopSource(*port, 0);
  platform_.messagePorts.addSourceToCurrentRunLoop(*source, platform::RunLoopMode::common);
  portName_ = name;
  return Done{};
}

void DTDovetailSync::sendMessage(DTMessage& message) {
  auto sent = port_ ? Done{} : openOutboundPort();
  if (port_) sent = deliver(message);
  if (!sent) reportSendFailure(sent.reason());
}

// A host that does not listen is no failure: messages sent while it is away vanish.
Result<Done> DTDovetailSync::openOutboundPort() {
  const auto group = copyApplicationGroup(platform_.security);
  if (!group) return Failure{group.reason()};
  setPort(platform_.messagePorts.createRemote(wire::hostPortName(*group)));
  return Done{};
}

Result<Done> DTDovetailSync::deliver(DTMessage& message) {
  message.setPortName(portName_);
  const auto archive = messageWriter_.archive(message);
  if (!archive) return Failure{"There was an error archiving message for sending."};
  const MessagePortStatus status = port_->sendRequest(0, *archive, sendTimeoutInSeconds, receiveTimeoutInSeconds);
  if (status == MessagePortStatus::success) return Done{};
  return Failure{"There was an error sending message to application, status " + std::to_string(static_cast<std::int32_t>(status)) +
                 "."};
}

void DTDovetailSync::reportSendFailure(std::string_view reason) {
  const std::string report =
      platform::jsonObjectOfTexts({{platform::LocalizedDescriptionKey, "Finder extension failed to send message to application"},
                                   {platform::LocalizedRecoverySuggestionErrorKey, reason}});
  platform_.distributedNotificationCenter.postNotificationName(wire::Notification::sendFailure, report, true);
}

void DTDovetailSync::reportReceiveFailure(std::int64_t code, std::string_view reason) {
  Error error{std::string(wire::errorDomain), code, {}};
  error.setText(platform::LocalizedDescriptionKey, "Finder extension failed to receive message from application");
  error.setText(platform::LocalizedRecoverySuggestionErrorKey, reason);
  DTMessage message(wire::Selector::showError, std::move(error));
  sendMessage(message);
}

void DTDovetailSync::setPort(std::unique_ptr<platform::RemoteMessagePort> port) {
  if (port_) port_->invalidate();
  port_ = std::move(port);
}
