// What a browser tells the extension and what it asks of it, by the rule of watched folders.
#include "platform/linux/FinderSyncBrowser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/fake/FakeFileManager.h"
#include "tests/platform/finder_sync/RecordingExtension.h"

using platform::Menu;
using platform::MenuKind;
using platform::URL;
using platform::fake::FakeKind;
using platform::native::FinderSyncBrowser;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

URL at(std::string_view path) { return URL::fileURLWithPath(path); }

class FinderSyncBrowserTest : public testing::Test {
 protected:
  FinderSyncBrowserTest() {
    for (const char* file : {"/home/watched/file.zip", "/home/watched/sub/deep/file.tar", "/home/other/file.zip"}) files.add(file);
    EXPECT_TRUE(browser.initFinderSync(extension));
  }

  void watch(const std::vector<std::string>& folders) {
    std::vector<URL> urls;
    for (const std::string& folder : folders) urls.push_back(*files.fileReferenceURL(at(folder)));
    browser.setDirectoryURLs(urls);
  }
  bool hasMenu(MenuKind kind) { return browser.menuForMenuKind(kind).has_value(); }

  platform::fake::CallLog log;
  platform::fake::FakeFileManager files{log};
  RecordingExtension extension;
  FinderSyncBrowser browser{files};
};

TEST_F(FinderSyncBrowserTest, aWatchedFolderAndAllBelowItAreWatched) {
  watch({"/home/watched"});
  EXPECT_TRUE(browser.isWatched(at("/home/watched")));
  EXPECT_TRUE(browser.isWatched(at("/home/watched/file.zip")));
  EXPECT_TRUE(browser.isWatched(at("/home/watched/sub/deep/file.tar")));
  EXPECT_FALSE(browser.isWatched(at("/home")));
  EXPECT_FALSE(browser.isWatched(at("/home/other/file.zip")));
}

TEST_F(FinderSyncBrowserTest, aFolderWhoseNameOnlyBeginsLikeAWatchedOneIsNotWatched) {
  files.add("/home/watched too/file.zip");
  watch({"/home/watched"});
  EXPECT_FALSE(browser.isWatched(at("/home/watched too/file.zip")));
}

TEST_F(FinderSyncBrowserTest, theRootFolderCanBeWatched) {
  watch({"/"});
  EXPECT_TRUE(browser.isWatched(at("/")));
  EXPECT_TRUE(browser.isWatched(at("/home/other/file.zip")));
}

TEST_F(FinderSyncBrowserTest, aFileThatIsGoneIsNotWatched) {
  watch({"/home/watched"});
  EXPECT_FALSE(browser.isWatched(at("/home/watched/gone.zip")));
}

TEST_F(FinderSyncBrowserTest, whatIsNoFileIsNotWatched) {
  watch({"/"});
  EXPECT_FALSE(browser.isWatched(URL::URLWithString("trash:///file.zip")));
}

TEST_F(FinderSyncBrowserTest, aWatchedFolderStaysWatchedUnderANewName) {
  watch({"/home/watched"});
  EXPECT_TRUE(browser.isWatched(at("/home/watched/file.zip")));
  files.rename("/home/watched", "/home/renamed");
  EXPECT_TRUE(browser.isWatched(at("/home/renamed/file.zip")));
}

TEST_F(FinderSyncBrowserTest, aNewFolderUnderTheNameOfAWatchedOneIsNotWatched) {
  watch({"/home/watched"});
  EXPECT_TRUE(browser.isWatched(at("/home/watched/file.zip")));
  files.rename("/home/watched", "/home/renamed");
  files.add("/home/watched/file.zip");
  EXPECT_FALSE(browser.isWatched(at("/home/watched/file.zip")));
}

TEST_F(FinderSyncBrowserTest, nothingIsAskedOfFilesWhileNoFolderIsWatched) {
  const std::size_t before = files.propertyReads;
  browser.folderOpened(at("/home/other"));
  const std::size_t afterOpening = files.propertyReads;
  browser.fileShown(at("/home/other/file.zip"));
  browser.setSelectedItemURLs({at("/home/other/file.zip")});
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForItems));
  EXPECT_EQ(files.propertyReads, afterOpening);
  EXPECT_LE(afterOpening - before, 3u);
}

TEST_F(FinderSyncBrowserTest, eachFurtherFileOfAnUnwatchedFolderCostsTwoQuestions) {
  watch({"/home/watched"});
  files.add("/home/other/second.zip");
  browser.fileShown(at("/home/other/file.zip"));
  const std::size_t before = files.propertyReads;
  browser.fileShown(at("/home/other/second.zip"));
  EXPECT_EQ(files.propertyReads - before, 2u);
}

TEST_F(FinderSyncBrowserTest, aContextualMenuIsAskedForOnlyWhenEverySelectedItemIsWatched) {
  watch({"/home/watched"});
  browser.setSelectedItemURLs({at("/home/watched/file.zip")});
  EXPECT_TRUE(hasMenu(MenuKind::contextualMenuForItems));
  browser.setSelectedItemURLs({at("/home/watched/file.zip"), at("/home/other/file.zip")});
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForItems));
  EXPECT_THAT(extension.take(), ElementsAre("menu 0"));
}

TEST_F(FinderSyncBrowserTest, theMenuOfABackgroundIsAskedForOnlyInAWatchedFolder) {
  watch({"/home/watched"});
  browser.setTargetedURL(at("/home/watched/sub"));
  EXPECT_TRUE(hasMenu(MenuKind::contextualMenuForContainer));
  browser.setTargetedURL(at("/home/other"));
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForContainer));
  browser.setTargetedURL(std::nullopt);
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForContainer));
}

TEST_F(FinderSyncBrowserTest, theToolbarMenuIsAskedForEverywhere) {
  browser.setTargetedURL(at("/home/other"));
  EXPECT_TRUE(hasMenu(MenuKind::toolbarItemMenu));
  browser.setTargetedURL(std::nullopt);
  EXPECT_TRUE(hasMenu(MenuKind::toolbarItemMenu));
}

TEST_F(FinderSyncBrowserTest, theExtensionSeesTheSelectionAndTheTargetAsTheyWereSet) {
  browser.setSelectedItemURLs({at("/home/other/file.zip")});
  browser.setTargetedURL(at("/home/other"));
  ASSERT_EQ(browser.selectedItemURLs().size(), 1u);
  EXPECT_EQ(browser.selectedItemURLs()[0].path(), "/home/other/file.zip");
  EXPECT_EQ(browser.targetedURL().value().path(), "/home/other");
}

TEST_F(FinderSyncBrowserTest, aFolderBeginsWithItsFirstWindowAndEndsWithItsLast) {
  watch({"/home/watched"});
  EXPECT_TRUE(browser.folderOpened(at("/home/watched")));
  EXPECT_TRUE(browser.folderOpened(at("/home/watched/")));
  EXPECT_TRUE(browser.folderClosed(at("/home/watched")));
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/watched"));
  EXPECT_TRUE(browser.folderClosed(at("/home/watched")));
  EXPECT_THAT(extension.take(), ElementsAre("end /home/watched"));
}

TEST_F(FinderSyncBrowserTest, closingAFolderThatIsNotOpenIsRefused) {
  watch({"/home/watched"});
  EXPECT_FALSE(browser.folderClosed(at("/home/watched")));
  EXPECT_THAT(extension.take(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, openingAFolderThatIsGoneIsRefused) {
  watch({"/home/watched"});
  EXPECT_FALSE(browser.folderOpened(at("/home/watched/gone")));
  EXPECT_THAT(extension.take(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, anUnwatchedFolderNeitherBeginsNorEnds) {
  watch({"/home/watched"});
  EXPECT_TRUE(browser.folderOpened(at("/home/other")));
  EXPECT_TRUE(browser.folderClosed(at("/home/other")));
  EXPECT_THAT(extension.take(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, aFolderRenamedWhileOpenIsClosedByEitherName) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched"));
  browser.folderOpened(at("/home/watched"));
  files.rename("/home/watched", "/home/renamed");
  EXPECT_TRUE(browser.folderClosed(at("/home/watched")));
  EXPECT_TRUE(browser.folderClosed(at("/home/renamed")));
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/watched", "end /home/renamed"));
}

TEST_F(FinderSyncBrowserTest, aFolderRemovedWhileOpenStillEnds) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched/sub"));
  files.remove("/home/watched/sub");
  EXPECT_TRUE(browser.folderClosed(at("/home/watched/sub")));
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/watched/sub", "end /home/watched/sub"));
}

TEST_F(FinderSyncBrowserTest, openFoldersBeginAndEndAsTheyEnterAndLeaveTheWatchedSet) {
  browser.folderOpened(at("/home/watched"));
  browser.folderOpened(at("/home/other"));
  EXPECT_THAT(extension.take(), IsEmpty());
  watch({"/home/watched"});
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/watched"));
  watch({"/home/watched", "/home/other"});
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/other"));
  watch({"/home/other"});
  EXPECT_THAT(extension.take(), ElementsAre("end /home/watched"));
  browser.folderClosed(at("/home/watched"));
  EXPECT_THAT(extension.take(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, anOpenFolderThatWasRenamedDoesNotEndWhenTheSetIsReplaced) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched"));
  files.rename("/home/watched", "/home/renamed");
  extension.take();
  watch({"/home/renamed", "/home/other"});
  EXPECT_THAT(extension.take(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, theOpenFoldersOfTheWatchedSetBeginAgainForANewHost) {
  watch({"/home/watched"});
  for (const char* folder : {"/home/watched", "/home/watched/sub", "/home/watched/sub", "/home/other"})
    browser.folderOpened(at(folder));
  browser.folderClosed(at("/home/watched"));
  extension.take();
  browser.showFoldersAgain();
  EXPECT_THAT(extension.take(), ElementsAre("begin /home/watched/sub"));
}

TEST_F(FinderSyncBrowserTest, anOpenFolderBelowARenamedOneIsActedOnWhereItIsNow) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched/sub/deep"));
  files.rename("/home/watched/sub", "/home/watched/renamed");
  extension.take();
  browser.setTargetedURL(at("/home/watched/sub/deep"));
  EXPECT_TRUE(hasMenu(MenuKind::contextualMenuForContainer));
  EXPECT_EQ(browser.targetedURL()->path(), "/home/watched/renamed/deep");
  browser.fileShown(at("/home/watched/sub/deep/file.tar"));
  browser.showFoldersAgain();
  EXPECT_THAT(extension.take(),
              ElementsAre("menu 1", "badge /home/watched/renamed/deep/file.tar", "begin /home/watched/renamed/deep"));
}

TEST_F(FinderSyncBrowserTest, anotherFolderUnderTheNameOfAnOpenOneIsNotTakenForIt) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched/sub"));
  files.rename("/home/watched/sub", "/home/watched/renamed");
  files.add("/home/watched/sub/new.zip");
  browser.setTargetedURL(at("/home/watched/sub"));
  EXPECT_EQ(browser.targetedURL()->path(), "/home/watched/renamed");
}

TEST_F(FinderSyncBrowserTest, anOpenFolderOfAnotherVolumeIsNotHeld) {
  watch({"/home"});
  files.find("/home/watched/sub")->properties[std::string(platform::ResourceKey::volumeURL)] = at("/home/watched/sub");
  browser.folderOpened(at("/home/watched/sub"));
  files.rename("/home/watched", "/home/renamed");
  browser.setTargetedURL(at("/home/watched/sub"));
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForContainer));
}

TEST_F(FinderSyncBrowserTest, aFolderThatWasClosedIsNotFollowed) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched/sub"));
  browser.folderClosed(at("/home/watched/sub"));
  files.rename("/home/watched/sub", "/home/watched/renamed");
  browser.setTargetedURL(at("/home/watched/sub"));
  EXPECT_FALSE(hasMenu(MenuKind::contextualMenuForContainer));
}

TEST_F(FinderSyncBrowserTest, onlyFilesInWatchedFoldersAreAskedForBadges) {
  watch({"/home/watched"});
  browser.fileShown(at("/home/watched/file.zip"));
  browser.fileShown(at("/home/other/file.zip"));
  EXPECT_THAT(extension.take(), ElementsAre("badge /home/watched/file.zip"));
}

TEST_F(FinderSyncBrowserTest, aStrayFileIsAskedForABadgeUnlessItsFolderIsOpen) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched"));
  extension.take();
  for (const char* file : {"/home/watched/file.zip", "/home/watched/sub/deep/file.tar", "/home/other/file.zip"}) {
    browser.strayFileShown(at(file));
  }
  EXPECT_THAT(extension.take(), ElementsAre("badge /home/watched/sub/deep/file.tar"));
}

TEST_F(FinderSyncBrowserTest, theAdapterHearsOfEachReplacementOfTheWatchedSet) {
  int replacements = 0;
  browser.setOnDirectoryURLs([&] { ++replacements; });
  watch({"/home/watched"});
  watch({});
  EXPECT_EQ(replacements, 2);
  EXPECT_THAT(browser.directoryURLs(), IsEmpty());
}

TEST_F(FinderSyncBrowserTest, aChosenItemReachesTheExtension) {
  browser.itemChosen(itemTitled("Compress"));
  EXPECT_THAT(extension.take(), ElementsAre("chosen Compress"));
}

TEST_F(FinderSyncBrowserTest, oneExtensionAtATimeIsTaken) {
  RecordingExtension second;
  EXPECT_FALSE(browser.initFinderSync(second));
  browser.deallocFinderSync(second);
  EXPECT_TRUE(hasMenu(MenuKind::toolbarItemMenu));
}

TEST_F(FinderSyncBrowserTest, anExtensionThatHasGoneIsNeverCalled) {
  watch({"/home/watched"});
  browser.folderOpened(at("/home/watched"));
  extension.take();
  browser.deallocFinderSync(extension);
  browser.fileShown(at("/home/watched/file.zip"));
  browser.folderClosed(at("/home/watched"));
  browser.itemChosen(itemTitled("Compress"));
  EXPECT_FALSE(hasMenu(MenuKind::toolbarItemMenu));
  EXPECT_THAT(extension.take(), IsEmpty());
}

}  // namespace
