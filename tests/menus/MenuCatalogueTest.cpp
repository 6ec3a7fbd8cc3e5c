#include "tests/ExtensionFixture.h"
#include "wire/Commands.h"

using platform::Menu;
using platform::MenuItem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

class MenuCatalogue : public ExtensionTest {
 protected:
  void SetUp() override {
    startBoth();
    fakes.fileManager.add("/w/file");
    fakes.fileManager.add("/w/other");
    fakes.fileManager.add("/w/a.zip");
    fakes.fileManager.add("/w/folder", platform::fake::FakeKind::directory);
    fakes.fileManager.add("/w/folder2", platform::fake::FakeKind::directory);
  }

  void target(const std::vector<std::string>& paths) {
    std::vector<platform::URL> urls;
    for (const std::string& path : paths) urls.push_back(fileURL(path));
    extension->setTargetUrls(urls);
  }
  std::vector<std::int64_t> offered() {
    std::vector<std::int64_t> tags;
    for (std::int64_t tag = 1; tag <= 10; ++tag) {
      if (extension->menuItemWithTag(tag)) tags.push_back(tag);
    }
    return tags;
  }
  static std::vector<std::pair<std::string, std::int64_t>> choicesOf(const Menu* menu, std::string_view action) {
    std::vector<std::pair<std::string, std::int64_t>> choices;
    if (!menu) return choices;
    for (const MenuItem& item : menu->items) {
      EXPECT_EQ(item.action, action);
      EXPECT_TRUE(item.isEnabled);
      EXPECT_EQ(item.image, nullptr);
      choices.emplace_back(item.title, item.tag);
    }
    return choices;
  }
};

TEST_F(MenuCatalogue, everyCommandHasItsTitleActionAndTag) {
  struct Row {
    std::int64_t tag;
    std::string title;
    std::string action;
    std::int64_t own;
    bool hasSubmenu;
  };
  const Row rows[] = {
      {1, "Permissions…", "showPermissions:", 0, false},
      {2, "Combined Permissions…", "showPermissions:", 1, false},
      {3, "Access Control List…", "showAcl:", 0, false},
      {4, "Rename…", "rename:", 0, false},
      {5, "Size Browser…", "showSizeBrowser:", 0, false},
      {6, "Checksum…", "showChecksum:", 0, true},
      {7, "Delete…", "delete:", -203, false},
      {8, "Secure Delete…", "delete:", -204, true},
      {9, "Compress", "compress:", 0, true},
  };
  target({"/w/file", "/w/other"});
  for (const Row& row : rows) {
    const auto item = extension->menuItemWithTag(row.tag);
    ASSERT_TRUE(item) << row.title;
    EXPECT_EQ(item->title, row.title);
    EXPECT_EQ(item->action, row.action);
    EXPECT_EQ(item->tag, row.own);
    EXPECT_EQ(item->submenu != nullptr, row.hasSubmenu) << row.title;
    EXPECT_TRUE(item->isEnabled);
    EXPECT_EQ(item->image, nullptr);
  }
}

TEST_F(MenuCatalogue, theSecureDeleteLevelsStandInTheirOrder) {
  target({"/w/file"});
  EXPECT_THAT(choicesOf(extension->menuItemWithTag(8)->submenu.get(), "delete:"),
              ElementsAre(Pair("Normal Delete (Insecure)", -205), Pair("Simple Security (1 pass)", -206),
                          Pair("Medium Security (7 passes)", -207), Pair("Ultra Security (35 passes)", -208)));
}

TEST_F(MenuCatalogue, theChecksumAlgorithmsStandInTheirOrder) {
  target({"/w/file"});
  EXPECT_THAT(choicesOf(extension->menuItemWithTag(6)->submenu.get(), "showChecksum:"),
              ElementsAre(Pair("MD2", 1), Pair("MD4", 2), Pair("MD5", 3), Pair("SHA-1", 4), Pair("SHA-2:224", 5),
                          Pair("SHA-2:256", 6), Pair("SHA-2:384", 7), Pair("SHA-2:512", 8)));
}

TEST_F(MenuCatalogue, theArchiveFormatsKeepTheHostsCodesWithTheirGaps) {
  target({"/w/file"});
  EXPECT_THAT(choicesOf(extension->menuItemWithTag(9)->submenu.get(), "compress:"),
              ElementsAre(Pair("ZIP", 0x10000), Pair("ZIP with Password", 0x20000), Pair("7-ZIP", 0x80000), Pair("XAR", 0x2000000),
                          Pair("TAR", 0x4000000), Pair("PAX", 0x8000000), Pair("CPIO", 0x10000000)));
}

TEST_F(MenuCatalogue, onlyTarPaxAndCpioOfferCompressionsWhoseTagsJoinFlagAndFormat) {
  target({"/w/file"});
  const auto compress = extension->menuItemWithTag(9);
  for (const MenuItem& format : compress->submenu->items) {
    const auto choices = choicesOf(format.submenu.get(), "compress:");
    if (format.title != "TAR" && format.title != "PAX" && format.title != "CPIO") {
      EXPECT_THAT(choices, IsEmpty()) << format.title;
      continue;
    }
    EXPECT_THAT(choices, ElementsAre(Pair("None", format.tag + 1), Pair("GZIP", format.tag + 2), Pair("BZIP2", format.tag + 4),
                                     Pair("XZ", format.tag + 8), Pair("UNIX", format.tag + 16)));
  }
}

TEST_F(MenuCatalogue, oneRegularFileIsOfferedAllButTheCommandsForSeveralAndForFolders) {
  target({"/w/file"});
  EXPECT_THAT(offered(), ElementsAre(1, 3, 4, 6, 7, 8, 9));
}

TEST_F(MenuCatalogue, oneFolderIsOfferedTheSizeBrowserAndNoChecksum) {
  target({"/w/folder"});
  EXPECT_THAT(offered(), ElementsAre(1, 3, 4, 5, 7, 8, 9));
}

TEST_F(MenuCatalogue, twoFoldersAreOfferedCombinedPermissionsAndNoChecksum) {
  target({"/w/folder", "/w/folder2"});
  EXPECT_THAT(offered(), ElementsAre(1, 2, 3, 4, 5, 7, 8, 9));
}

TEST_F(MenuCatalogue, aFolderAndAFileAreOfferedAllButTheArchive) {
  target({"/w/folder", "/w/file"});
  EXPECT_THAT(offered(), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST_F(MenuCatalogue, withoutTargetsTheCommandsThatLookAtThemAreLeftOut) {
  target({});
  EXPECT_THAT(offered(), ElementsAre(1, 3, 4, 7, 8, 9));
  extension->setTargetUrls(std::nullopt);
  EXPECT_THAT(offered(), ElementsAre(1, 3, 4, 7, 8, 9));
}

TEST_F(MenuCatalogue, withSeveralTargetsTheSizeBrowserAsksNothingOfThem) {
  target({"/w/folder", "/w/file"});
  const auto before = fakes.fileManager.propertyReads;
  EXPECT_TRUE(extension->menuItemWithTag(5));
  EXPECT_EQ(fakes.fileManager.propertyReads, before);
}

TEST_F(MenuCatalogue, theChecksumStopsAtTheFirstTargetThatIsNoFolder) {
  target({"/w/folder", "/w/file", "/w/other"});
  const auto before = fakes.fileManager.propertyReads;
  EXPECT_TRUE(extension->menuItemWithTag(6));
  EXPECT_EQ(fakes.fileManager.propertyReads, before + 2);
}

TEST_F(MenuCatalogue, aTargetThatCannotBeReadCountsAsNoFolder) {
  target({"/w/gone"});
  EXPECT_THAT(offered(), ElementsAre(1, 3, 4, 6, 7, 8, 9));
}

TEST_F(MenuCatalogue, anUnknownTagGivesNothingAndNoLogLine) {
  target({"/w/file"});
  const auto beyond = static_cast<std::int64_t>(wire::commands.size()) + 1;
  for (const std::int64_t tag : {std::int64_t{0}, beyond, std::int64_t{-1}, INT64_MAX, INT64_MIN}) {
    EXPECT_FALSE(extension->menuItemWithTag(tag));
  }
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(MenuCatalogue, itemsAreNewAtEachCall) {
  target({"/w/file"});
  EXPECT_NE(extension->menuItemWithTag(1), extension->menuItemWithTag(1));
}

TEST_F(MenuCatalogue, theArchiveItemAppearsWithItsTreeAndIsBuiltOnce) {
  target({"/w/a.zip"});
  EXPECT_FALSE(extension->menuItemWithTag(10));
  extension->requestBadgeIdentifierForURL(fileURL("/w/a.zip"));
  ASSERT_TRUE(isMarked("/w/a.zip"));
  EXPECT_FALSE(extension->menuItemWithTag(10)) << "the null marker is no tree";
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  const auto item = extension->menuItemWithTag(10);
  ASSERT_TRUE(item);
  EXPECT_EQ(item->title, "a.zip");
  EXPECT_EQ(item->action, "expand:");
  EXPECT_EQ(item->tag, 0);
  EXPECT_EQ(extension->menuItemWithTag(10), item);
  target({"/w/a.zip", "/w/file"});
  EXPECT_FALSE(extension->menuItemWithTag(10));
}

TEST_F(MenuCatalogue, anArchiveWithoutAnIdentityGivesNoItem) {
  target({"/w/a.zip"});
  receiveArchive("/w/a.zip", archive("a.zip"));
  fakes.fileManager.remove("/w/a.zip");
  EXPECT_FALSE(extension->menuItemWithTag(10));
}
