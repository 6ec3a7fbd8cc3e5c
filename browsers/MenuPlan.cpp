#include "browsers/MenuPlan.h"

#include <algorithm>
#include <deque>
#include <unordered_map>

#include "browsers/IconFiles.h"
#include "browsers/MenuText.h"
#include "wire/Commands.h"

namespace browsers {
namespace {

// Toolkits make paths of names.
std::string step(const MenuItem& item) {
  if (item.action.empty()) return "menu";
  return std::string(item.action.substr(0, item.action.find(':'))) + std::to_string(item.tag);
}

// Siblings that do the same are told apart by their order.
class Names {
 public:
  explicit Names(const std::string& parent) : parent_(parent) {}
  std::string of(const MenuItem& item) {
    std::string name = parent_ + "." + step(item);
    const std::size_t earlier = seen_[name]++;
    return earlier == 0 ? name : name + "~" + std::to_string(earlier);
  }

 private:
  const std::string& parent_;
  std::unordered_map<std::string, std::size_t> seen_;
};

PlannedItem restOf(const MenuItem& folder, const std::string& name, std::size_t count) {
  PlannedItem rest;
  rest.name = name + ".rest";
  rest.label = std::to_string(count) + " more\u2026";
  rest.choice = {
      .title = rest.label, .action = folder.action, .tag = folder.tag, .isEnabled = true, .image = nullptr, .submenu = nullptr};
  return rest;
}

}  // namespace

PlannedItems MenuPlanner::itemsOf(const Menu& menu, const std::string& name) {
  forgetDroppedArchives();
  opened_.clear();
  return itemsBelow(menu, name, newName(name));
}

// A toolkit that knows a name keeps the place of its item, whatever the order is now.
std::string MenuPlanner::newName(const std::string& name) { return name + "-" + std::to_string(++names_); }

PlannedItems MenuPlanner::itemsBelow(const Menu& menu, const std::string& menuName, const std::string& name) {
  Names names(name);
  PlannedItems items;
  items.reserve(menu.items.size());
  for (const MenuItem& source : menu.items) {
    items.push_back(item(source, names.of(source)));
    plan(items.back(), source, menuName);
  }
  return items;
}

void MenuPlanner::plan(PlannedItem& planned, const MenuItem& source, const std::string& menuName) {
  if (!source.submenu) return;
  if (source.action == wire::expandAction) return open(planned, archiveContents(source, menuName));
  open(planned, std::make_shared<PlannedItems>(itemsBelow(*source.submenu, menuName, planned.name)));
}

PlannedItem MenuPlanner::item(const MenuItem& source, std::string name) {
  PlannedItem planned;
  planned.name = std::move(name);
  planned.label = menuLabel(source.title);
  if (icons_) planned.icon = icons_->fileOf(source.image);
  planned.isEnabled = source.isEnabled;
  planned.choice = {.title = source.title,
                    .action = source.action,
                    .tag = source.tag,
                    .isEnabled = source.isEnabled,
                    .image = nullptr,
                    .submenu = nullptr};
  return planned;
}

void MenuPlanner::open(PlannedItem& planned, std::shared_ptr<const PlannedItems> items) {
  planned.items = std::move(items);
  if (style_.areSubmenuLabelsDistinct) planned.label += invisibleNumber(submenus_++);
}

// An archive may stand twice in one menu.
std::shared_ptr<const PlannedItems> MenuPlanner::archiveContents(const MenuItem& archive, const std::string& menuName) {
  const Menu* const contents = archive.submenu.get();
  PlannedContents& planned = archives_[{contents, menuName, opened_[contents]++}];
  if (!planned.items) planned = {archive.submenu, planContents(archive, newName(menuName))};
  return planned.items;
}

void MenuPlanner::forgetDroppedArchives() {
  std::erase_if(archives_, [](const auto& archive) { return archive.second.contents.expired(); });
}

// Level by level, so that what lies nearest is there first.
std::shared_ptr<const PlannedItems> MenuPlanner::planContents(const MenuItem& archive, const std::string& name) {
  struct Folder {
    const MenuItem* source;
    PlannedItem* planned;
  };
  std::deque<Folder> waiting;
  const auto wait = [&waiting](const MenuItem& parent, PlannedItems& items) {
    for (std::size_t i = 0; i < std::min(items.size(), parent.submenu->items.size()); ++i) {
      const MenuItem& source = parent.submenu->items[i];
      if (source.submenu && items[i].choice.tag == source.tag) waiting.push_back({&source, &items[i]});
    }
  };
  std::size_t room = style_.archiveItems;
  const auto contents = contentsInRoom(archive, name, room);
  if (contents) wait(archive, *contents);
  for (; !waiting.empty(); waiting.pop_front()) {
    const auto [source, planned] = waiting.front();
    const auto items = contentsInRoom(*source, planned->name, room);
    if (!items) continue;
    wait(*source, *items);
    open(*planned, items);
  }
  return contents;
}

// Null when there is no room for as much as one entry and the word of the rest.
std::shared_ptr<PlannedItems> MenuPlanner::contentsInRoom(const MenuItem& folder, const std::string& name, std::size_t& room) {
  const std::size_t all = folder.submenu->items.size();
  if (all > room && room < 2) return nullptr;
  const auto items = level(folder, name, all > room ? room - 1 : all);
  if (items->size() < all) items->push_back(restOf(folder, name, all - items->size()));
  room -= items->size();
  return items;
}

std::shared_ptr<PlannedItems> MenuPlanner::level(const MenuItem& folder, const std::string& name, std::size_t count) {
  Names names(name);
  auto items = std::make_shared<PlannedItems>();
  items->reserve(count + 1);
  for (std::size_t i = 0; i < count; ++i) {
    const MenuItem& source = folder.submenu->items[i];
    items->push_back(item(source, names.of(source)));
  }
  return items;
}

}  // namespace browsers
