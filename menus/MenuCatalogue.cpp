// From a command's tag to its finished menu item, or nothing when it does not fit what the menu acts on.
#include <algorithm>
#include <span>

#include "archive/ArchiveMenus.h"
#include "archive/DTTreeNode.h"
#include "archive/EntryPathMap.h"
#include "core/DTDovetailSync.h"
#include "folders/URLFacts.h"
#include "wire/Commands.h"

using platform::Menu;
using platform::MenuItem;
using platform::URL;

namespace {

using Item = std::shared_ptr<const MenuItem>;
using Submenu = std::shared_ptr<const Menu>;

MenuItem item(std::string_view title, std::string_view action, std::int64_t tag, Submenu submenu) {
  return {.title = std::string(title),
          .action = action,
          .tag = tag,
          .isEnabled = true,
          .image = nullptr,
          .submenu = std::move(submenu)};
}

// Null for no choices. A compression's tag joins its flag and the format's code.
Submenu submenu(std::span<const wire::Choice> choices, std::string_view action, std::int64_t code = 0) {
  if (choices.empty()) return nullptr;
  auto menu = std::make_shared<Menu>();
  for (const wire::Choice& choice : choices) {
    const Submenu below = choice.hasCompressions ? submenu(wire::compressions, action, choice.tag) : nullptr;
    menu->items.push_back(item(choice.title, action, choice.tag | code, below));
  }
  return menu;
}

bool isOffered(wire::Offer offer, std::span<const URL> targets, platform::FileManager& files) {
  const auto isFolder = [&](const URL& url) { return DTExtension::isDirectory(files, url); };
  switch (offer) {
    case wire::Offer::always: return true;
    case wire::Offer::severalTargets: return targets.size() > 1;
    case wire::Offer::severalTargetsOrFolder: return targets.size() > 1 || (targets.size() == 1 && isFolder(targets[0]));
    case wire::Offer::someFile: return !std::ranges::all_of(targets, isFolder);
    case wire::Offer::knownArchive: return targets.size() == 1;
  }
  return false;
}

}  // namespace

Item DTDovetailSync::menuItemWithTag(std::int64_t tag) {
  const wire::Command* command = wire::commandWithTag(tag);
  const auto targets = targetUrls_ ? std::span<const URL>(*targetUrls_) : std::span<const URL>();
  if (!command || !isOffered(command->offer, targets, platform_.fileManager)) return nullptr;
  if (command->offer == wire::Offer::knownArchive) return itemOfArchive(*command);
  return std::make_shared<const MenuItem>(
      item(command->title, command->selector, command->ownTag, submenu(command->choices, command->selector)));
}

// Nothing as long as the target's table of contents has not come.
Item DTDovetailSync::itemOfArchive(const wire::Command& command) {
  const auto identity = DTExtension::identifier(platform_.fileManager, targetUrls_->front());
  if (!identity) return nullptr;
  if (const auto* cached = archiveMenus_.objectForKey(*identity)) return *cached;
  const Archive* archive = archives_.objectForKey(*identity);
  if (!archive || !*archive) return nullptr;

  const DTArchiveEntry* entry = (*archive)->representedObject();
  auto expand = std::make_shared<MenuItem>();
  expand->title = entry ? entry->name().value_or("") : "";
  expand->action = command.selector;
  expand->image = iconForFileType(pathExtension(expand->title));
  senderObjects_[std::string(command.selector)][*identity] = std::make_shared<EntryPathMap>(*archive);
  populateMenuItem(*expand, **archive, *identity);
  archiveMenus_.setObject(expand, *identity);
  return expand;
}
