// The menus that the browser asks for: the user's commands in the user's order, "More" last.
#include "core/DTDovetailSync.h"
#include "wire/Commands.h"
#include "wire/Settings.h"

using platform::Dictionary;
using platform::ImageRef;
using platform::Menu;
using platform::MenuItem;
using platform::MenuKind;
using platform::Object;

namespace {

constexpr platform::Size iconSize{16, 16};

const wire::MenuSettings* settingsForKind(MenuKind kind) {
  switch (kind) {
    case MenuKind::contextualMenuForItems:
    case MenuKind::contextualMenuForContainer: return &wire::contextualMenu;
    case MenuKind::toolbarItemMenu: return &wire::toolbarMenu;
    default: return nullptr;
  }
}

Menu hostAbsentMenu() {
  Menu menu;
  menu.items.emplace_back().title = "Dovetail is not running";
  menu.items.back().isEnabled = false;
  return menu;
}

ImageRef makeMenuIcon(platform::Workspace& workspace) {
  return platform::reducedImage(workspace.imageNamed(platform::ImageNameApplicationIcon), iconSize);
}

std::optional<std::int64_t> integerValue(const Object& object) {
  if (const auto* integer = object.get<platform::Integer>()) return integer->signedValue();
  if (const auto* flag = object.get<bool>()) return *flag;
  const auto* real = object.get<double>();
  if (real && *real > -1e15 && *real < 1e15) return static_cast<std::int64_t>(*real);
  return std::nullopt;
}

}  // namespace

std::optional<Menu> DTDovetailSync::menuForMenuKind(MenuKind kind) {
  if (applicationPid_ < 0) {
    return kind == MenuKind::toolbarItemMenu ? std::optional<Menu>(hostAbsentMenu()) : std::nullopt;
  }
  const auto* settings = settingsForKind(kind);
  if (!settings || !recordTargets()) return std::nullopt;
  const ImageRef& menuIcon = onceOnly_.menuIcon.get([this] { return makeMenuIcon(platform_.workspace); });
  const auto* defaults = sharedApplicationGroupDefaults();
  const Dictionary* itemLists = defaults ? defaults->dictionaryForKey(settings->itemLists) : nullptr;
  Menu menu;
  if (!itemLists) return menu;
  const ImageRef topLevelIcon = defaults->boolForKey(settings->iconShown) ? menuIcon : nullptr;

  menu.items = itemsForTags(*itemLists, wire::rootItems.key);
  for (MenuItem& item : menu.items) {
    // The archive's item keeps the icon of its file type.
    if (topLevelIcon && item.action != wire::expandAction) item.image = topLevelIcon;
  }
  auto more = std::make_shared<Menu>();
  more->items = itemsForTags(*itemLists, wire::moreItems.key);
  if (!more->items.empty()) {
    menu.items.emplace_back().title = "More";
    menu.items.back().image = topLevelIcon;
    menu.items.back().submenu = std::move(more);
  }
  return menu;
}

// The selection, else the folder that the user acted in. False when there is neither.
bool DTDovetailSync::recordTargets() {
  targetUrls_ = platform_.finderSyncController.selectedItemURLs();
  if (targetUrls_->empty()) {
    if (auto folder = platform_.finderSyncController.targetedURL()) targetUrls_->push_back(*std::move(folder));
  }
  return !targetUrls_->empty();
}

// In the list's order. What is no known tag, and what does not fit the targets, is left out.
std::vector<MenuItem> DTDovetailSync::itemsForTags(const Dictionary& itemLists, std::string_view list) {
  std::vector<MenuItem> items;
  const Object* value = itemLists.objectForKey(list);
  const auto* tags = value ? value->get<platform::Array>() : nullptr;
  if (!tags) return items;
  for (const Object& number : *tags) {
    const auto tag = integerValue(number);
    const auto item = tag ? menuItemWithTag(*tag) : nullptr;
    if (item) items.push_back(*item);
  }
  return items;
}
