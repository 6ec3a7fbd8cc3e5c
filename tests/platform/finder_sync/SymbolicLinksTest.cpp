// The rule of watched folders on a real file system, where links lead to folders and folders are moved.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/FinderSyncBrowser.h"
#include "platform/linux/files/FileManager.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/finder_sync/RecordingExtension.h"

using platform::URL;
using platform::native::FinderSyncBrowser;
using platform::native::LinuxFileManager;
using testing::ElementsAre;
namespace fs = std::filesystem;

namespace {

class SymbolicLinks : public testing::Test {
 protected:
  SymbolicLinks() {
    for (const char* folder : {"watched/sub", "elsewhere"}) fs::create_directories(root / folder);
    for (const char* file : {"watched/file.zip", "watched/sub/file.zip", "elsewhere/file.zip"}) std::ofstream(root / file) << "x";
    fs::create_directory_symlink(root / "watched", root / "link");
    EXPECT_TRUE(browser.initFinderSync(extension));
  }

  URL at(std::string_view path) const { return URL::fileURLWithPath((root / path).string()); }
  void watch(std::string_view path) { browser.setDirectoryURLs({*fileManager.fileReferenceURL(at(path))}); }

  bool hasBackgroundMenu(const URL& shown) {
    browser.setTargetedURL(shown);
    return browser.menuForMenuKind(platform::MenuKind::contextualMenuForContainer).has_value();
  }

  tests::TemporaryFolder folder;
  fs::path root = folder.path();
  platform::fake::FakePlatform fakes;
  LinuxFileManager fileManager{fakes.workspace};
  RecordingExtension extension;
  FinderSyncBrowser browser{fileManager};
};

TEST_F(SymbolicLinks, aWatchedFolderIsWatchedOnEveryWayToIt) {
  watch("watched");
  EXPECT_TRUE(browser.isWatched(at("link/sub/file.zip")));
  EXPECT_TRUE(hasBackgroundMenu(at("link")));
  EXPECT_TRUE(hasBackgroundMenu(at("link/sub")));
}

TEST_F(SymbolicLinks, aWatchedLinkWatchesTheFolderThatItShows) {
  watch("link");
  EXPECT_TRUE(browser.isWatched(at("watched/sub/file.zip")));
  EXPECT_TRUE(browser.isWatched(at("link/sub/file.zip")));
  EXPECT_TRUE(hasBackgroundMenu(at("link")));
  EXPECT_FALSE(browser.isWatched(at("elsewhere/file.zip")));
}

TEST_F(SymbolicLinks, aLinkElsewhereToAWatchedFileIsNotWatchedItself) {
  fs::create_symlink(root / "watched/sub/file.zip", root / "elsewhere/link.zip");
  watch("watched");
  EXPECT_FALSE(browser.isWatched(at("elsewhere/link.zip")));
}

TEST_F(SymbolicLinks, aLinkInAWatchedFolderIsWatchedWhateverItLeadsTo) {
  fs::create_symlink(root / "elsewhere/file.zip", root / "watched/link.zip");
  fs::create_symlink(root / "nowhere", root / "watched/broken");
  watch("watched");
  EXPECT_TRUE(browser.isWatched(at("watched/link.zip")));
  EXPECT_TRUE(browser.isWatched(at("watched/broken")));
}

TEST_F(SymbolicLinks, oneFolderShownOnTwoWaysBeginsOnce) {
  watch("watched");
  browser.folderOpened(at("watched"));
  browser.folderOpened(at("link"));
  EXPECT_THAT(extension.take(), ElementsAre("begin " + at("watched").path()));
  browser.folderClosed(at("watched"));
  browser.folderClosed(at("link"));
  EXPECT_THAT(extension.take(), ElementsAre("end " + at("watched").path()));
}

TEST_F(SymbolicLinks, theFolderThatALinkShowsIsHandedOnInItsPlace) {
  watch("watched");
  browser.folderOpened(at("link"));
  browser.fileShown(at("link/file.zip"));
  EXPECT_TRUE(hasBackgroundMenu(at("link")));
  EXPECT_EQ(browser.targetedURL()->path(), at("watched").path());
  browser.showFoldersAgain();
  browser.folderClosed(at("link"));
  const std::string path = at("watched").path();
  EXPECT_THAT(extension.take(),
              ElementsAre("begin " + path, "badge " + path + "/file.zip", "menu 1", "begin " + path, "end " + path));
}

TEST_F(SymbolicLinks, aLinkThatLeadsElsewhereByNowIsTheFolderThatWasOpened) {
  watch("watched");
  browser.folderOpened(at("link"));
  fs::remove(root / "link");
  fs::create_directory_symlink(root / "elsewhere", root / "link");
  browser.setTargetedURL(at("link"));
  EXPECT_EQ(browser.targetedURL()->path(), at("watched").path());
}

TEST_F(SymbolicLinks, aLinkToNoFolderCannotBeOpened) {
  fs::create_symlink(root / "watched/sub/file.zip", root / "watched/link.zip");
  watch("watched");
  EXPECT_FALSE(browser.folderOpened(at("watched/link.zip")));
}

TEST_F(SymbolicLinks, aFolderMovedIntoAWatchedOneIsWatchedFromThen) {
  watch("watched");
  EXPECT_FALSE(browser.isWatched(at("elsewhere/file.zip")));
  fs::rename(root / "elsewhere", root / "watched/moved");
  EXPECT_TRUE(browser.isWatched(at("watched/moved/file.zip")));
}

TEST_F(SymbolicLinks, aWatchedFolderIsKnownAfterItWasMoved) {
  watch("watched/sub");
  fs::rename(root / "watched/sub", root / "elsewhere/sub");
  EXPECT_TRUE(browser.isWatched(at("elsewhere/sub/file.zip")));
}

}  // namespace
