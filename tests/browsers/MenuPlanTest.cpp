// A menu made ready for a toolkit: names, labels, and the room of an archive's contents.
#include "browsers/MenuPlan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

using browsers::MenuPlanner;
using browsers::PlannedItem;
using browsers::PlannedItems;
using platform::Menu;
using platform::MenuItem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

MenuItem item(std::string title, std::string_view action, std::int64_t tag) {
  MenuItem item;
  item.title = std::move(title);
  item.action = action;
  item.tag = tag;
  return item;
}

MenuItem entry(std::string title, std::int64_t tag) { return item(std::move(title), "expand:", tag); }

MenuItem folder(std::string title, std::int64_t tag, std::vector<MenuItem> entries) {
  MenuItem folder = entry(std::move(title), tag);
  folder.submenu = std::make_shared<Menu>(Menu{std::move(entries)});
  return folder;
}

std::vector<MenuItem> entries(std::size_t count, std::int64_t firstTag) {
  std::vector<MenuItem> entries;
  for (std::size_t i = 0; i < count; ++i) entries.push_back(entry("e", firstTag + static_cast<std::int64_t>(i)));
  return entries;
}

PlannedItems planned(Menu menu, std::size_t room = 500, std::size_t levels = 500) {
  return MenuPlanner({room, levels}, nullptr).itemsOf(menu, "D");
}

MenuItem chain(std::size_t levels) {
  auto tag = static_cast<std::int64_t>(levels);
  MenuItem chain = entry("end", tag);
  while (--tag > 0) chain = folder("f", tag, {chain});
  return folder("a.zip", 0, {chain});
}

std::size_t count(const PlannedItems& items) {
  std::size_t sum = items.size();
  for (const PlannedItem& item : items) sum += item.items ? count(*item.items) : 0;
  return sum;
}

void collect(const PlannedItems& items, std::vector<std::string>& names) {
  for (const PlannedItem& item : items) {
    names.push_back(item.name);
    if (item.items) collect(*item.items, names);
  }
}

std::vector<std::string> labels(const PlannedItems& items) {
  std::vector<std::string> labels;
  for (const PlannedItem& item : items) labels.push_back(item.label);
  return labels;
}

TEST(MenuPlan, itemsKeepTheirOrderTheirActionAndTheirTag) {
  Menu menu{{item("Rename\u2026", "rename:", 0), item("Delete\u2026", "delete:", -203)}};
  menu.items[1].isEnabled = false;
  const PlannedItems items = planned(menu);
  EXPECT_THAT(labels(items), ElementsAre("Rename\u2026", "Delete\u2026"));
  EXPECT_EQ(items[1].choice.action, "delete:");
  EXPECT_EQ(items[1].choice.tag, -203);
  EXPECT_TRUE(items[0].isEnabled);
  EXPECT_FALSE(items[1].isEnabled);
}

TEST(MenuPlan, noTwoItemsOfAMenuHaveOneName) {
  const MenuItem archive = folder("a.zip", 0, {entry("x", 1), entry("x", 1), folder("f", 2, {entry("x", 1), entry("f", 2)})});
  MenuItem more = item("More", "", 0);
  more.submenu = std::make_shared<Menu>(Menu{{item("Rename\u2026", "rename:", 0), archive}});
  const PlannedItems items = planned(Menu{{item("Rename\u2026", "rename:", 0), item("Rename\u2026", "rename:", 0), archive, more}});
  std::vector<std::string> names;
  collect(items, names);
  EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
  EXPECT_EQ(names.size(), 4u + 4u + 2u + 2u + 4u + 2u - 2u);
}

TEST(MenuPlan, aLaterMenuHasOtherNamesSoThatAToolkitKeepsNoEarlierOrder) {
  MenuPlanner planner({}, nullptr);
  const Menu menu{{item("Rename\u2026", "rename:", 0)}};
  EXPECT_NE(planner.itemsOf(menu, "D")[0].name, planner.itemsOf(menu, "D")[0].name);
}

TEST(MenuPlan, anArchiveThatStandsTwiceHasTwoSetsOfNames) {
  const MenuItem archive = folder("a.zip", 0, {entry("x", 1)});
  const PlannedItems items = planned(Menu{{archive, archive}});
  EXPECT_NE(items[0].items->at(0).name, items[1].items->at(0).name);
}

TEST(MenuPlan, aNameIsOnePartOfAPath) {
  for (const PlannedItem& item : planned(Menu{{item("a/b", "rename:", 0), item("/", "", 0)}})) {
    EXPECT_EQ(item.name.find('/'), std::string::npos);
  }
}

TEST(MenuPlan, aSmallArchiveIsThereWhole) {
  const PlannedItems items = planned(Menu{{folder("a.zip", 0, {entry("x", 1), folder("f", 2, {entry("y", 3)})})}});
  EXPECT_EQ(count(*items[0].items), 3u);
  EXPECT_EQ(items[0].items->at(1).items->at(0).choice.tag, 3);
}

TEST(MenuPlan, aLevelWithoutRoomForAllEndsWithAnItemForItsFolder) {
  const PlannedItems items = planned(Menu{{folder("a.zip", 7, entries(100, 1))}}, 10);
  ASSERT_THAT(*items[0].items, SizeIs(10));
  const PlannedItem& rest = items[0].items->back();
  EXPECT_EQ(rest.label, "91 more\u2026");
  EXPECT_EQ(rest.choice.action, "expand:");
  EXPECT_EQ(rest.choice.tag, 7);
  EXPECT_EQ(items[0].items->at(8).choice.tag, 9);
}

TEST(MenuPlan, anArchiveThatJustFitsHasNoSuchItem) {
  const PlannedItems items = planned(Menu{{folder("a.zip", 0, entries(10, 1))}}, 10);
  ASSERT_THAT(*items[0].items, SizeIs(10));
  EXPECT_EQ(items[0].items->back().choice.tag, 10);
}

TEST(MenuPlan, theNearestLevelsComeFirst) {
  const MenuItem archive = folder("a.zip", 0, {folder("f", 1, {folder("g", 2, entries(5, 10))}), folder("h", 3, entries(3, 20))});
  const PlannedItems items = planned(Menu{{archive}}, 6);
  EXPECT_EQ(count(*items[0].items), 6u);
  const PlannedItem& f = items[0].items->at(0);
  EXPECT_THAT(*items[0].items->at(1).items, SizeIs(3));
  ASSERT_THAT(*f.items, SizeIs(1));
}

TEST(MenuPlan, aFolderWithoutRoomIsChosenItself) {
  const PlannedItems items = planned(Menu{{folder("a.zip", 0, {folder("f", 1, entries(5, 10)), entry("x", 2)})}}, 3);
  const PlannedItem& f = items[0].items->at(0);
  EXPECT_EQ(f.items, nullptr);
  EXPECT_EQ(f.choice.action, "expand:");
  EXPECT_EQ(f.choice.tag, 1);
}

TEST(MenuPlan, aDeepChainOfFoldersCostsNoMoreThanTheRoom) { EXPECT_EQ(count(*planned(Menu{{chain(5000)}}, 50)[0].items), 50u); }

TEST(MenuPlan, aFolderInTheDeepestLevelIsChosenItself) {
  const PlannedItems menu = planned(Menu{{chain(5000)}}, 500, 3);
  const PlannedItems& second = *menu[0].items->at(0).items;
  const PlannedItem& deepest = second.at(0).items->at(0);
  EXPECT_EQ(deepest.items, nullptr);
  EXPECT_EQ(deepest.choice.action, "expand:");
  EXPECT_EQ(deepest.choice.tag, 3);
}

TEST(MenuPlan, anArchiveOfJustSoManyLevelsIsThereWhole) {
  EXPECT_EQ(count(*planned(Menu{{chain(16)}}, 500, 16)[0].items), 16u);
  EXPECT_EQ(planned(Menu{{folder("a.zip", 0, {entry("x", 1)})}}, 500, 1)[0].items->at(0).choice.tag, 1);
}

TEST(MenuPlan, aNameIsShortHoweverDeepItsItemLies) {
  std::vector<std::string> names;
  collect(planned(Menu{{chain(500)}}), names);
  EXPECT_THAT(names, SizeIs(501));
  for (const std::string& name : names) EXPECT_LT(name.size(), 12u);
}

TEST(MenuPlan, theCommandsDoNotCountAsAnArchivesContents) {
  MenuItem compress = item("Compress", "compress:", 0);
  compress.submenu = std::make_shared<Menu>(Menu{{item("ZIP", "compress:", 1), item("TAR", "compress:", 2)}});
  EXPECT_THAT(*planned(Menu{{compress}}, 1)[0].items, SizeIs(2));
}

TEST(MenuPlan, contentsThatWerePlannedAreUsedAgain) {
  MenuPlanner planner({}, nullptr);
  Menu menu{{folder("a.zip", 0, entries(3, 1))}};
  const auto contents = planner.itemsOf(menu, "D")[0].items;
  EXPECT_EQ(planner.itemsOf(menu, "D")[0].items, contents);
  menu.items[0].submenu = std::make_shared<Menu>(Menu{entries(2, 1)});
  EXPECT_THAT(*planner.itemsOf(menu, "D")[0].items, SizeIs(2));
}

}  // namespace
