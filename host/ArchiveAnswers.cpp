#include "host/ArchiveAnswers.h"

#include "core/DTMessage.h"
#include "platform/codec/KeyedArchiver.h"
#include "wire/Messages.h"

using platform::JSON;
using platform::MessagePortStatus;
using platform::Object;

namespace {

constexpr double sendTimeout = 1.0;

platform::Data dataOf(const platform::FileIdentity& identity) {
  return platform::Data(identity.bytes().begin(), identity.bytes().end());
}

}  // namespace

ArchiveAnswers::ArchiveAnswers(platform::MessagePorts& ports, platform::FileManager& files, ArchiveLister& lister,
                               SentTrees& sentTrees, EventLines& lines, std::string ownPortName)
    : ports_(ports), files_(files), lister_(lister), sentTrees_(sentTrees), lines_(lines), ownPortName_(std::move(ownPortName)) {}

void ArchiveAnswers::answer(const platform::URL& file, const std::string& portName) {
  const auto identity = files_.fileResourceIdentifier(file);
  if (!identity) return printUnanswered(file, "the file is gone");
  lister_.list(file.path(), [this, request = Request{file, *identity, portName}](const std::optional<Listing>& listing) {
    finish(request, listing);
  });
}

void ArchiveAnswers::finish(const Request& request, const std::optional<Listing>& listing) {
  if (!listing) return printUnanswered(request.file, "it is no archive");
  // The identity was read before the file was opened, and is read again now: the tree must not be put under another file's.
  if (files_.fileResourceIdentifier(request.file) != request.identity)
    return printUnanswered(request.file, "the file was replaced");
  sendTree(request, treeOfListing(request.file.lastPathComponent(), *listing));
}

void ArchiveAnswers::sendTree(const Request& request, const EntryTree& tree) {
  platform::Dictionary argument;
  argument.add(wire::Option::subject, Object(tree.root));
  argument.add(wire::Option::choice, Object(dataOf(request.identity)));
  DTMessage message(wire::Selector::setArchive, Object(std::move(argument)));
  message.setPortName(ownPortName_);
  const auto record =
      platform::KeyedArchiver::archivedDataWithRootObject(Object(std::make_shared<const DTMessage>(std::move(message))));
  if (!record) return printUnanswered(request.file, "its tree cannot be archived");
  // Before it is sent, as the user may be quick to choose.
  sentTrees_.remember(request.identity, tree.root);
  const MessagePortStatus status = send(request.portName, *record);
  lines_.write("answered", {{"file", JSON(request.file.path())},
                            {"entries", JSON(nodeCount(*tree.root))},
                            {"leftOut", JSON(tree.leftOut)},
                            {"portName", JSON(request.portName)},
                            {"status", JSON(static_cast<int>(status))}});
}

MessagePortStatus ArchiveAnswers::send(const std::string& portName, platform::ByteView record) {
  platform::RemoteMessagePort* open = port(portName);
  return open ? open->sendRequest(0, record, sendTimeout, sendTimeout) : MessagePortStatus::isInvalid;
}

platform::RemoteMessagePort* ArchiveAnswers::port(const std::string& name) {
  // Also of the same name, as another extension may listen under a dead one's by now.
  std::erase_if(openPorts_, [](const auto& open) { return !open.second->isValid(); });
  if (const auto open = openPorts_.find(name); open != openPorts_.end()) return open->second.get();
  auto opened = ports_.createRemote(name);
  return opened ? (openPorts_[name] = std::move(opened)).get() : nullptr;
}

void ArchiveAnswers::printUnanswered(const platform::URL& file, std::string_view reason) {
  lines_.write("unanswered", {{"file", JSON(file.path())}, {"reason", JSON(reason)}});
}
