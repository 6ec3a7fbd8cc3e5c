// Our own drawings as they lie in the build folder: all there, one hand, each drawn.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>

#include "menus/MenuSymbols.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/images/Graphics.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/processes/ProcessInfo.h"

namespace {

using platform::Image;
using platform::ImageRef;
using platform::native::LinuxProcessInfo;
using platform::native::LinuxWorkspace;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class OwnImages : public testing::Test {
 protected:
  std::vector<std::uint8_t> pixels(const Image& image, double side = 16) {
    const auto context = graphics.lockFocus({side, side});
    context->drawImage(image, {{0, 0}, {side, side}}, {{0, 0}, image.size}, platform::CompositingOperation::sourceOver, 1);
    return context->unlockFocus()->representations.at(0).bitmap->bytes;
  }

  platform::fake::FakeLog log;
  // No theme at all: what is found is our own.
  LinuxWorkspace workspace{log, {"none", std::vector<std::string>{}, std::nullopt}};
  platform::native::LinuxGraphics graphics;
};

TEST_F(OwnImages, drawEveryEntryOfTheCatalogueInBothBranchesWithoutATheme) {
  LinuxProcessInfo current("11.0.0");
  LinuxProcessInfo earlier("10.15.7");
  std::set<std::vector<std::uint8_t>> symbols;
  for (const DTExtension::MenuSymbol& entry : DTExtension::menuSymbols()) {
    const ImageRef symbol = menuSymbolImage(entry, {workspace, workspace, graphics, current});
    const ImageRef fallback = menuSymbolImage(entry, {workspace, workspace, graphics, earlier});
    EXPECT_TRUE(symbols.insert(pixels(*symbol)).second) << entry.operation << " looks like another symbol";
    EXPECT_THAT(pixels(*fallback), testing::Contains(testing::Gt(200))) << entry.operation;
    EXPECT_NE(pixels(*symbol), std::vector<std::uint8_t>(16 * 16 * 4)) << entry.operation;
  }
  EXPECT_EQ(symbols.size(), 27u);
  EXPECT_THAT(log.lines, IsEmpty());
}

TEST_F(OwnImages, areAllThereForTheResourcesAndTheButton) {
  for (const char* name :
       {"GeneralImage", "ArchiveImage", "MenuImage", "KeyboardImage", "UpdateImage", "TerminalImage", "PlayImage", "PauseImage",
        "DualPaneImage", "TrashImage", "RulerImage", "DiscImage", "Base10Image", "Base2Image", "SwapImage", "StatusItemImage"}) {
    const ImageRef image = workspace.imageNamed(name);
    ASSERT_NE(image, nullptr) << name;
    EXPECT_EQ(image->name, name);
    EXPECT_TRUE(image->isTemplate) << name;
    EXPECT_TRUE(std::filesystem::exists(image->representations.at(0).file)) << name;
  }
}

TEST_F(OwnImages, haveAnApplicationIconWithADrawingFor16Points) {
  const ImageRef icon = workspace.imageNamed(platform::ImageNameApplicationIcon);
  ASSERT_EQ(icon->representations.size(), 2u);
  const platform::ImageRepresentation* small = icon->bestRepresentationForRect({16, 16});
  EXPECT_EQ(small->size, (platform::Size{16, 16}));
  EXPECT_EQ(small->source, "dovetail-sync");
  EXPECT_THAT(small->file, HasSubstr("/16x16/apps/"));
  EXPECT_FALSE(icon->isTemplate);
}

TEST_F(OwnImages, standInForTheFolderAndTheFileThatAThemeLacks) {
  EXPECT_EQ(workspace.imageNamed(platform::ImageNameFolder)->representations.at(0).source, "dovetail-generic-folder");
  EXPECT_EQ(workspace.iconForFileType("")->representations.at(0).source, "dovetail-generic-file");
}

TEST_F(OwnImages, areNullForAnUnknownName) {
  for (const char* name : {"", "NoImage", "../StatusItemImage", "a/b", ".", "generalimage"}) {
    EXPECT_EQ(workspace.imageNamed(name), nullptr) << name;
    EXPECT_EQ(workspace.imageWithSystemSymbolName(name), nullptr) << name;
  }
}

TEST_F(OwnImages, asSymbolsGrowWithTheirConfiguration) {
  const ImageRef symbol = workspace.imageWithSystemSymbolName("person.circle");
  EXPECT_EQ(symbol->size, (platform::Size{16, 16}));
  EXPECT_FALSE(symbol->symbolConfiguration.has_value());
  const ImageRef large = workspace.imageWithSymbolConfiguration(*symbol, {13, 0, platform::SymbolScale::large});
  EXPECT_EQ(large->size, (platform::Size{20, 20}));
  EXPECT_EQ(large->bestRepresentationForRect({16, 16})->size, (platform::Size{20, 20}));
  EXPECT_TRUE(large->isTemplate);
  EXPECT_EQ(workspace.imageWithSymbolConfiguration(*symbol, {26, 0, platform::SymbolScale::medium})->size,
            (platform::Size{32, 32}));
  EXPECT_FALSE(symbol->symbolConfiguration.has_value());
}

TEST_F(OwnImages, canBeRecolouredByAnyToolkit) {
  const std::filesystem::path folder = platform::native::ownIconFolder() + "/hicolor/scalable/actions";
  int count = 0;
  for (const auto& file : std::filesystem::directory_iterator(folder)) {
    ++count;
    std::ifstream stream(file.path());
    const std::string text{std::istreambuf_iterator<char>(stream), {}};
    EXPECT_THAT(file.path().filename().string(), testing::MatchesRegex("dovetail-[a-z0-9-]+-symbolic.svg"));
    EXPECT_THAT(text, HasSubstr(R"(width="16" height="16" viewBox="0 0 16 16")"));
    // Toolkits set the fill of paths, or the colour of a class; an outline drawn as a stroke would be lost.
    EXPECT_THAT(text, HasSubstr(R"(class="ColorScheme-Text" fill="currentColor")")) << file.path();
    EXPECT_THAT(text, Not(HasSubstr("stroke"))) << file.path();
  }
  EXPECT_EQ(count,
            27 + 15 + 1 + 2);  // symbols, resources, the button's image, the two people of an earlier system
}

TEST_F(OwnImages, takeTheSymbolBranchUnlessTheBuildSaysOtherwise) {
  EXPECT_TRUE(LinuxProcessInfo().isOperatingSystemAtLeastVersion({11, 0, 0}));
  EXPECT_FALSE(LinuxProcessInfo("10.15.7").isOperatingSystemAtLeastVersion({11, 0, 0}));
  EXPECT_TRUE(LinuxProcessInfo("11").isOperatingSystemAtLeastVersion({11, 0, 0}));
  EXPECT_FALSE(LinuxProcessInfo("11.0").isOperatingSystemAtLeastVersion({11, 0, 1}));
  EXPECT_FALSE(LinuxProcessInfo("").isOperatingSystemAtLeastVersion({0, 0, 1}));
}

}  // namespace
