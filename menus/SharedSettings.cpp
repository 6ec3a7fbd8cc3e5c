#include "menus/SharedSettings.h"

#include "core/ApplicationGroup.h"
#include "core/DTDovetailSync.h"
#include "wire/Settings.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;

namespace {

Array arrayOf(std::span<const DTMenuItemTag> tags) {
  Array array;
  for (const DTMenuItemTag tag : tags) array.push_back(Integer::ofSigned(tag));
  return array;
}

Dictionary registeredDefaults() {
  Dictionary defaults;
  defaults.add(wire::SettingsKey::menuBarIconShown, true);
  defaults.add(wire::SettingsKey::archiveIconsShown, true);
  defaults.add(wire::contextualMenu.itemLists, DTExtension::defaultFinderMenuItems());
  defaults.add(wire::toolbarMenu.itemLists, DTExtension::defaultFinderMenuItems());
  return defaults;
}

}  // namespace

const Dictionary& DTExtension::defaultFinderMenuItems() {
  static const Dictionary items = [] {
    Dictionary lists;
    for (const wire::ItemList& list : {wire::rootItems, wire::moreItems, wire::otherItems})
      lists.add(list.key, arrayOf(list.defaults));
    return lists;
  }();
  return items;
}

std::optional<std::string_view> DTExtension::titleForMenuItemTag(Integer tag, platform::Log& log) {
  if (const wire::Command* command = wire::commandWithTag(tag.signedValue())) return command->title;
  log.line("Should not get here!!!");
  return std::nullopt;
}

platform::UserDefaults* DTDovetailSync::sharedApplicationGroupDefaults() const {
  const auto open = [this]() -> std::unique_ptr<platform::UserDefaults> {
    const auto group = copyApplicationGroup(platform_.security);
    auto defaults = group ? platform_.userDefaultsSuites.initWithSuiteName(*group) : nullptr;
    if (defaults) defaults->registerDefaults(registeredDefaults());
    return defaults;
  };
  return onceOnly_.sharedApplicationGroupDefaults.get(open).get();
}
