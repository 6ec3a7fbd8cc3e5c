#include "browsers/MenuPlan.h"

#include <algorithm>
#include <deque>
#include <utility>

#include "browsers/IconFiles.h"
#include "browsers/MenuText.h"
#include "wire/Commands.h"

namespace browsers {
namespace {

PlannedItem restOf(const MenuItem& folder, std::string name, std::size_t count) {
  PlannedItem rest;
  rest.name = std::move(name);
  rest.label = std::to_string(count) + " more\u2026";
  rest.choice = {
      .title = rest.label, .action = folder.action, .tag = folder.tag, .isEnabled = true, .image = nullptr, .submenu = nullptr};
  return rest;
}

}  // namespace

// A toolkit that knows a name keeps the place of its item, whatever the order is now, so each plan has names of its own. It makes a path
// of the names on the way to an item, and some keep each name that they ever saw.
class MenuPlanner::Names {
 public:
  Names(const std::string& menu, std::size_t plan) : beginning_(menu + "-" + std::to_string(plan) + ".") {}
  std::string next() { return beginning_ + std::to_string(++items_); }

 private:
  const std::string beginning_;
  std::size_t items_ = 0;
};

PlannedItems MenuPlanner::itemsOf(const Menu& menu, const std::string& name) {
  forgetDroppedArchives();
  opened_.clear();
  Names names(name, ++plans_);
  return itemsBelow(menu, name, names);
}

PlannedItems MenuPlanner::itemsBelow(const Menu& menu, const std::string& menuName, Names& names) {
  PlannedItems items;
  items.reserve(menu.items.size());
  for (const MenuItem& source : menu.items) {
    items.push_back(item(source, names));
    plan(items.back(), source, menuName, names);
  }
  return items;
}

void MenuPlanner::plan(PlannedItem& planned, const MenuItem& source, const std::string& menuName, Names& names) {
  if (!source.submenu) return;
  planned.items = source.action == wire::expandAction
                      ? archiveContents(source, menuName)
                      : std::make_shared<PlannedItems>(itemsBelow(*source.submenu, menuName, names));
}

PlannedItem MenuPlanner::item(const MenuItem& source, Names& names) {
  PlannedItem planned;
  planned.name = names.next();
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

// An archive may stand twice in one menu.
std::shared_ptr<const PlannedItems> MenuPlanner::archiveContents(const MenuItem& archive, const std::string& menuName) {
  const Menu* const contents = archive.submenu.get();
  PlannedContents& planned = archives_[{contents, menuName, opened_[contents]++}];
  if (!planned.items) planned = {archive.submenu, planContents(archive, menuName)};
  return planned.items;
}

void MenuPlanner::forgetDroppedArchives() {
  std::erase_if(archives_, [](const auto& archive) { return archive.second.contents.expired(); });
}

// Level by level, so that what lies nearest is there first.
std::shared_ptr<const PlannedItems> MenuPlanner::planContents(const MenuItem& archive, const std::string& menuName) {
  struct Folder {
    const MenuItem* source;
    PlannedItem* planned;
    std::size_t depth;
  };
  std::deque<Folder> waiting;
  const auto wait = [&](const MenuItem& parent, PlannedItems& items, std::size_t depth) {
    if (depth > style_.archiveLevels) return;
    for (std::size_t i = 0; i < std::min(items.size(), parent.submenu->items.size()); ++i) {
      const MenuItem& source = parent.submenu->items[i];
      if (source.submenu && items[i].choice.tag == source.tag) waiting.push_back({&source, &items[i], depth});
    }
  };
  Names names(menuName, ++plans_);
  std::size_t room = style_.archiveItems;
  const auto contents = contentsInRoom(archive, names, room);
  if (contents) wait(archive, *contents, 2);
  for (; !waiting.empty(); waiting.pop_front()) {
    const auto [source, planned, depth] = waiting.front();
    const auto items = contentsInRoom(*source, names, room);
    if (!items) continue;
    wait(*source, *items, depth + 1);
    planned->items = items;
  }
  return contents;
}

// Null when there is no room for as much as one entry and the word of the rest.
std::shared_ptr<PlannedItems> MenuPlanner::contentsInRoom(const MenuItem& folder, Names& names, std::size_t& room) {
  const std::size_t all = folder.submenu->items.size();
  if (all > room && room < 2) return nullptr;
  auto items = level(folder, names, all > room ? room - 1 : all);
  if (items->size() < all) items->push_back(restOf(folder, names.next(), all - items->size()));
  room -= items->size();
  return items;
}

std::shared_ptr<PlannedItems> MenuPlanner::level(const MenuItem& folder, Names& names, std::size_t count) {
  auto items = std::make_shared<PlannedItems>();
  items->reserve(count + 1);
  for (std::size_t i = 0; i < count; ++i) items->push_back(item(folder.submenu->items[i], names));
  return items;
}

}  // namespace browsers
