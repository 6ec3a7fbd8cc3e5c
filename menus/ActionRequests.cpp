// What happens when the user chooses an item: one message to the host, whose selector is the action's own name.
#include "archive/EntryPathMap.h"
#include "core/DTDovetailSync.h"
#include "folders/URLFacts.h"
#include "wire/Commands.h"
#include "wire/Messages.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;
using platform::MenuItem;
using platform::Object;
using platform::URL;

namespace {

Object arrayOf(const std::optional<std::vector<URL>>& urls) { return urls ? Object(Array(urls->begin(), urls->end())) : Object(); }

const wire::Command& command(DTMenuItemTag tag) { return *wire::commandWithTag(tag); }

}  // namespace

void DTDovetailSync::sendAction(const MenuItem& sender) {
  if (const auto* command = wire::commandWithSelector(sender.action)) perform(*command, &sender);
}

void DTDovetailSync::delete_(const MenuItem* sender) { perform(command(DTMenuItemDelete), sender); }

void DTDovetailSync::compress(const MenuItem* sender) { perform(command(DTMenuItemCompress), sender); }

void DTDovetailSync::expand(const MenuItem* sender) { perform(command(DTMenuItemExpand), sender); }

void DTDovetailSync::rename(const MenuItem* sender) { perform(command(DTMenuItemRename), sender); }

void DTDovetailSync::showPermissions(const MenuItem* sender) { perform(command(DTMenuItemPermissions), sender); }

void DTDovetailSync::showAcl(const MenuItem* sender) { perform(command(DTMenuItemAccessControlList), sender); }

void DTDovetailSync::showSizeBrowser(const MenuItem* sender) { perform(command(DTMenuItemSizeBrowser), sender); }

void DTDovetailSync::showChecksum(const MenuItem* sender) { perform(command(DTMenuItemChecksum), sender); }

void DTDovetailSync::perform(const wire::Command& command, const MenuItem* sender) {
  const Integer tag = Integer::ofSigned(sender ? sender->tag : 0);
  switch (command.request) {
    case wire::Request::targets: return sendTargets(command.selector);
    case wire::Request::targetsAndTag: return sendOption(command.selector, arrayOf(targetUrls_), tag);
    case wire::Request::filesAndTag: return sendOption(command.selector, filesAmongTargets(), tag);
    case wire::Request::archiveAndEntry: return sendEntry(command.selector, tag);
  }
}

Object DTDovetailSync::filesAmongTargets() const {
  Array files;
  for (const URL& url : targetUrls_.value_or(std::vector<URL>())) {
    if (!DTExtension::isDirectory(platform_.fileManager, url)) files.push_back(url);
  }
  return files;
}

void DTDovetailSync::sendEntry(std::string_view selector, Integer number) {
  if (!targetUrls_ || targetUrls_->empty()) return sendOption(selector, Object(), Object());
  const URL& archive = targetUrls_->front();
  const auto identity = DTExtension::identifier(platform_.fileManager, archive);
  const EntryPathMap* const map = identity ? entryPathMap(*identity) : nullptr;
  const auto path = map ? map->indexPathForNumber(number) : std::nullopt;
  sendOption(selector, archive, path ? Object(*path) : Object());
}

// A request that lacks either half is not sent: the host could do nothing right with it.
void DTDovetailSync::sendOption(std::string_view selector, Object subject, Object choice) {
  if (subject.isNil() || choice.isNil()) {
    log(selector, "nothing to act on");
    return;
  }
  Dictionary option;
  option.add(wire::Option::subject, std::move(subject));
  option.add(wire::Option::choice, std::move(choice));
  DTMessage message(selector, std::move(option));
  sendMessage(message);
}

void DTDovetailSync::sendTargets(std::string_view selector) {
  DTMessage message(selector, arrayOf(targetUrls_));
  sendMessage(message);
}
