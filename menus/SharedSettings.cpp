#include "menus/SharedSettings.h"

#include <initializer_list>

#include "core/ApplicationGroup.h"
#include "core/DTDovetailSync.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;
using platform::Object;

namespace {

constexpr std::string_view titles[] = {
    "Permissions…", "Combined Permissions…", "Access Control List…",
    "Rename…",      "Size Browser…",         "Checksum…",
    "Delete…",      "Secure Delete…",        "Compress",
    "Expand",
};

Array tags(std::initializer_list<std::int64_t> values) {
  Array array;
  for (const std::int64_t value : values) array.push_back(Integer::ofSigned(value));
  return array;
}

Dictionary registeredDefaults() {
  Dictionary defaults;
  defaults.add("DTMenuBarIconShown", true);
  defaults.add("DTArchiveIconsShown ", true);
  defaults.add("DTContextualMenuItems", DTExtension::defaultFinderMenuItems());
  defaults.add("DTToolbarItemMenuItems", DTExtension::defaultFinderMenuItems());
  return defaults;
}

}  // namespace

const Dictionary& DTExtension::defaultFinderMenuItems() {
  static const Dictionary items = [] {
    Dictionary lists;
    lists.add("DTRootMenuItems", tags({7, 8, 9, 10, 4, 5, 1, 3}));
    lists.add("DTMoreMenuItems", tags({2, 6}));
    lists.add("DTOtherMenuItems", tags({}));
    return lists;
  }();
  return items;
}

std::optional<std::string_view> DTExtension::titleForMenuItemTag(Integer tag, platform::Log& log) {
  const std::int64_t number = tag.signedValue();
  if (number >= 1 && number <= static_cast<std::int64_t>(std::size(titles))) return titles[number - 1];
  log.line("Should not get here!!!");
  return std::nullopt;
}

platform::UserDefaults* DTDovetailSync::sharedApplicationGroupDefaults() const {
  const auto open = [this]() -> std::unique_ptr<platform::UserDefaults> {
    const auto group = copyApplicationGroup(platform_.security).identifier;
    auto defaults = group ? platform_.userDefaultsSuites.initWithSuiteName(*group) : nullptr;
    if (defaults) defaults->registerDefaults(registeredDefaults());
    return defaults;
  };
  return onceOnly_.sharedApplicationGroupDefaults.get(open).get();
}
