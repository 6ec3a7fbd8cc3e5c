#include "host/Host.h"

#include <unistd.h>

#include "archive/ArchivedClasses.h"
#include "host/ArchiveAnswers.h"
#include "host/EntryTree.h"
#include "host/ObjectJSON.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "wire/Commands.h"
#include "wire/Messages.h"

using platform::JSON;
using platform::Object;
using platform::native::MainLoopSource;

namespace {

/// A host that was killed may hold its socket a moment longer than its name.
constexpr unsigned portAttempts = 20;
constexpr unsigned millisecondsBetweenAttempts = 50;

JSON textOrNull(const std::optional<std::string>& text) { return text ? JSON(*text) : JSON(); }

}  // namespace

Host::Host(HostOptions options, HostServices services, EventLines& lines, std::function<void(std::string)> onEnd)
    : options_(std::move(options)),
      services_(std::move(services)),
      lines_(lines),
      onEnd_(std::move(onEnd)),
      portName_(wire::hostPortName(options_.group)),
      answers_(std::make_unique<ArchiveAnswers>(services_.messagePorts, services_.fileManager, services_.archiveLister, sentTrees_,
                                                lines, portName_)) {}

Host::~Host() {
  if (port_) port_->invalidate();
  services_.notificationCenter.removeObserver(this);
}

void Host::start() {
  services_.notificationCenter.addObserver(this, wire::Notification::sendFailure, [this](const std::string& object) {
    lines_.write("notification", {{"name", JSON(wire::Notification::sendFailure)}, {"object", JSON(object)}});
  });
  // Before the name: whoever finds the name may send at once. Where another instance has the port this one waits for its end.
  openPort();
  predecessor_ = std::make_unique<Predecessor>(&services_.bus, options_.identifier);
  name_ = std::make_unique<BusName>(&services_.bus, options_.identifier, [this](BusName::State state) { nameChanged(state); });
}

bool Host::openPort() {
  if (port_) return true;
  const auto callBack = [this](platform::LocalMessagePort& port, std::int32_t, platform::ByteView record) {
    receive(record, platform::native::LinuxMessagePorts::senderTo(port));
    return std::optional<platform::Data>();
  };
  port_ = services_.messagePorts.createLocal(portName_, callBack, {});
  if (!port_) return false;
  const auto source = services_.messagePorts.createRunLoopSource(*port_, 0);
  services_.messagePorts.addSourceToCurrentRunLoop(*source, platform::RunLoopMode::common);
  return true;
}

void Host::nameChanged(BusName::State state) {
  nextAttempt_.reset();
  if (state == BusName::State::lost) return onEnd_("The session bus went away.");
  if (state == BusName::State::owned) return predecessor_->whenEnded([this] { becomeOwner(0); });
  announce();
}

void Host::becomeOwner(unsigned attempt) {
  if (openPort()) return announce();
  if (attempt == portAttempts) return onEnd_("The port " + portName_ + " cannot be opened.");
  nextAttempt_ = MainLoopSource::after(millisecondsBetweenAttempts, [this, attempt] { becomeOwner(attempt + 1); });
}

// Each instance announces itself, also one that queues behind another: the extension is to find out that there are two.
void Host::announce() {
  services_.notificationCenter.postNotificationName(wire::Notification::hostRunning, "", true);
  lines_.write(isReady_ ? "promoted" : "ready", {{"group", JSON(options_.group)},
                                                 {"identifier", JSON(options_.identifier)},
                                                 {"isFirst", JSON(name_->state() == BusName::State::owned)},
                                                 {"pid", JSON(static_cast<std::int64_t>(getpid()))},
                                                 {"portName", port_ ? JSON(portName_) : JSON()},
                                                 {"version", JSON(options_.version)}});
  isReady_ = true;
}

void Host::receive(platform::ByteView record, pid_t sender) {
  const Object root = platform::KeyedUnarchiver::unarchiveObjectWithData(record, archivedClasses());
  if (const auto message = root.instance<DTMessage>())
    handle(*message, sender);
  else
    lines_.write("badMessage", {{"bytes", JSON(record.size())}});
}

void Host::handle(const DTMessage& message, pid_t sender) {
  printMessage(message);
  if (message.selector() == wire::Selector::pingPortName) services_.onGreeting(sender);
  if (options_.answersRequests && message.selector() == wire::Selector::openArchive) openArchive(message);
}

void Host::printMessage(const DTMessage& message) {
  std::string members = ",\"selector\":" + textOrNull(message.selector()).text() +
                        ",\"argument\":" + textOfObject(message.argument()) +
                        ",\"portName\":" + textOrNull(message.portName()).text();
  if (message.selector() == wire::expandAction) members += entryMember(message.argument());
  lines_.writeText("message", members);
}

// The entry that the index path leads to in the tree that was sent; null when there is no such entry or tree.
std::string Host::entryMember(const Object& argument) {
  const auto* options = argument.get<platform::Dictionary>();
  const Object* archive = options ? options->objectForKey(wire::Option::subject) : nullptr;
  const Object* position = options ? options->objectForKey(wire::Option::choice) : nullptr;
  const auto* url = archive ? archive->get<platform::URL>() : nullptr;
  const auto* indexPath = position ? position->get<platform::IndexPath>() : nullptr;
  const auto identity = url ? services_.fileManager.fileResourceIdentifier(*url) : std::nullopt;
  const auto tree = identity ? sentTrees_.treeOf(*identity) : nullptr;
  const auto found = tree && indexPath ? entryAtIndexPath(*tree, *indexPath) : std::nullopt;
  if (!found) return ",\"entry\":null";
  return ",\"entry\":" + JSON(JSON::ObjectValue{{"name", JSON(found->name)}, {"path", JSON(found->path)}}).text();
}

void Host::openArchive(const DTMessage& message) {
  const auto* url = message.argument().get<platform::URL>();
  if (url && url->isFileURL() && message.portName())
    answers_->answer(*url, *message.portName());
  else
    lines_.write("unanswered", {{"file", JSON()}, {"reason", JSON("the request names no file or no port")}});
}
