#include "tests/ExtensionFixture.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;
using platform::MenuItem;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

class MenuAssembly : public ExtensionTest {
 protected:
  void SetUp() override {
    fakes.fileManager.add("/w/file");
    fakes.fileManager.add("/w/other");
    fakes.fileManager.add("/w/a.zip");
    fakes.fileManager.add("/w/folder", platform::fake::FakeKind::directory);
    startBoth();
  }

  static Object lists(std::vector<Object> root, std::vector<Object> more) {
    Dictionary lists;
    lists.add("DTRootMenuItems", Array(std::move(root)));
    lists.add("DTMoreMenuItems", Array(std::move(more)));
    lists.add("DTOtherMenuItems", Array{Integer::ofSigned(1), Integer::ofSigned(2)});
    return lists;
  }
  void set(const std::string& key, Object value) { fakes.userDefaultsSuites.set("G", key, std::move(value)); }
  static Object tag(std::int64_t number) { return Integer::ofSigned(number); }
};

TEST_F(MenuAssembly, withoutAHostTheToolbarMenuIsOneDisabledLine) {
  quitHost();
  select({"/w/file"});
  const auto shown = menu(3);
  ASSERT_TRUE(shown);
  ASSERT_EQ(shown->items.size(), 1u);
  const MenuItem& line = shown->items[0];
  EXPECT_EQ(line.title, "Dovetail is not running");
  EXPECT_EQ(line.action, "");
  EXPECT_FALSE(line.isEnabled);
  EXPECT_EQ(line.image, nullptr);
  EXPECT_EQ(line.submenu, nullptr);
  EXPECT_FALSE(extension->targetUrls()) << "the targets are left as they were";
}

TEST_F(MenuAssembly, withoutAHostEveryOtherMenuIsNone) {
  quitHost();
  select({"/w/file"});
  for (const std::uint64_t kind : {0u, 1u, 2u, 4u}) EXPECT_FALSE(menu(kind));
}

TEST_F(MenuAssembly, theSidebarAndUnknownKindsGetNoMenuAndLeaveTheTargets) {
  select({"/w/file"});
  for (const std::uint64_t kind : {std::uint64_t{2}, std::uint64_t{4}, UINT64_MAX}) {
    EXPECT_FALSE(menu(kind));
    EXPECT_FALSE(extension->targetUrls());
  }
}

TEST_F(MenuAssembly, aProcessIdentifierOfZeroCountsAsRunning) {
  // It is zero while the extension starts up, before it has looked for the host.
  extension = nullptr;
  select({"/w/file"});
  std::optional<platform::Menu> duringStartUp;
  auto& controller = fakes.finderSyncController;
  controller.whenDirectoryURLsAreSet = [&] {
    if (!duringStartUp) duringStartUp = controller.extension->menuForMenuKind(platform::MenuKind::contextualMenuForItems);
  };
  startExtension();
  ASSERT_TRUE(duringStartUp);
  EXPECT_EQ(duringStartUp->items.size(), 7u);
}

TEST_F(MenuAssembly, theBackgroundOfAFolderActsOnThatFolder) {
  fakes.finderSyncController.target = fileURL("/w/folder");
  const auto shown = menu(1);
  ASSERT_TRUE(shown);
  ASSERT_EQ(extension->targetUrls().value().size(), 1u);
  EXPECT_EQ(extension->targetUrls().value().front().path(), "/w/folder");
  EXPECT_THAT(titlesOf(*shown), ElementsAre("Delete…", "Secure Delete…", "Compress", "Rename…", "Size Browser…", "Permissions…",
                                            "Access Control List…"));
}

TEST_F(MenuAssembly, aSelectionGoesBeforeTheTargetedFolderInMenusOfEveryKind) {
  fakes.finderSyncController.target = fileURL("/w/folder");
  for (const std::uint64_t kind : {0u, 1u, 3u}) {
    select({"/w/file", "/w/other"});
    ASSERT_TRUE(menu(kind));
    ASSERT_TRUE(extension->targetUrls());
    EXPECT_EQ(extension->targetUrls().value().size(), 2u) << "kind " << kind;
    extension->setTargetUrls(std::nullopt);
  }
}

TEST_F(MenuAssembly, withoutSelectionAndFolderThereIsNoMenu) {
  EXPECT_FALSE(menu());
  EXPECT_TRUE(extension->targetUrls().value().empty());
}

TEST_F(MenuAssembly, oneFileWithTheDefaultListsGetsItsCommandsInOrderAndChecksumUnderMore) {
  select({"/w/file"});
  const auto shown = menu();
  ASSERT_TRUE(shown);
  EXPECT_THAT(titlesOf(*shown),
              ElementsAre("Delete…", "Secure Delete…", "Compress", "Rename…", "Permissions…", "Access Control List…", "More"));
  EXPECT_THAT(titlesOf(*itemIn(*shown, {"More"})->submenu), ElementsAre("Checksum…"));
  EXPECT_EQ(shown->items.back().action, "");
}

TEST_F(MenuAssembly, anArchiveWithAKnownTreeStandsInItsPlaceInTheList) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  EXPECT_THAT(titlesOf(menu().value()), ElementsAre("Delete…", "Secure Delete…", "Compress", "a.zip", "Rename…", "Permissions…",
                                                    "Access Control List…", "More"));
}

TEST_F(MenuAssembly, moreIsLeftOutWhenNoneOfItsCommandsApplies) {
  set("DTContextualMenuItems", lists({tag(1)}, {tag(2), tag(10), tag(99)}));
  select({"/w/file"});
  EXPECT_THAT(titlesOf(menu().value()), ElementsAre("Permissions…"));
}

TEST_F(MenuAssembly, whenNoCommandAppliesTheMenuIsEmptyAndNotNone) {
  set("DTContextualMenuItems", lists({tag(2), tag(5)}, {tag(10)}));
  select({"/w/file"});
  const auto shown = menu();
  ASSERT_TRUE(shown);
  EXPECT_THAT(shown->items, IsEmpty());
}

TEST_F(MenuAssembly, theListsOrderIsKeptAndATagListedTwiceStandsTwice) {
  set("DTContextualMenuItems", lists({tag(4), tag(1), tag(4)}, {tag(3), tag(3)}));
  select({"/w/file"});
  const auto shown = menu();
  EXPECT_THAT(titlesOf(shown.value()), ElementsAre("Rename…", "Permissions…", "Rename…", "More"));
  EXPECT_THAT(titlesOf(*shown.value().items.back().submenu), ElementsAre("Access Control List…", "Access Control List…"));
}

TEST_F(MenuAssembly, whatIsNoKnownTagIsSkippedWithoutALogLine) {
  set("DTContextualMenuItems", lists({tag(0), tag(11), Object("1"), Object(), Object(true), tag(4)}, {}));
  select({"/w/file"});
  EXPECT_THAT(titlesOf(menu().value()), ElementsAre("Permissions…", "Rename…")) << "a yes counts as the number 1";
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(MenuAssembly, listsOfAWrongTypeReadAsEmpty) {
  select({"/w/file"});
  for (const Object& wrong : {Object("7"), Object(Array{tag(7)}), Object(true)}) {
    set("DTContextualMenuItems", wrong);
    ASSERT_TRUE(menu()) << "an empty menu, not none";
    EXPECT_THAT(menu().value().items, IsEmpty());
  }
  Dictionary oddities;
  oddities.add("DTRootMenuItems", Object("7"));
  oddities.add("DTMoreMenuItems", Object(true));
  set("DTContextualMenuItems", Object(oddities));
  EXPECT_THAT(menu().value().items, IsEmpty());
  set("DTContextualMenuItems", Object(Dictionary()));
  EXPECT_THAT(menu().value().items, IsEmpty());
}

TEST_F(MenuAssembly, theToolbarsListsAndFlagAreItsOwn) {
  set("DTToolbarItemMenuItems", lists({tag(4)}, {}));
  set("DTToolbarItemMenuItemsIconShown", true);
  select({"/w/file"});
  EXPECT_THAT(titlesOf(menu(3).value()), ElementsAre("Rename…"));
  EXPECT_NE(menu(3).value().items[0].image, nullptr);
  EXPECT_EQ(menu(0).value().items.size(), 7u);
  EXPECT_EQ(menu(0).value().items[0].image, nullptr);
  EXPECT_EQ(menu(1).value().items[0].image, nullptr);
}

TEST_F(MenuAssembly, iconsStandOnTheTopLevelAndMoreButNotOnTheArchiveNorInsideMore) {
  set("DTContextualMenuItemsIconShown", true);
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  const auto shown = menu();
  ASSERT_TRUE(shown);
  const platform::ImageRef icon = shown->items.front().image;
  ASSERT_TRUE(icon);
  EXPECT_EQ(icon->size, (platform::Size{16, 16}));
  ASSERT_EQ(icon->representations.size(), 1u);
  EXPECT_EQ(icon->representations[0].source, "named NSApplicationIcon");
  EXPECT_EQ(icon->representations[0].size, (platform::Size{16, 16}));
  for (const MenuItem& item : shown->items) {
    if (item.title == "a.zip") {
      EXPECT_EQ(item.image->representations.at(0).source, "type zip");
    } else {
      EXPECT_EQ(item.image, icon) << item.title;
    }
  }
  for (const MenuItem& item : shown->items.back().submenu->items) EXPECT_EQ(item.image, nullptr);
  for (const MenuItem& item : itemIn(*shown, {"Compress"})->submenu->items) EXPECT_EQ(item.image, nullptr);
}

TEST_F(MenuAssembly, withoutTheFlagNeitherTheTopLevelNorMoreHasAnIcon) {
  select({"/w/file"});
  const auto shown = menu();
  ASSERT_TRUE(shown);
  ASSERT_EQ(shown->items.back().title, "More");
  for (const MenuItem& item : shown->items) EXPECT_EQ(item.image, nullptr) << item.title;
}

TEST_F(MenuAssembly, withoutTheFlagTheArchivesItemStillHasItsIcon) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  const auto shown = menu();
  EXPECT_EQ(shown.value().items.front().image, nullptr);
  EXPECT_NE(itemIn(shown.value(), {"a.zip"})->image, nullptr);
}

TEST_F(MenuAssembly, theMenuIconIsMadeOnceInAProcess) {
  set("DTContextualMenuItemsIconShown", true);
  select({"/w/file"});
  menu();
  extension = nullptr;
  startExtension();
  menu();
  EXPECT_EQ(std::ranges::count(fakes.calls.take(), "image named NSApplicationIcon"), 1);
}

TEST_F(MenuAssembly, withoutAnApplicationIconTheMenuIconIsEmpty) {
  fakes.workspace.hasImages = false;
  set("DTContextualMenuItemsIconShown", true);
  select({"/w/file"});
  EXPECT_TRUE(menu().value().items.front().image->representations.empty());
}

TEST_F(MenuAssembly, theArchivesItemInsideMoreIsTheCachedOne) {
  set("DTContextualMenuItems", lists({tag(10)}, {tag(10)}));
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  const auto shown = menu();
  EXPECT_EQ(shown.value().items[0].submenu, shown.value().items[1].submenu->items[0].submenu);
}

TEST_F(MenuAssembly, eachRequestRecordsItsOwnTargets) {
  select({"/w/file"});
  menu();
  select({"/w/other"});
  menu(3);
  EXPECT_EQ(extension->targetUrls().value().front().path(), "/w/other");
}
