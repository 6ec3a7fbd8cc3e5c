// A menu of the extension's made ready for a browser's toolkit: labels that are safe to show, names that a toolkit can tell items
// apart by, icons as files, and of an archive's contents no more than the toolkit can show without delay.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/Menu.h"

namespace browsers {

using platform::Menu;
using platform::MenuItem;

class IconFiles;

struct PlannedItem;
using PlannedItems = std::vector<PlannedItem>;

struct PlannedItem {
  std::string name;   ///< Differs from all others in the menu, and from those of an earlier one. Short, ASCII without "/".
  std::string label;  ///< Mnemonics escaped.
  std::string icon;   ///< A PNG file; empty for none.
  bool isEnabled = true;
  MenuItem choice;                            ///< What is sent when it is chosen: its action and tag alone.
  std::shared_ptr<const PlannedItems> items;  ///< Null for none; an item with some opens them and is not chosen itself.
};

/// What a toolkit bears and wants.
struct MenuStyle {
  /// The items of an archive's contents in one menu. The nearest levels come first, in their order; a folder whose contents have no
  /// room is an item that is chosen itself, and a level that has room for a part only ends with an item that is chosen for the
  /// whole folder.
  std::size_t archiveItems = 200;
  /// The levels of an archive's contents: a folder in the deepest is chosen itself. For each level more, toolkits pay more than for
  /// the one before.
  std::size_t archiveLevels = 16;
};

/// Main thread only.
class MenuPlanner {
 public:
  /// Without `icons` items have none. They outlive the planner.
  MenuPlanner(MenuStyle style, IconFiles* icons) : style_(style), icons_(icons) {}

  /// The names begin with `name`. An archive's contents that were planned before are used again, with their names, as long as the
  /// extension keeps them.
  PlannedItems itemsOf(const Menu& menu, const std::string& name);

 private:
  struct PlannedContents {
    std::weak_ptr<const Menu> contents;
    std::shared_ptr<const PlannedItems> items;
  };

  class Names;

  PlannedItem item(const MenuItem& source, Names& names);
  PlannedItems itemsBelow(const Menu& menu, const std::string& menuName, Names& names);
  void plan(PlannedItem& planned, const MenuItem& source, const std::string& menuName, Names& names);
  std::shared_ptr<const PlannedItems> archiveContents(const MenuItem& archive, const std::string& menuName);
  std::shared_ptr<const PlannedItems> planContents(const MenuItem& archive, const std::string& menuName);
  std::shared_ptr<PlannedItems> contentsInRoom(const MenuItem& folder, Names& names, std::size_t& room);
  std::shared_ptr<PlannedItems> level(const MenuItem& folder, Names& names, std::size_t count);
  void forgetDroppedArchives();

  const MenuStyle style_;
  IconFiles* const icons_;
  std::size_t plans_ = 0;
  std::map<std::tuple<const Menu*, std::string, std::size_t>, PlannedContents> archives_;
  std::map<const Menu*, std::size_t> opened_;  // how often each stands in the menu being planned
};

}  // namespace browsers
