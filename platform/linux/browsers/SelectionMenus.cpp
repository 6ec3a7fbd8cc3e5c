#include "platform/linux/browsers/SelectionMenus.h"

#include <algorithm>

namespace platform::native {

BoundMenuRef SelectionMenus::menuForItems(std::vector<URL> selection) {
  if (!selection.empty()) return give({MenuKind::contextualMenuForItems, std::move(selection), std::nullopt});
  given_[0].reset();
  return nullptr;
}

BoundMenuRef SelectionMenus::menuForFolder(URL folder) {
  return give({MenuKind::contextualMenuForContainer, {}, std::move(folder)});
}

BoundMenuRef SelectionMenus::menuForToolbar(std::vector<URL> selection, std::optional<URL> folder) {
  return build({MenuKind::toolbarItemMenu, std::move(selection), std::move(folder)});
}

void SelectionMenus::choose(const BoundMenu& menu, const PlannedItem& item) {
  if (item.items || !item.isEnabled) return;
  extension_.setTargetUrls(menu.targets);
  browser_.itemChosen(item.choice);
}

bool SelectionMenus::isOutdated() const {
  return std::ranges::any_of(given_, [this](const auto& given) { return given && isOutdated(*given); });
}

bool SelectionMenus::dropOutdated() {
  bool wasOutdated = false;
  for (auto& given : given_) {
    if (!given || !isOutdated(*given)) continue;
    given.reset();
    wasOutdated = true;
  }
  return wasOutdated;
}

BoundMenuRef SelectionMenus::give(Request request) {
  auto& given = given_[static_cast<std::size_t>(request.kind)];
  const Facts facts = factsOf(fileOf(request));
  if (given && given->facts == facts && isSame(given->request, request)) return given->menu;
  BoundMenuRef menu = build(request);
  given = Given{std::move(request), facts, std::move(menu)};
  return given->menu;
}

// The extension records what the menu acts on while it builds it.
BoundMenuRef SelectionMenus::build(const Request& request) {
  browser_.setSelectedItemURLs(request.selection);
  browser_.setTargetedURL(request.folder);
  const auto menu = browser_.menuForMenuKind(request.kind);
  if (!menu || menu->items.empty()) return nullptr;
  const std::string name = "DTDovetailSync" + std::to_string(static_cast<int>(request.kind));
  return std::make_shared<BoundMenu>(BoundMenu{planner_.itemsOf(*menu, name), extension_.targetUrls()});
}

SelectionMenus::Facts SelectionMenus::factsOf(std::optional<FileIdentity> file) const {
  const auto* archive = file ? extension_.archives().objectForKey(*file) : nullptr;
  return {extension_.applicationPid(), age_, file, archive ? *archive : nullptr};
}

std::optional<FileIdentity> SelectionMenus::fileOf(const Request& request) {
  const bool isAnyWatched = !browser_.directoryURLs().empty();
  return isAnyWatched && request.selection.size() == 1 ? files_.fileResourceIdentifier(request.selection.front()) : std::nullopt;
}

bool SelectionMenus::isSame(const Request& a, const Request& b) {
  const auto isSameText = [](const URL& one, const URL& other) { return one.isSameText(other); };
  if (a.folder.has_value() != b.folder.has_value() || (a.folder && !a.folder->isSameText(*b.folder))) return false;
  return std::ranges::equal(a.selection, b.selection, isSameText);
}

}  // namespace platform::native
