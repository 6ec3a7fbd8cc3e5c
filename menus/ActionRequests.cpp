// What happens when the user chooses an item: one message to the host, whose selector is the action's own name.
#include "archive/EntryPathMap.h"
#include "core/DTDovetailSync.h"
#include "folders/URLFacts.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;
using platform::MenuItem;
using platform::Object;
using platform::URL;

namespace {

Object tagOf(const MenuItem* sender) { return Integer::ofSigned(sender ? sender->tag : 0); }

Object arrayOf(const std::optional<std::vector<URL>>& urls) { return urls ? Object(Array(urls->begin(), urls->end())) : Object(); }

}  // namespace

void DTDovetailSync::delete_(const MenuItem* sender) { sendOption("delete:", arrayOf(targetUrls_), tagOf(sender)); }

void DTDovetailSync::compress(const MenuItem* sender) { sendOption("compress:", arrayOf(targetUrls_), tagOf(sender)); }

void DTDovetailSync::showPermissions(const MenuItem* sender) {
  sendOption("showPermissions:", arrayOf(targetUrls_), tagOf(sender));
}

void DTDovetailSync::showChecksum(const MenuItem* sender) {
  Array files;
  for (const URL& url : targetUrls_.value_or(std::vector<URL>())) {
    if (!DTExtension::isDirectory(platform_.fileManager, url)) files.push_back(url);
  }
  sendOption("showChecksum:", std::move(files), tagOf(sender));
}

void DTDovetailSync::expand(const MenuItem* sender) {
  if (!targetUrls_ || targetUrls_->empty()) return sendOption("expand:", Object(), Object());
  const URL& archive = targetUrls_->front();
  const auto identity = DTExtension::identifier(platform_.fileManager, archive);
  const EntryPathMap* const map = identity ? entryPathMap(*identity) : nullptr;
  const auto path = map ? map->indexPathForNumber(Integer::ofSigned(sender ? sender->tag : 0)) : std::nullopt;
  sendOption("expand:", archive, path ? Object(*path) : Object());
}

void DTDovetailSync::rename(const MenuItem*) { sendTargets("rename:"); }

void DTDovetailSync::showAcl(const MenuItem*) { sendTargets("showAcl:"); }

void DTDovetailSync::showSizeBrowser(const MenuItem*) { sendTargets("showSizeBrowser:"); }

// A request that lacks either half is not sent: the host could do nothing right with it.
void DTDovetailSync::sendOption(std::string_view selector, Object subject, Object choice) {
  if (subject.isNil() || choice.isNil()) {
    log(selector, "nothing to act on");
    return;
  }
  Dictionary option;
  option.add("1", std::move(subject));
  option.add("2", std::move(choice));
  DTMessage message{std::string(selector), std::move(option)};
  sendMessage(message);
}

void DTDovetailSync::sendTargets(std::string_view selector) {
  DTMessage message{std::string(selector), arrayOf(targetUrls_)};
  sendMessage(message);
}
