// From the name in a record to the operation of that name: every public operation with one object argument, the commands from
// their own table. A name that is in neither table is ignored, an argument of a wrong kind too.
#include <algorithm>
#include <array>

#include "core/DTDovetailSync.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "wire/Commands.h"
#include "wire/Messages.h"

using platform::ByteView;
using platform::Data;
using platform::Object;
using platform::URL;

namespace {

// A record may carry a record that names `handleMessage:` again, and so on.
constexpr int maximumDispatchDepth = 8;

using URLOperation = void (DTDovetailSync::*)(const URL& url);
template <URLOperation operation>
void withURL(DTDovetailSync& extension, const Object& argument) {
  if (const auto* url = argument.get<URL>()) (extension.*operation)(*url);
}

using ObjectOperation = void (DTDovetailSync::*)(const Object& argument);
template <ObjectOperation operation>
void withObject(DTDovetailSync& extension, const Object& argument) {
  (extension.*operation)(argument);
}

void handleMessage(DTDovetailSync& extension, const Object& argument) {
  if (const auto* bytes = argument.get<Data>()) extension.handleMessage(*bytes);
}

void iconForFileType(DTDovetailSync& extension, const Object& argument) {
  if (const auto* type = argument.get<std::string>()) extension.iconForFileType(*type);
}

void sendMessage(DTDovetailSync& extension, const Object& argument) {
  const auto message = argument.instance<DTMessage>();
  if (!message) return;
  DTMessage copy = *message;
  extension.sendMessage(copy);
}

void setTargetUrls(DTDovetailSync& extension, const Object& argument) {
  if (argument.isNil()) extension.setTargetUrls(std::nullopt);
  const auto* elements = argument.get<platform::Array>();
  if (!elements) return;
  std::vector<URL> urls;
  for (const Object& element : *elements) {
    const auto* url = element.get<URL>();
    if (!url) return;
    urls.push_back(*url);
  }
  extension.setTargetUrls(std::move(urls));
}

void updateApplicationRunning(DTDovetailSync& extension, const Object&) { extension.updateApplicationRunning(); }

}  // namespace

struct DispatchTable {
  struct Row {
    std::string_view selector;
    void (*call)(DTDovetailSync& extension, const Object& argument);
  };

  // The setters of fields whose kinds no record can carry (a cache, a live container) take nil alone.
  static void setArchiveMenus(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.archiveMenus_.removeAllObjects();
  }
  static void setArchives(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.archives_.removeAllObjects();
  }
  static void setObservedFiles(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.observedFiles_.clear();
  }
  static void setPortMonitor(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.portMonitor_ = nullptr;
  }
  static void setPortName(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.portName_ = std::nullopt;
    if (const auto* name = argument.get<std::string>()) extension.portName_ = *name;
  }
  static void setSenderObjects(DTDovetailSync& extension, const Object& argument) {
    if (argument.isNil()) extension.senderObjects_.clear();
  }

  static const Row* find(std::string_view selector);
};

namespace {

// All but the commands, sorted by selector.
constexpr DispatchTable::Row table[] = {
    {"beginObservingDirectoryAtURL:", withURL<&DTDovetailSync::beginObservingDirectoryAtURL>},
    {"endObservingDirectoryAtURL:", withURL<&DTDovetailSync::endObservingDirectoryAtURL>},
    {"handleMessage:", handleMessage},
    {"iconForFileType:", iconForFileType},
    {wire::Selector::openArchive, withObject<&DTDovetailSync::openArchivePortName>},
    {wire::Selector::pingPortName, withObject<&DTDovetailSync::pingPortName>},
    {"requestBadgeIdentifierForURL:", withURL<&DTDovetailSync::requestBadgeIdentifierForURL>},
    {"sendMessage:", sendMessage},
    {wire::Selector::setArchive, withObject<&DTDovetailSync::setArchive>},
    {"setArchiveMenus:", DispatchTable::setArchiveMenus},
    {"setArchives:", DispatchTable::setArchives},
    {"setObservedFiles:", DispatchTable::setObservedFiles},
    {"setPortMonitor:", DispatchTable::setPortMonitor},
    {"setPortName:", DispatchTable::setPortName},
    {"setSenderObjects:", DispatchTable::setSenderObjects},
    {"setTargetUrls:", setTargetUrls},
    {wire::Selector::showError, withObject<&DTDovetailSync::showError>},
    {"updateApplicationRunning:", updateApplicationRunning},
};
static_assert(std::ranges::is_sorted(table, {}, &DispatchTable::Row::selector));

}  // namespace

const DispatchTable::Row* DispatchTable::find(std::string_view selector) {
  const auto* row = std::ranges::lower_bound(table, selector, {}, &Row::selector);
  return row != std::end(table) && row->selector == selector ? row : nullptr;
}

void DTDovetailSync::handleMessage(ByteView bytes) {
  if (dispatchDepth_ == maximumDispatchDepth) {
    log("handleMessage:", "a record inside records is ignored");
    return;
  }
  const Object root = platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses());
  if (root.isNil()) {
    reportReceiveFailure(2, "There was an error unarchiving received message.");
    return;
  }
  const auto message = root.instance<DTMessage>();
  if (!message || !message->selector()) return;
  ++dispatchDepth_;
  call(*message->selector(), message->argument());
  --dispatchDepth_;
}

void DTDovetailSync::call(std::string_view selector, const Object& argument) {
  if (const auto* row = DispatchTable::find(selector)) return row->call(*this, argument);
  // A record cannot carry a menu item, but it may leave it out.
  const auto* command = wire::commandWithSelector(selector);
  if (command && argument.isNil()) perform(*command, nullptr);
}

void DTDovetailSync::pingPortName(const Object&) {}

void DTDovetailSync::showError(const Object&) {}

void DTDovetailSync::openArchivePortName(const Object&) {}
