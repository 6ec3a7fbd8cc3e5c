#include "archive/ArchiveMenus.h"

#include "tests/ExtensionFixture.h"

using platform::Array;
using platform::Data;
using platform::Dictionary;
using platform::MenuItem;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

class ArchiveMenus : public ExtensionTest {
 protected:
  void SetUp() override {
    fakes.fileManager.add("/w/a.zip");
    fakes.fileManager.add("/w/b.zip");
    startBoth();
    select({"/w/a.zip"});
  }

  /// The archive's own item in the contextual menu; null when there is none.
  std::shared_ptr<const MenuItem> archiveItem() {
    extension->menuForMenuKind(platform::MenuKind::contextualMenuForItems);
    return extension->menuItemWithTag(10);
  }
  static std::string iconOf(const MenuItem& item) { return item.image ? item.image->representations.at(0).source : ""; }
};

TEST_F(ArchiveMenus, theSubmenusMirrorTheTreeInTheHostsOrder) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("z", 1), leaf("a", 2), folder("f", 3, leaf("y", 4)), leaf("b", 5)));
  const auto item = archiveItem();
  ASSERT_TRUE(item && item->submenu);
  EXPECT_THAT(titlesOf(*item->submenu), ElementsAre("z", "a", "f", "b"));
  EXPECT_THAT(titlesOf(*item->submenu->items[2].submenu), ElementsAre("y"));
  for (const MenuItem& entry : item->submenu->items) {
    EXPECT_EQ(entry.action, "expand:");
    EXPECT_TRUE(entry.isEnabled);
  }
  EXPECT_EQ(item->submenu->items[1].tag, 2);
}

TEST_F(ArchiveMenus, filesAndEmptyFoldersHaveNoSubmenu) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), folder("empty", 2)));
  for (const MenuItem& entry : archiveItem()->submenu->items) EXPECT_EQ(entry.submenu, nullptr);
}

TEST_F(ArchiveMenus, anArchiveWithoutEntriesIsAnItemWithoutASubmenu) {
  receiveArchive("/w/a.zip", archive("a.zip"));
  ASSERT_TRUE(archiveItem());
  EXPECT_EQ(archiveItem()->submenu, nullptr);
}

TEST_F(ArchiveMenus, aNewTreeReplacesTheOldOneInTheNextMenu) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("old", 1)));
  archiveItem();
  receiveArchive("/w/a.zip", archive("a.zip", leaf("first", 2), leaf("new", 1)));
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
  const auto item = archiveItem();
  EXPECT_THAT(titlesOf(*item->submenu), ElementsAre("first", "new"));
  extension->sendAction(item->submenu->items[1]);
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_THAT(messages[0].argument().get<Dictionary>()->objectForKey("2")->get<platform::IndexPath>()->indexes, ElementsAre(1));
}

TEST_F(ArchiveMenus, aMenuShownBeforeANewTreeCameStillFindsItsEntriesInTheOldOne) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), leaf("y", 2)));
  const auto shown = menu();
  receiveArchive("/w/a.zip", archive("a.zip", leaf("z", 9)));
  choose(shown.value(), {"a.zip", "y"});
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_THAT(messages[0].argument().get<Dictionary>()->objectForKey("2")->get<platform::IndexPath>()->indexes, ElementsAre(1));
}

TEST_F(ArchiveMenus, aNumberThatOnlyTheOldTreeHadIsUnknownOnceTheNewOneIsShown) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), leaf("y", 2)));
  const auto shown = menu();
  receiveArchive("/w/a.zip", archive("a.zip", leaf("z", 9)));
  menu();
  takeMessages();
  choose(shown.value(), {"a.zip", "y"});
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(ArchiveMenus, aNewTreeAndAMessageThatIsIgnoredLeaveTheItemsOfOthersStanding) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  const auto item = archiveItem();
  receiveArchive("/w/b.zip", archive("b.zip", leaf("x", 1)));
  EXPECT_EQ(archiveItem(), item);
  Dictionary half;
  const auto identity = identityOf("/w/a.zip");
  half.add("2", Data(identity.bytes().begin(), identity.bytes().end()));
  receive(DTMessage("setArchive:", half));
  EXPECT_EQ(archiveItem(), item);
}

TEST_F(ArchiveMenus, theItemOfOneArchiveStaysBuiltWhenThatOfAnotherIs) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  receiveArchive("/w/b.zip", archive("b.zip", leaf("x", 1)));
  const auto item = archiveItem();
  select({"/w/b.zip"});
  const auto other = archiveItem();
  ASSERT_TRUE(item && other);
  EXPECT_NE(other, item);
  select({"/w/a.zip"});
  EXPECT_EQ(archiveItem(), item);
}

TEST_F(ArchiveMenus, aChoiceFromAMenuShownBeforeBothCachesWereEmptiedIsSent) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), leaf("y", 2)));
  const auto shown = menu();
  ASSERT_TRUE(shown);
  quitHost();
  ASSERT_EQ(extension->archives().count() + extension->archiveMenus().count(), 0u);
  startHost();
  notice();
  takeMessages();
  choose(*shown, {"a.zip", "y"});
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].selector(), "expand:");
  EXPECT_THAT(messages[0].argument().get<Dictionary>()->objectForKey("2")->get<platform::IndexPath>()->indexes, ElementsAre(1));
}

TEST_F(ArchiveMenus, afterAReplayTheBuiltItemIsOfferedUntilTheNewTreeArrives) {
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  const auto item = archiveItem();
  notice();
  ASSERT_TRUE(isMarked("/w/a.zip"));
  EXPECT_EQ(archiveItem(), item);
  receiveArchive("/w/a.zip", archive("a.zip", leaf("y", 1)));
  EXPECT_THAT(titlesOf(*archiveItem()->submenu), ElementsAre("y"));
}

TEST_F(ArchiveMenus, withTwoTargetsThereIsNoArchiveItem) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  receiveArchive("/w/b.zip", archive("b.zip", leaf("x", 1)));
  select({"/w/a.zip", "/w/b.zip"});
  EXPECT_FALSE(archiveItem());
}

TEST_F(ArchiveMenus, entriesShowTheIconOfTheirTypeFoldersTheFolder) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x.txt", 1), folder("pictures.zip", 2), leaf("README", 3), leaf("a.b/c", 4),
                                     leaf(".hidden", 5), leaf("dot.", 6)));
  const auto item = archiveItem();
  EXPECT_EQ(iconOf(*item), "type zip");
  std::vector<std::string> icons;
  for (const MenuItem& entry : item->submenu->items) icons.push_back(iconOf(entry));
  EXPECT_THAT(icons, ElementsAre("type txt", "named NSFolder", "type ", "type ", "type hidden", "type "));
}

TEST_F(ArchiveMenus, titleAndIconOfTheArchiveAreThoseOfItsEntryWhateverTheFileIsCalled) {
  receiveArchive("/w/a.zip", archive("b.tar", leaf("x", 1)));
  const auto item = archiveItem();
  ASSERT_TRUE(item);
  EXPECT_EQ(item->title, "b.tar");
  EXPECT_EQ(iconOf(*item), "type tar");
}

TEST_F(ArchiveMenus, withoutASettingsStoreEntriesHaveNoImageAndTheArchiveKeepsItsOwn) {
  fakes.userDefaultsSuites.refusesSuites = true;
  OnceOnly process;
  const auto other = DTDovetailSync::init(fakes.references(), process);
  other->setArchive(archiveArgument("/w/a.zip", archive("a.zip", leaf("x.txt", 1))));
  other->setTargetUrls(std::vector{fileURL("/w/a.zip")});
  const auto item = other->menuItemWithTag(10);
  ASSERT_TRUE(item && item->submenu);
  EXPECT_EQ(iconOf(*item), "type zip");
  EXPECT_EQ(item->submenu->items.at(0).image, nullptr);
}

TEST_F(ArchiveMenus, withoutTheSettingEntriesHaveNoImageAndTheArchiveKeepsItsOwn) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x.txt", 1), folder("f", 2, leaf("y", 3))));
  fakes.userDefaultsSuites.set("G", "DTArchiveIconsShown ", false);
  fakes.loop.run();
  auto item = archiveItem();
  EXPECT_EQ(iconOf(*item), "type zip");
  EXPECT_EQ(item->submenu->items[0].image, nullptr);
  EXPECT_EQ(item->submenu->items[1].submenu->items[0].image, nullptr);
  fakes.userDefaultsSuites.set("G", "DTArchiveIconsShown ", true);
  fakes.loop.run();
  item = archiveItem();
  EXPECT_EQ(iconOf(item->submenu->items[0]), "type txt");
}

TEST_F(ArchiveMenus, anIconIsOneRepresentationOfSixteenPointsMadeOnceAType) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("1.txt", 1), leaf("2.txt", 2), folder("f", 3), folder("g", 4)));
  fakes.calls.take();
  const auto item = archiveItem();
  const auto& entries = item->submenu->items;
  EXPECT_EQ(entries[0].image, entries[1].image);
  EXPECT_EQ(entries[2].image, entries[3].image);
  EXPECT_EQ(entries[0].image->size, (platform::Size{16, 16}));
  ASSERT_EQ(entries[0].image->representations.size(), 1u);
  EXPECT_EQ(entries[0].image->representations[0].size, (platform::Size{16, 16}));
  const auto calls = fakes.calls.take();
  EXPECT_EQ(std::ranges::count(calls, "icon for type \"txt\""), 1);
  EXPECT_EQ(std::ranges::count(calls, "image named NSFolder"), 1);
}

TEST_F(ArchiveMenus, theIconOfATypeIsMadeOnceInAProcessAndOutlivesTheHostAndTheExtension) {
  const auto icon = extension->iconForFileType("txt");
  quitHost();
  EXPECT_EQ(extension->iconForFileType("txt"), icon);
  const auto next = DTDovetailSync::init(fakes.references(), onceOnly);
  EXPECT_EQ(next->iconForFileType("txt"), icon);
}

TEST_F(ArchiveMenus, theFolderIconIsToldFromAFileTypeByIdentityUntilItIsCachedUnderThatText) {
  const std::string text = "NSFolder";
  EXPECT_EQ(extension->iconForFileType(text)->representations.at(0).source, "type NSFolder");
  OnceOnly process;
  const auto other = DTDovetailSync::init(fakes.references(), process);
  EXPECT_EQ(other->iconForFileType(platform::ImageNameFolder)->representations.at(0).source, "named NSFolder");
  EXPECT_EQ(other->iconForFileType(text)->representations.at(0).source, "named NSFolder");
}

TEST_F(ArchiveMenus, aFolderImageThatIsMissingGivesAnEmptyIconAndNoCrash) {
  fakes.workspace.hasImages = false;
  EXPECT_TRUE(extension->iconForFileType(platform::ImageNameFolder)->representations.empty());
}

TEST_F(ArchiveMenus, populatingWithoutAnEntryPathMapStoresNothing) {
  const DTTreeNode tree = archive("a.zip", leaf("x", 1));
  MenuItem item;
  extension->populateMenuItem(item, tree, identityOf("/w/a.zip"));
  ASSERT_TRUE(item.submenu);
  EXPECT_EQ(item.submenu->items.size(), 1u);
  EXPECT_TRUE(extension->senderObjects().empty());
}

TEST_F(ArchiveMenus, nodesWithoutAnEntryOrANameShowAnEmptyTitle) {
  DTTreeNode tree;
  tree.appendChild(DTTreeNode());
  tree.appendChild(DTTreeNode(DTArchiveEntry(std::nullopt, false, 4, 0)));
  receiveArchive("/w/a.zip", std::move(tree));
  const auto item = archiveItem();
  ASSERT_TRUE(item);
  EXPECT_THAT(titlesOf(*item->submenu), ElementsAre("", ""));
  EXPECT_EQ(item->submenu->items[1].tag, 4);
}

TEST_F(ArchiveMenus, aMessageThatLacksAHalfOrHoldsOtherKindsIsIgnored) {
  const auto tree = Object(std::shared_ptr<const platform::Coding>(std::make_shared<DTTreeNode>()));
  const auto entry = Object(std::shared_ptr<const platform::Coding>(std::make_shared<DTArchiveEntry>()));
  const Object identity = Data{1, 2, 3};
  const auto option = [](std::vector<std::pair<std::string, Object>> entries) {
    Dictionary dictionary;
    for (auto& [key, value] : entries) dictionary.add(key, std::move(value));
    return Object(dictionary);
  };
  for (const Object& argument : {Object(), Object("x"), option({}), option({{"1", tree}}), option({{"2", identity}}),
                                 option({{"1", entry}, {"2", identity}}), option({{"1", Object("x")}, {"2", identity}}),
                                 option({{"1", tree}, {"2", Object("x")}}), option({{"1", tree}, {"2", Object(Data())}}),
                                 option({{"1", tree}, {"2", Object(Data(33))}})}) {
    receive(DTMessage("setArchive:", argument));
  }
  EXPECT_EQ(extension->archives().count(), 0u);
  receive(DTMessage("setArchive:", option({{"1", tree}, {"2", identity}})));
  EXPECT_EQ(extension->archives().count(), 1u);
}

TEST_F(ArchiveMenus, whatElseStandsInTheMessageIsOfNoConcern) {
  Object argument = archiveArgument("/w/a.zip", archive("a.zip", leaf("x", 1)));
  Dictionary option = *argument.get<Dictionary>();
  option.add("3", Object("more"));
  receive(DTMessage("setArchive:", option));
  EXPECT_TRUE(archiveItem());
}

TEST_F(ArchiveMenus, aTreeThatArrivesWhileNoHostCountsAsRunningIsKept) {
  quitHost();
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  const auto* stored = extension->archives().objectForKey(identityOf("/w/a.zip"));
  ASSERT_TRUE(stored);
  EXPECT_TRUE(*stored);
}

TEST_F(ArchiveMenus, afterAHostsRestartTheItemReturnsOnlyWithTheNewAnswer) {
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  ASSERT_TRUE(archiveItem());
  quitHost();
  EXPECT_FALSE(archiveItem());
  startHost();
  notice();
  EXPECT_FALSE(archiveItem());
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  EXPECT_TRUE(archiveItem());
}

TEST_F(ArchiveMenus, aTreeForAFileThatIsNoLongerTargetedIsKept) {
  select({"/w/b.zip"});
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  EXPECT_TRUE(archiveItem());
}

TEST_F(ArchiveMenus, theEntryPathMapOutlivesBothCaches) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  archiveItem();
  quitHost();
  EXPECT_EQ(extension->senderObjects().at("expand:").count(identityOf("/w/a.zip")), 1u);
}

TEST_F(ArchiveMenus, aTreeOfManyLevelsIsPopulatedToItsEnd) {
  DTTreeNode chain = leaf("end", 1000);
  for (std::uint64_t level = 1000; level-- > 0;) {
    DTTreeNode parent(DTArchiveEntry("f", true, level, 0));
    parent.appendChild(std::move(chain));
    chain = std::move(parent);
  }
  receiveArchive("/w/a.zip", std::move(chain));
  const auto item = archiveItem();
  std::size_t depth = 0;
  for (const platform::Menu* level = item->submenu.get(); level; level = level->items[0].submenu.get()) ++depth;
  EXPECT_EQ(depth, 1000u);
}

TEST(PathExtension, isTheTextAfterTheLastDotOfTheLastComponent) {
  EXPECT_EQ(pathExtension("a.tar.gz"), "gz");
  EXPECT_EQ(pathExtension("a"), "");
  EXPECT_EQ(pathExtension(""), "");
  EXPECT_EQ(pathExtension("a."), "");
  EXPECT_EQ(pathExtension("a.b/c"), "");
}
