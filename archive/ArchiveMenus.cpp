#include "archive/ArchiveMenus.h"

#include "archive/ArchivedClasses.h"
#include "archive/DTTreeNode.h"
#include "archive/EntryPathMap.h"
#include "core/DTDovetailSync.h"
#include "wire/Commands.h"
#include "wire/Messages.h"
#include "wire/Settings.h"

using platform::FileIdentity;
using platform::Menu;
using platform::MenuItem;
using platform::Object;

std::string_view pathExtension(std::string_view name) {
  const std::size_t dot = name.find_last_of("./");
  return dot == std::string_view::npos || name[dot] == '/' ? std::string_view() : name.substr(dot + 1);
}

platform::ClassTable DTDovetailSync::archivedClasses() { return ::archivedClasses(); }

void DTDovetailSync::setArchive(const Object& argument) {
  const auto* option = argument.get<platform::Dictionary>();
  const Object* tree = option ? option->objectForKey(wire::Option::subject) : nullptr;
  const Object* file = option ? option->objectForKey(wire::Option::choice) : nullptr;
  const auto* bytes = file ? file->get<platform::Data>() : nullptr;
  const auto root = tree ? tree->instance<DTTreeNode>() : nullptr;
  const auto identity = bytes ? FileIdentity::withBytes(*bytes) : std::nullopt;
  if (!root || !identity) return;
  archiveMenus_.removeObjectForKey(*identity);
  archives_.setObject(root, *identity);
}

EntryPathMap* DTDovetailSync::entryPathMap(const FileIdentity& identity) const {
  const auto maps = senderObjects_.find(wire::expandAction);
  if (maps == senderObjects_.end()) return nullptr;
  const auto map = maps->second.find(identity);
  return map == maps->second.end() ? nullptr : map->second.get();
}

void DTDovetailSync::populateMenuItem(MenuItem& item, const DTTreeNode& node, const FileIdentity& identity) {
  if (node.childNodes().empty()) return;
  EntryPathMap* const map = entryPathMap(identity);
  const auto* defaults = sharedApplicationGroupDefaults();
  auto menu = std::make_shared<Menu>();
  menu->items.reserve(node.childNodes().size());
  for (const DTTreeNode& child : node.childNodes()) {
    static const DTArchiveEntry nothing;
    const DTArchiveEntry& entry = child.representedObject() ? *child.representedObject() : nothing;
    MenuItem& childItem = menu->items.emplace_back();
    childItem.title = entry.name().value_or("");
    childItem.action = wire::expandAction;
    childItem.tag = static_cast<std::int64_t>(entry.index());
    if (defaults && defaults->boolForKey(wire::SettingsKey::archiveIconsShown)) {
      childItem.image = iconForFileType(entry.isFolder() ? platform::ImageNameFolder : pathExtension(childItem.title));
    }
    if (map) map->set(entry.index(), child);
    populateMenuItem(childItem, child, identity);
  }
  item.submenu = std::move(menu);
}
