// Which files a browser's menu acts on, and when it is built anew.
#include "browsers/SelectionMenus.h"

#include "tests/ExtensionFixture.h"

using browsers::BoundMenuRef;
using browsers::MenuPlanner;
using browsers::PlannedItem;
using browsers::PlannedItems;
using browsers::SelectionMenus;
using platform::native::FinderSyncBrowser;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class SelectionMenusTest : public ExtensionTest {
 protected:
  void SetUp() override {
    for (const char* file : {"/w/a.zip", "/w/b.zip", "/other/c.zip"}) fakes.fileManager.add(file);
    startHost();
    platform::Platform references = fakes.references();
    extension =
        DTDovetailSync::init({browser, references.messagePorts, references.userDefaultsSuites, references.security,
                              references.distributedNotificationCenter, references.runningApplications, references.processSources,
                              references.fileManager, references.workspace, references.mainBundle, references.log},
                             onceOnly);
    browser.setDirectoryURLs({fileURL("/w")});
    menus.emplace(browser, *extension, fakes.fileManager, planner);
    for (const char* file : {"/w/a.zip", "/w/b.zip"}) browser.fileShown(fileURL(file));
    takeMessages();
    fakes.calls.take();
  }

  // It takes leave of the browser.
  void TearDown() override {
    menus.reset();
    extension.reset();
  }

  BoundMenuRef menuOf(std::vector<std::string> paths) {
    std::vector<platform::URL> urls;
    for (const std::string& path : paths) urls.push_back(fileURL(path));
    return menus->menuForItems(std::move(urls));
  }
  static const PlannedItem* itemTitled(const PlannedItems& items, const std::string& title) {
    for (const PlannedItem& item : items) {
      if (item.choice.title == title) return &item;
    }
    return nullptr;
  }
  void choose(const BoundMenuRef& menu, const std::string& title) {
    const PlannedItem* item = itemTitled(menu->items, title);
    ASSERT_TRUE(item) << title;
    menus->choose(*menu, *item);
  }
  std::vector<std::string> renamed() {
    const auto messages = takeMessages();
    EXPECT_THAT(messages, SizeIs(1));
    return messages.empty() ? std::vector<std::string>() : pathsOf(messages[0].argument());
  }

  FinderSyncBrowser browser{fakes.fileManager};
  MenuPlanner planner{{}, nullptr};
  std::optional<SelectionMenus> menus;
};

TEST_F(SelectionMenusTest, aChosenItemActsOnTheFilesThatItsMenuWasBuiltFor) {
  const BoundMenuRef first = menuOf({"/w/a.zip"});
  const BoundMenuRef second = menuOf({"/w/b.zip"});
  menus->menuForFolder(fileURL("/w"));
  choose(first, "Rename…");
  EXPECT_THAT(renamed(), ElementsAre("/w/a.zip"));
  choose(second, "Rename…");
  EXPECT_THAT(renamed(), ElementsAre("/w/b.zip"));
}

TEST_F(SelectionMenusTest, aFoldersMenuActsOnTheFolder) {
  choose(menus->menuForFolder(fileURL("/w")), "Rename…");
  EXPECT_THAT(renamed(), ElementsAre("/w"));
}

TEST_F(SelectionMenusTest, aFoldersMenuActsOnTheFolderWhereItIsAtTheChoice) {
  fakes.fileManager.add("/w/sub/deep/a.zip");
  browser.folderOpened(fileURL("/w/sub/deep"));
  takeMessages();
  const BoundMenuRef menu = menus->menuForFolder(fileURL("/w/sub/deep"));
  const BoundMenuRef button = menus->menuForToolbar({}, fileURL("/w/sub/deep"));
  fakes.fileManager.rename("/w/sub", "/w/renamed");
  for (const BoundMenuRef& each : {menu, button}) {
    choose(each, "Rename…");
    EXPECT_THAT(renamed(), ElementsAre("/w/renamed/deep"));
  }
  fakes.fileManager.remove("/w/renamed");
  choose(menu, "Rename…");
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(SelectionMenusTest, anEmptySelectionAsksNothingOfAnyFile) {
  EXPECT_EQ(menuOf({}), nullptr);
  EXPECT_THAT(fakes.calls.take(), IsEmpty());
}

TEST_F(SelectionMenusTest, anUnwatchedFileHasNoMenu) { EXPECT_EQ(menuOf({"/other/c.zip"}), nullptr); }

TEST_F(SelectionMenusTest, anUnchangedSelectionHasTheMenuThatItHad) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  EXPECT_EQ(menuOf({"/w/a.zip"}), menu);
  EXPECT_NE(menuOf({"/w/b.zip"}), menu);
  EXPECT_EQ(menuOf({"/w/a.zip"}), menu) << "another window asked in between";
}

TEST_F(SelectionMenusTest, noMoreMenusAreKeptThanWindowsNeed) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  for (int i = 0; i < 8; ++i) menuOf({"/w/b.zip", "/w/none" + std::to_string(i)});
  EXPECT_NE(menuOf({"/w/a.zip"}), menu);
}

TEST_F(SelectionMenusTest, aSingleFileIsOneThatIsShown) {
  fakes.fileManager.add("/w/late.zip");
  menuOf({"/w/late.zip"});
  const auto messages = takeMessages();
  ASSERT_THAT(messages, SizeIs(1));
  EXPECT_EQ(messages[0].selector(), "openArchive:portName:");
}

TEST_F(SelectionMenusTest, contentsThatArriveMakeTheMenuAnotherOne) {
  const BoundMenuRef before = menuOf({"/w/a.zip"});
  EXPECT_FALSE(menus->isOutdated());
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  fakes.loop.run();
  EXPECT_TRUE(menus->isOutdated());
  const BoundMenuRef after = menuOf({"/w/a.zip"});
  EXPECT_FALSE(menus->isOutdated());
  EXPECT_EQ(itemTitled(before->items, "a.zip"), nullptr);
  EXPECT_TRUE(itemTitled(after->items, "a.zip"));
}

TEST_F(SelectionMenusTest, contentsOfAnotherFileChangeNothing) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  receiveArchive("/w/b.zip", archive("b.zip", leaf("x", 1)));
  fakes.loop.run();
  EXPECT_FALSE(menus->isOutdated());
  EXPECT_EQ(menuOf({"/w/a.zip"}), menu);
}

TEST_F(SelectionMenusTest, anOutdatedMenuIsToldOnce) {
  menuOf({"/w/a.zip"});
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  fakes.loop.run();
  EXPECT_TRUE(menus->dropOutdated());
  EXPECT_FALSE(menus->isOutdated());
  EXPECT_FALSE(menus->dropOutdated());
}

TEST_F(SelectionMenusTest, aMenuThatIsUpStaysAsItIsUntilItIsReleased) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  menus->hold();
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  fakes.loop.run();
  EXPECT_FALSE(menus->isOutdated());
  EXPECT_EQ(menuOf({"/w/a.zip"}), menu);
  menus->release();
  EXPECT_TRUE(menus->isOutdated());
  EXPECT_NE(menuOf({"/w/a.zip"}), menu);
}

TEST_F(SelectionMenusTest, anotherSelectionHasItsMenuWhileOneIsUp) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  menus->hold();
  EXPECT_NE(menuOf({"/w/b.zip"}), menu);
}

TEST_F(SelectionMenusTest, theMenuGoesWithTheHost) {
  EXPECT_TRUE(menuOf({"/w/a.zip"}));
  quitHost();
  EXPECT_TRUE(menus->isOutdated());
  EXPECT_EQ(menuOf({"/w/a.zip"}), nullptr);
}

TEST_F(SelectionMenusTest, aChangedSettingMakesTheMenuAnew) {
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  menus->forget();
  EXPECT_TRUE(menus->isOutdated());
  EXPECT_NE(menuOf({"/w/a.zip"}), menu);
}

TEST_F(SelectionMenusTest, anotherFileUnderTheNameHasAMenuOfItsOwn) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  fakes.loop.run();
  EXPECT_TRUE(itemTitled(menuOf({"/w/a.zip"})->items, "a.zip"));
  fakes.fileManager.remove("/w/a.zip");
  fakes.fileManager.rename("/w/b.zip", "/w/a.zip");
  EXPECT_EQ(itemTitled(menuOf({"/w/a.zip"})->items, "a.zip"), nullptr);
}

TEST_F(SelectionMenusTest, anItemWithASubmenuIsNotChosen) {
  choose(menuOf({"/w/a.zip"}), "Compress");
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(SelectionMenusTest, theDisabledLineDoesNothing) {
  quitHost();
  const BoundMenuRef menu = menus->menuForToolbar({}, fileURL("/other"));
  ASSERT_THAT(menu->items, SizeIs(1));
  EXPECT_FALSE(menu->items[0].isEnabled);
  menus->choose(*menu, menu->items[0]);
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(SelectionMenusTest, theToolbarsMenuActsAnywhere) {
  choose(menus->menuForToolbar({fileURL("/other/c.zip")}, fileURL("/other")), "Rename…");
  EXPECT_THAT(renamed(), ElementsAre("/other/c.zip"));
  choose(menus->menuForToolbar({}, fileURL("/other")), "Rename…");
  EXPECT_THAT(renamed(), ElementsAre("/other"));
}

TEST_F(SelectionMenusTest, anArchivesEntryIsFoundByTheMenuOfItsArchive) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), folder("f", 2, leaf("y", 3))));
  receiveArchive("/w/b.zip", archive("b.zip", leaf("z", 3)));
  fakes.loop.run();
  const BoundMenuRef menu = menuOf({"/w/a.zip"});
  menuOf({"/w/b.zip"});
  const PlannedItem* entry = itemTitled(*itemTitled(*itemTitled(menu->items, "a.zip")->items, "f")->items, "y");
  ASSERT_TRUE(entry);
  menus->choose(*menu, *entry);
  const auto messages = takeMessages();
  ASSERT_THAT(messages, SizeIs(1));
  const auto* option = messages[0].argument().get<platform::Dictionary>();
  EXPECT_EQ(option->objectForKey("1")->get<platform::URL>()->path(), "/w/a.zip");
  const auto* path = option->objectForKey("2")->get<platform::IndexPath>();
  ASSERT_TRUE(path);
  EXPECT_THAT(path->indexes, ElementsAre(1u, 0u));
}

}  // namespace
