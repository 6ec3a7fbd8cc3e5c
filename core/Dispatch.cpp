// From the name in a record to the operation of that name: every public operation with one object argument. A name that is
// not in the table is ignored, an argument of a wrong kind too.
#include <algorithm>
#include <array>

#include "core/DTDovetailSync.h"
#include "platform/codec/KeyedUnarchiver.h"

using platform::ByteView;
using platform::Data;
using platform::MenuItem;
using platform::Object;
using platform::URL;

namespace {

// A record may carry a record that names `handleMessage:` again, and so on.
constexpr int maximumDispatchDepth = 8;

// What a record cannot carry (a menu item, a cache, a live container) may still be left out of it.
using ItemAction = void (DTDovetailSync::*)(const MenuItem* sender);
template <ItemAction action>
void withoutSender(DTDovetailSync& extension, const Object& argument) {
  if (argument.isNil()) (extension.*action)(nullptr);
}

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

struct Action {
  std::string_view selector;
  ItemAction action;
};

constexpr Action actions[] = {
    {"compress:", &DTDovetailSync::compress},
    {"delete:", &DTDovetailSync::delete_},
    {"expand:", &DTDovetailSync::expand},
    {"rename:", &DTDovetailSync::rename},
    {"showAcl:", &DTDovetailSync::showAcl},
    {"showChecksum:", &DTDovetailSync::showChecksum},
    {"showPermissions:", &DTDovetailSync::showPermissions},
    {"showSizeBrowser:", &DTDovetailSync::showSizeBrowser},
};

}  // namespace

struct DispatchTable {
  struct Row {
    std::string_view selector;
    void (*call)(DTDovetailSync& extension, const Object& argument);
  };

  // The setters of fields whose kinds no record can carry take nil alone.
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

// Sorted by selector.
constexpr DispatchTable::Row table[] = {
    {"beginObservingDirectoryAtURL:", withURL<&DTDovetailSync::beginObservingDirectoryAtURL>},
    {"compress:", withoutSender<&DTDovetailSync::compress>},
    {"delete:", withoutSender<&DTDovetailSync::delete_>},
    {"endObservingDirectoryAtURL:", withURL<&DTDovetailSync::endObservingDirectoryAtURL>},
    {"expand:", withoutSender<&DTDovetailSync::expand>},
    {"handleMessage:", handleMessage},
    {"iconForFileType:", iconForFileType},
    {"openArchive:portName:", withObject<&DTDovetailSync::openArchivePortName>},
    {"pingPortName:", withObject<&DTDovetailSync::pingPortName>},
    {"rename:", withoutSender<&DTDovetailSync::rename>},
    {"requestBadgeIdentifierForURL:", withURL<&DTDovetailSync::requestBadgeIdentifierForURL>},
    {"sendMessage:", sendMessage},
    {"setArchive:", withObject<&DTDovetailSync::setArchive>},
    {"setArchiveMenus:", DispatchTable::setArchiveMenus},
    {"setArchives:", DispatchTable::setArchives},
    {"setObservedFiles:", DispatchTable::setObservedFiles},
    {"setPortMonitor:", DispatchTable::setPortMonitor},
    {"setPortName:", DispatchTable::setPortName},
    {"setSenderObjects:", DispatchTable::setSenderObjects},
    {"setTargetUrls:", setTargetUrls},
    {"showAcl:", withoutSender<&DTDovetailSync::showAcl>},
    {"showChecksum:", withoutSender<&DTDovetailSync::showChecksum>},
    {"showError:", withObject<&DTDovetailSync::showError>},
    {"showPermissions:", withoutSender<&DTDovetailSync::showPermissions>},
    {"showSizeBrowser:", withoutSender<&DTDovetailSync::showSizeBrowser>},
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
  const DispatchTable::Row* row = DispatchTable::find(*message->selector());
  if (!row) return;
  ++dispatchDepth_;
  row->call(*this, message->argument());
  --dispatchDepth_;
}

void DTDovetailSync::pingPortName(const Object&) {}

void DTDovetailSync::showError(const Object&) {}

void DTDovetailSync::openArchivePortName(const Object&) {}

void DTDovetailSync::sendAction(const MenuItem& sender) {
  const auto* action = std::ranges::find(actions, sender.action, &Action::selector);
  if (action != std::end(actions)) (this->*action->action)(&sender);
}
