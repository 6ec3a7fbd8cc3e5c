// Icons of file types from themes that the test lays out itself, and from broken ones.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/images/Workspace.h"
#include "tests/platform/images/ThemeFolder.h"

namespace {

using platform::Image;
using platform::ImageRef;
using platform::native::LinuxWorkspace;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

class LinuxWorkspaceIcons : public testing::Test {
 protected:
  LinuxWorkspaceIcons() {
    themes.theme("mine", "parent", {{"16/types", "Size=16"}, {"32/types", "Size=32\nType=Fixed"}});
    themes.theme("parent", "", {{"16/types", "Size=16"}});
    themes.theme("hicolor", "", {{"16/types", "Size=16"}});
  }

  LinuxWorkspace& workspace(const std::string& theme = "mine") {
    if (!workspace_) {
      workspace_ = std::make_unique<LinuxWorkspace>(
          log, LinuxWorkspace::Sources{theme, std::vector{themes.path()}, platform::native::ownIconFolder()});
    }
    return *workspace_;
  }

  // The drawing that a 16-point place gets.
  std::string source(const ImageRef& image) { return image->bestRepresentationForRect({16, 16})->source; }
  std::string file(const ImageRef& image) {
    return std::filesystem::relative(image->bestRepresentationForRect({16, 16})->file, themes.path());
  }

  void expectGenericWithOneLine(const std::string& extension = "zip") {
    EXPECT_EQ(source(workspace().iconForFileType(extension)), "dovetail-generic-file");
    EXPECT_THAT(log.lines, SizeIs(1));
    EXPECT_EQ(source(workspace().iconForFileType(extension)), "dovetail-generic-file");
    EXPECT_THAT(log.lines, SizeIs(1));
  }

  ThemeFolder themes;
  platform::fake::FakeLog log;

 private:
  std::unique_ptr<LinuxWorkspace> workspace_;
};

TEST_F(LinuxWorkspaceIcons, areFoundByExtensionThroughTheMIMEDatabase) {
  themes.png("mine/16/types/application-zip.png");
  themes.png("mine/16/types/package-x-generic.png");
  themes.png("mine/16/types/text-x-generic.png");
  EXPECT_EQ(source(workspace().iconForFileType("zip")), "application-zip");
  EXPECT_EQ(source(workspace().iconForFileType("ZIP")), "application-zip");
  EXPECT_EQ(source(workspace().iconForFileType("7z")), "package-x-generic");
  EXPECT_EQ(source(workspace().iconForFileType("txt")), "text-x-generic");
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(LinuxWorkspaceIcons, holdEverySizeOfTheThemeSmallestFirst) {
  themes.png("mine/32/types/application-zip.png", 32);
  themes.svg("mine/16/types/application-zip.svg");
  const ImageRef icon = workspace().iconForFileType("zip");
  ASSERT_THAT(icon->representations, SizeIs(2));
  EXPECT_EQ(icon->representations[0].size, (platform::Size{16, 16}));
  EXPECT_EQ(icon->representations[0].file, themes.path() + "/mine/16/types/application-zip.svg");
  EXPECT_EQ(icon->representations[1].size, (platform::Size{32, 32}));
  EXPECT_EQ(icon->size, (platform::Size{32, 32}));
}

TEST_F(LinuxWorkspaceIcons, comeFromTheThemeItInheritsFromThenFromHicolor) {
  themes.png("parent/16/types/application-zip.png");
  themes.png("hicolor/16/types/application-zip.png");
  themes.png("hicolor/16/types/audio-mpeg.png");
  EXPECT_EQ(file(workspace().iconForFileType("zip")), "parent/16/types/application-zip.png");
  EXPECT_EQ(file(workspace().iconForFileType("mp3")), "hicolor/16/types/audio-mpeg.png");
}

TEST_F(LinuxWorkspaceIcons, preferTheThemesGenericDrawingToTheSpecificOneOfItsParent) {
  themes.png("mine/16/types/package-x-generic.png");
  themes.png("parent/16/types/application-zip.png");
  EXPECT_EQ(file(workspace().iconForFileType("zip")), "mine/16/types/package-x-generic.png");
}

TEST_F(LinuxWorkspaceIcons, areSoughtDepthFirstThroughSeveralParents) {
  themes.theme("mine", "left,right", {});
  themes.theme("left", "deep", {});
  themes.theme("deep", "mine, left", {{"16/types", "Size=16"}});  // a circle, met once
  themes.theme("right", "", {{"16/types", "Size=16"}});
  themes.png("right/16/types/application-zip.png");
  themes.png("right/16/types/audio-mpeg.png");
  themes.png("deep/16/types/application-zip.png");
  EXPECT_EQ(file(workspace().iconForFileType("zip")), "deep/16/types/application-zip.png");
  EXPECT_EQ(file(workspace().iconForFileType("mp3")), "right/16/types/audio-mpeg.png");
}

TEST_F(LinuxWorkspaceIcons, comeFromAdwaitaWhenTheThemeIsNotInstalled) {
  themes.theme("Adwaita", "", {{"16/types", "Size=16"}});
  themes.png("Adwaita/16/types/application-zip.png");
  EXPECT_EQ(file(workspace("missing").iconForFileType("zip")), "Adwaita/16/types/application-zip.png");
}

TEST_F(LinuxWorkspaceIcons, ofHicolorAloneAreNotThoseOfAdwaita) {
  themes.theme("Adwaita", "", {{"16/types", "Size=16"}});
  themes.png("Adwaita/16/types/application-zip.png");
  EXPECT_EQ(source(workspace("hicolor").iconForFileType("zip")), "dovetail-generic-file");
}

TEST_F(LinuxWorkspaceIcons, leaveOutDoubleResolutionAndFoldersOutsideTheTheme) {
  themes.theme("mine", "",
               {{"16@2/types", "Size=16\nScale=2"},
                {"../parent/16/types", "Size=16"},
                {"none/types", "Size=0"},
                {"sizeless/types", "Type=Fixed"}});
  for (const char* folder : {"16@2", "none", "sizeless"}) {
    themes.png(std::string("mine/") + folder + "/types/application-zip.png");
  }
  themes.png("parent/16/types/application-zip.png");
  EXPECT_EQ(source(workspace().iconForFileType("zip")), "dovetail-generic-file");
}

TEST_F(LinuxWorkspaceIcons, ofTheEmptyExtensionAreThoseOfAnUnknownType) {
  themes.png("mine/16/types/application-x-generic.png");
  EXPECT_EQ(source(workspace().iconForFileType("")), "application-x-generic");
  EXPECT_EQ(source(workspace().iconForFileType("no-such-type")), "application-x-generic");
  EXPECT_EQ(source(workspace().iconForFileType("\xff\xfe")), "application-x-generic");
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(LinuxWorkspaceIcons, ofAThemeWithoutAnyAreOurGenericDrawing) {
  EXPECT_EQ(source(workspace().iconForFileType("")), "dovetail-generic-file");
  EXPECT_THAT(log.lines, IsEmpty());
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areNeverNullEvenWithoutOurOwnDrawings) {
  LinuxWorkspace bare(log, {"none", std::vector<std::string>{}, themes.path() + "/nothing"});
  for (const char* extension : {"zip", "", "a/b"}) {
    const ImageRef icon = bare.iconForFileType(extension);
    ASSERT_NE(icon, nullptr);
    EXPECT_EQ(source(icon), "dovetail-generic-file");
    EXPECT_EQ(icon->bestRepresentationForRect({16, 16})->file, "");
  }
}

TEST_F(LinuxWorkspaceIcons, ofNamesWithSlashesOrDotsAreGenericWithOneLine) {
  themes.png("mine/16/types/application-zip.png");
  for (const char* extension : {"../zip", "a/zip", "/", ".", "..", "x.zip", "zip/"}) {
    EXPECT_EQ(source(workspace().iconForFileType(extension)), "dovetail-generic-file") << extension;
  }
  EXPECT_EQ(source(workspace().iconForFileType(std::string_view("zip\0zip", 7))), "dovetail-generic-file");
  EXPECT_EQ(source(workspace().iconForFileType(std::string(1 << 20, 'z'))), "dovetail-generic-file");
  EXPECT_THAT(log.lines, ElementsAre(HasSubstr("slash")));
}

TEST_F(LinuxWorkspaceIcons, areLookedForOnceInTheLifeOfAProcess) {
  const std::string drawing = themes.png("mine/16/types/application-zip.png");
  const ImageRef first = workspace().iconForFileType("zip");
  std::filesystem::remove(drawing);
  EXPECT_EQ(workspace().iconForFileType("zip"), first);
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(LinuxWorkspaceIcons, thatAreMissingAreNotLookedForAgainEither) {
  expectGenericWithOneLine();
  themes.png("mine/16/types/application-zip.png");
  EXPECT_EQ(source(workspace().iconForFileType("zip")), "dovetail-generic-file");
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenThePNGIsTruncated) {
  for (const char* size : {"16", "32"}) {
    const std::string drawing = themes.png(std::string("mine/") + size + "/types/application-zip.png", 64);
    std::filesystem::resize_file(drawing, std::filesystem::file_size(drawing) - 5);
  }
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheSVGIsTruncated) {
  const std::string drawing = themes.svg("mine/16/types/application-zip.svg");
  std::filesystem::resize_file(drawing, std::filesystem::file_size(drawing) - 3);
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheFileIsHuge) {
  std::filesystem::resize_file(themes.png("mine/16/types/application-zip.png"), std::uintmax_t{1} << 40);
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenThePNGHasTooManyPixels) {
  const std::string drawing = themes.png("mine/16/types/application-zip.png");
  std::fstream(drawing, std::ios::in | std::ios::out | std::ios::binary).seekp(16).write("\x00\x10\x00\x00", 4);
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheSVGIsTooLarge) {
  themes.svg("mine/16/types/application-zip.svg", R"(width="1000000" height="1000000")");
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheFileIsNoImage) {
  themes.write("mine/16/types/application-zip.png", "GIF89a");
  themes.write("mine/16/types/application-zip.svg", "");
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheFileIsAPipeOrAFolder) {
  std::filesystem::create_directories(themes.path() + "/mine/32/types/application-zip.png");
  std::filesystem::create_directories(themes.path() + "/mine/16/types");
  ASSERT_EQ(mkfifo((themes.path() + "/mine/16/types/application-zip.png").c_str(), 0600), 0);
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, useTheGoodDrawingBesideABrokenOne) {
  themes.write("mine/16/types/application-zip.png", "broken");
  themes.svg("mine/16/types/application-zip.svg");
  EXPECT_EQ(file(workspace().iconForFileType("zip")), "mine/16/types/application-zip.svg");
  EXPECT_THAT(log.lines, SizeIs(1));
}

TEST_F(LinuxWorkspaceIcons, areGenericWithOneLineWhenTheThemesFolderVanishes) {
  themes.png("mine/16/types/application-zip.png");
  themes.png("mine/16/types/text-plain.png");
  workspace().iconForFileType("txt");
  std::filesystem::remove_all(themes.path());
  expectGenericWithOneLine();
}

TEST_F(LinuxWorkspaceIcons, survivesAGarbledOrHugeDescription) {
  themes.write("mine/index.theme", std::string("\xff[[\0Directories", 14));
  std::filesystem::resize_file(themes.write("Adwaita/index.theme", "[Icon Theme]\n"), std::uintmax_t{1} << 40);
  themes.png("hicolor/16/types/application-zip.png");
  EXPECT_EQ(file(workspace().iconForFileType("zip")), "hicolor/16/types/application-zip.png");
}

TEST_F(LinuxWorkspaceIcons, ofAThemeNameThatIsNoNameAreThoseOfHicolor) {
  themes.png("hicolor/16/types/application-zip.png");
  EXPECT_EQ(file(workspace("../mine").iconForFileType("zip")), "hicolor/16/types/application-zip.png");
}

TEST_F(LinuxWorkspaceIcons, ofTheFolderAreByNameAndOfTheSameTextAsAFileType) {
  themes.png("mine/16/types/folder.png");
  themes.png("mine/16/types/application-x-generic.png");
  EXPECT_EQ(source(workspace().imageNamed(platform::ImageNameFolder)), "folder");
  EXPECT_EQ(source(workspace().iconForFileType("NSFolder")), "application-x-generic");
}

TEST_F(LinuxWorkspaceIcons, areReallyDrawnFromTheirFile) {
  themes.png("mine/16/types/application-zip.png");
  platform::native::LinuxGraphics graphics;
  const auto context = graphics.lockFocus({16, 16});
  const ImageRef icon = workspace().iconForFileType("zip");
  context->drawImage(*icon, {{0, 0}, {16, 16}}, {{0, 0}, icon->size}, platform::CompositingOperation::sourceOver, 1);
  EXPECT_THAT(context->unlockFocus()->representations[0].bitmap->bytes, testing::Each(200));
}

}  // namespace
