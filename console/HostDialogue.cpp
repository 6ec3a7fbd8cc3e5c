#include "console/HostDialogue.h"

#include <glib.h>

#include <algorithm>
#include <optional>
#include <utility>

#include "archive/ArchivedClasses.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/linux/MainLoopSource.h"
#include "wire/Messages.h"

using platform::ByteView;
using platform::Object;

namespace {

constexpr double sendTimeoutInSeconds = 1.0;

}  // namespace

HostDialogue::HostDialogue(platform::MessagePorts& ports, std::string ownPort, std::string hostPort)
    : ports_(ports), ownPort_(std::move(ownPort)), hostPort_(std::move(hostPort)) {
  const auto call = [this](platform::LocalMessagePort&, std::int32_t, ByteView record) -> std::optional<platform::Data> {
    receive(record);
    return std::nullopt;
  };
  port_ = ports_.createLocal(ownPort_, call, {.version = 1});
  if (port_) ports_.addSourceToCurrentRunLoop(*ports_.createRunLoopSource(*port_, 0), platform::RunLoopMode::common);
}

HostDialogue::~HostDialogue() {
  if (port_) port_->invalidate();
}

bool HostDialogue::send(DTMessage message) {
  message.setPortName(ownPort_);
  const auto record =
      platform::KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<const DTMessage>(std::move(message))));
  return record && sendBytes(*record);
}

bool HostDialogue::sendBytes(ByteView record) {
  if (!host_ || !host_->isValid()) host_ = ports_.createRemote(hostPort_);
  return host_ && host_->sendRequest(0, record, sendTimeoutInSeconds, sendTimeoutInSeconds) == platform::MessagePortStatus::success;
}

const HostDialogue::Answer* HostDialogue::answerAbout(const platform::FileIdentity& file) const {
  const auto found = std::find_if(answers_.rbegin(), answers_.rend(), [&](const Answer& answer) { return answer.file == file; });
  return found == answers_.rend() ? nullptr : &*found;
}

bool HostDialogue::wait(const std::function<bool()>& isSo, std::chrono::milliseconds longest) {
  bool isOver = false;
  const auto deadline =
      platform::native::MainLoopSource::after(static_cast<unsigned>(longest.count()), [&isOver] { isOver = true; });
  while (!isSo() && !isOver) g_main_context_iteration(nullptr, TRUE);
  return isSo();
}

void HostDialogue::receive(ByteView record) {
  const auto message = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses()).instance<DTMessage>();
  if (!message) return oddities_.emplace_back("a record that is no message"), void();
  if (message->selector() != wire::Selector::setArchive)
    return oddities_.emplace_back("the selector " + message->selector().value_or("nil")), void();
  const auto* option = message->argument().get<platform::Dictionary>();
  const Object* subject = option ? option->objectForKey(wire::Option::subject) : nullptr;
  const Object* choice = option ? option->objectForKey(wire::Option::choice) : nullptr;
  const auto* bytes = choice ? choice->get<platform::Data>() : nullptr;
  const auto tree = subject ? subject->instance<DTTreeNode>() : nullptr;
  const auto file = bytes ? platform::FileIdentity::withBytes(*bytes) : std::nullopt;
  if (tree && file && option->entries.size() == 2)
    answers_.push_back({tree, *file});
  else
    oddities_.emplace_back("a setArchive: that is no option of a tree and an identity");
}
