#include "browsers/SelectionMenus.h"

#include <algorithm>

namespace browsers {

namespace {

constexpr std::size_t rememberedMenus = 8;  // a selection and a background for each of some windows

}  // namespace

BoundMenuRef SelectionMenus::menuForItems(std::vector<URL> selection) {
  if (selection.empty()) return nullptr;
  return give({MenuKind::contextualMenuForItems, std::move(selection), std::nullopt});
}

BoundMenuRef SelectionMenus::menuForFolder(URL folder) {
  return give({MenuKind::contextualMenuForContainer, {}, std::move(folder)});
}

BoundMenuRef SelectionMenus::menuForToolbar(std::vector<URL> selection, std::optional<URL> folder) {
  return build({MenuKind::toolbarItemMenu, std::move(selection), std::move(folder)});
}

void SelectionMenus::choose(const BoundMenu& menu, const PlannedItem& item) {
  if (item.items || !item.isEnabled) return;
  auto targets = targetsOf(menu);
  if (!targets) return;
  extension_.setTargetUrls(std::move(targets));
  browser_.itemChosen(item.choice);
}

// A folder above may have been renamed since the menu was built. Nothing for a folder that is nowhere to be found.
std::optional<std::vector<URL>> SelectionMenus::targetsOf(const BoundMenu& menu) {
  if (!menu.folder) return menu.targets;
  browser_.setTargetedURL(menu.folder);
  const auto folder = browser_.targetedURL();
  if (!folder->isFileURL() || files_.fileResourceIdentifier(*folder)) return std::vector{*folder};
  return std::nullopt;
}

bool SelectionMenus::isOutdated() const {
  return !isHeld_ && std::ranges::any_of(given_, [this](const Given& given) { return isOutdated(given); });
}

bool SelectionMenus::dropOutdated() {
  return std::erase_if(given_, [this](const Given& given) { return isOutdated(given); }) > 0;
}

BoundMenuRef SelectionMenus::give(Request request) {
  const auto given = std::ranges::find_if(given_, [&](const Given& other) { return isSame(other.request, request); });
  if (given != given_.end() && isHeld_) return given->menu;
  const Facts facts = factsOf(fileOf(request));
  if (given != given_.end() && given->facts == facts) return given->menu;
  if (given != given_.end()) given_.erase(given);
  BoundMenuRef menu = build(request);
  given_.push_front({std::move(request), facts, menu});
  if (given_.size() > rememberedMenus) given_.pop_back();
  return menu;
}

// The extension records what the menu acts on while it builds it.
BoundMenuRef SelectionMenus::build(const Request& request) {
  browser_.setSelectedItemURLs(request.selection);
  browser_.setTargetedURL(request.folder);
  // Not every browser tells of a file that came after its folder was entered, and none of those that a new host has to be asked about.
  if (request.kind == MenuKind::contextualMenuForItems && request.selection.size() == 1)
    browser_.fileShown(request.selection.front());
  const auto menu = browser_.menuForMenuKind(request.kind);
  if (!menu || menu->items.empty()) return nullptr;
  const std::string name = "DTDovetailSync" + std::to_string(static_cast<int>(request.kind));
  return std::make_shared<BoundMenu>(
      BoundMenu{planner_.itemsOf(*menu, name), extension_.targetUrls(), request.selection.empty() ? request.folder : std::nullopt});
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
  if (a.kind != b.kind) return false;
  if (a.folder.has_value() != b.folder.has_value() || (a.folder && !a.folder->isSameText(*b.folder))) return false;
  return std::ranges::equal(a.selection, b.selection, isSameText);
}

}  // namespace browsers
