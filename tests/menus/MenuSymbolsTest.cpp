#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "menus/MenuSymbols.h"
#include "platform/fake/FakeImages.h"
#include "platform/fake/FakePlatform.h"

namespace {

using DTExtension::menuSymbol;
using DTExtension::menuSymbolImage;
using DTExtension::menuSymbols;
using platform::Image;
using platform::ImageRef;
using testing::ElementsAre;

struct Row {
  const char* operation;
  const char* symbol;
  const char* fallback;
};
constexpr Row rows[] = {
    {"generalImage", "gearshape", "GeneralImage"},
    {"folderImage", "folder", "NSFolder"},
    {"archiveImage", "shippingbox", "ArchiveImage"},
    {"menuImage", "filemenu.and.cursorarrow", "MenuImage"},
    {"keyboardImage", "keyboard", "KeyboardImage"},
    {"updateImage", "arrow.triangle.2.circlepath.circle", "UpdateImage"},
    {"terminalImage", "terminal", "TerminalImage"},
    {"playImage", "play.circle.fill", "PlayImage"},
    {"pauseImage", "pause.circle.fill", "PauseImage"},
    {"stopImage", "xmark.circle.fill", "NSStopProgressFreestandingTemplate"},
    {"settingsImage", "ellipsis.circle", "NSActionTemplate"},
    {"userImage", "person.circle", "NSUser"},
    {"groupImage", "person.2.circle", "NSUserGroup"},
    {"plusImage", "plus", "NSAddTemplate"},
    {"minusImage", "minus", "NSRemoveTemplate"},
    {"checkmarkImage", "checkmark", "NSMenuOnStateTemplate"},
    {"xmarkImage", "xmark", "NSStopProgressTemplate"},
    {"alertCautionImage", "exclamationmark.triangle", "NSCaution"},
    {"backImage", "chevron.backward", "NSGoLeftTemplate"},
    {"forwardImage", "chevron.forward", "NSGoRightTemplate"},
    {"dualPaneImage", "rectangle.split.2x1", "DualPaneImage"},
    {"trashImage", "trash", "TrashImage"},
    {"rulerImage", "ruler", "RulerImage"},
    {"discImage", "opticaldisc", "DiscImage"},
    {"base10Image", "10.square", "Base10Image"},
    {"base2Image", "2.square", "Base2Image"},
    {"swapImage", "arrow.left.arrow.right", "SwapImage"},
};

bool isPortrait(const Row& row) { return row.operation == std::string("userImage") || row.operation == std::string("groupImage"); }

// Gives every image with the template flag that the test asks for, and notes which text it was asked with.
class FlaggedImages final : public platform::Workspace {
 public:
  bool areTemplates = false;
  const char* lastName = nullptr;

  ImageRef imageNamed(std::string_view name) override {
    lastName = name.data();
    return std::make_shared<Image>(Image{.size = {16, 16},
                                         .representations = {{{16, 16}, std::string(name), {}}},
                                         .isTemplate = areTemplates,
                                         .name = std::string(name)});
  }
  ImageRef iconForFileType(std::string_view) override { return imageNamed("icon"); }
};

class MenuSymbols : public testing::Test {
 protected:
  ImageRef image(const char* operation) { return menuSymbolImage(*menuSymbol(operation), sources); }

  platform::fake::CallLog calls;
  platform::fake::FakeWorkspace workspace{calls};
  platform::fake::FakeSymbolImages symbolImages{calls};
  platform::fake::FakeGraphics graphics{calls};
  platform::fake::FakeProcessInfo processInfo;
  DTExtension::MenuSymbolSources sources{workspace, symbolImages, graphics, processInfo};
};

TEST_F(MenuSymbols, theCatalogueHoldsTheseEntriesInThisOrder) {
  ASSERT_EQ(menuSymbols().size(), std::size(rows));
  for (std::size_t i = 0; i < std::size(rows); ++i) {
    EXPECT_EQ(menuSymbols()[i].operation, rows[i].operation);
    EXPECT_EQ(menuSymbols()[i].symbol, rows[i].symbol);
    EXPECT_EQ(menuSymbols()[i].fallback, rows[i].fallback);
    EXPECT_EQ(menuSymbol(rows[i].operation), &menuSymbols()[i]);
  }
  EXPECT_EQ(menuSymbol("noImage"), nullptr);
}

TEST_F(MenuSymbols, everyEntryIsItsSymbolFromVersion11On) {
  for (const platform::OperatingSystemVersion version :
       {platform::OperatingSystemVersion{11, 0, 0}, {11, 0, 1}, {11, 7, 10}, {12, 0, 0}, {26, 1, 0}}) {
    processInfo.version = version;
    for (const Row& row : rows) {
      const ImageRef symbol = image(row.operation);
      EXPECT_EQ(symbol->representations.front().source, std::string("symbol ") + row.symbol);
      const auto made = calls.take();
      ASSERT_EQ(made.size(), isPortrait(row) ? 2u : 1u) << row.operation;
      EXPECT_EQ(made.front(), std::string("symbol ") + row.symbol);
    }
  }
}

TEST_F(MenuSymbols, everyEntryIsItsFallbackOnAnEarlierSystem) {
  for (const platform::OperatingSystemVersion version :
       {platform::OperatingSystemVersion{10, 15, 0}, {10, 15, 7}, {10, 99, 99}, {0, 0, 0}}) {
    processInfo.version = version;
    for (const Row& row : rows) {
      const ImageRef fallback = image(row.operation);
      const auto made = calls.take();
      EXPECT_EQ(made.front(), std::string("image named ") + row.fallback);
      EXPECT_EQ(made.size(), isPortrait(row) ? 6u : 1u) << row.operation;
      EXPECT_EQ(fallback->representations.front().source, isPortrait(row) ? "drawn" : std::string("named ") + row.fallback);
    }
  }
}

TEST_F(MenuSymbols, stopIsTheFilledCrossInACircleAndXmarkTheBareOne) {
  image("stopImage");
  image("xmarkImage");
  EXPECT_THAT(calls.take(), ElementsAre("symbol xmark.circle.fill", "symbol xmark"));
  processInfo.version = {10, 15, 0};
  image("stopImage");
  image("xmarkImage");
  EXPECT_THAT(calls.take(), ElementsAre("image named NSStopProgressFreestandingTemplate", "image named NSStopProgressTemplate"));
}

TEST_F(MenuSymbols, onlyPeopleAreConfiguredAt13PointsRegularAndLarge) {
  const platform::SymbolConfiguration expected{13.0, platform::FontWeightRegular, platform::SymbolScale::large};
  for (const Row& row : rows) {
    const ImageRef symbol = image(row.operation);
    EXPECT_EQ(symbol->symbolConfiguration.has_value(), isPortrait(row)) << row.operation;
    if (isPortrait(row)) {
      EXPECT_EQ(symbol->symbolConfiguration, expected);
    }
  }
  calls.take();
  image("userImage");
  image("groupImage");
  EXPECT_THAT(calls.take(),
              ElementsAre("symbol person.circle", "configure symbol person.circle point size 13 weight 0 scale 3",
                          "symbol person.2.circle", "configure symbol person.2.circle point size 13 weight 0 scale 3"));
}

TEST_F(MenuSymbols, peopleOfAnEarlierSystemAreCutToACircleAndBecomeTemplates) {
  processInfo.version = {10, 15, 0};
  FlaggedImages flagged;
  const DTExtension::MenuSymbolSources earlier{flagged, symbolImages, graphics, processInfo};
  for (const char* operation : {"userImage", "groupImage"}) {
    const ImageRef portrait = menuSymbolImage(*menuSymbol(operation), earlier);
    EXPECT_TRUE(portrait->isTemplate);
    EXPECT_EQ(portrait->size, (platform::Size{16, 16}));
    EXPECT_FALSE(portrait->symbolConfiguration.has_value());
    EXPECT_THAT(calls.take(), ElementsAre("lock focus on 16x16", "interpolation 3", "clip to oval 0,0 16x16 rule 1",
                                          "draw " + std::string(menuSymbol(operation)->fallback) +
                                              " from 0,0 16x16 in 0,0 16x16 operation 2 at 1",
                                          "unlock focus"));
  }
}

TEST_F(MenuSymbols, noOtherEntrySetsOrClearsTheTemplateFlag) {
  FlaggedImages flagged;
  const DTExtension::MenuSymbolSources both{flagged, symbolImages, graphics, processInfo};
  for (const bool areTemplates : {false, true}) {
    flagged.areTemplates = symbolImages.areTemplates = areTemplates;
    for (const Row& row : rows) {
      processInfo.version = {11, 0, 0};
      EXPECT_EQ(menuSymbolImage(*menuSymbol(row.operation), both)->isTemplate, areTemplates) << row.operation;
      processInfo.version = {10, 15, 0};
      EXPECT_EQ(menuSymbolImage(*menuSymbol(row.operation), both)->isTemplate, areTemplates || isPortrait(row)) << row.operation;
    }
  }
}

TEST_F(MenuSymbols, theFolderIsAskedForByTheConstantItself) {
  processInfo.version = {10, 15, 0};
  FlaggedImages flagged;
  menuSymbolImage(*menuSymbol("folderImage"), {flagged, symbolImages, graphics, processInfo});
  EXPECT_EQ(flagged.lastName, static_cast<const char*>(platform::ImageNameFolder));
}

TEST_F(MenuSymbols, anImageThatThePlatformLacksIsNull) {
  workspace.hasImages = false;
  for (const Row& row : rows) symbolImages.unknownNames.insert(row.symbol);
  for (const Row& row : rows) {
    processInfo.version = {11, 0, 0};
    EXPECT_EQ(image(row.operation), nullptr);
    processInfo.version = {10, 15, 0};
    EXPECT_EQ(image(row.operation), nullptr);
  }
}

TEST_F(MenuSymbols, aWideImageIsRoundedFromItsMiddleColumns) {
  const Image wide{.size = {32, 16}, .representations = {{{32, 16}, "wide", {}}}, .name = {}};
  EXPECT_EQ(DTExtension::roundedImage(wide, graphics)->size, (platform::Size{16, 16}));
  EXPECT_THAT(calls.take(), ElementsAre("lock focus on 16x16", "interpolation 3", "clip to oval 0,0 16x16 rule 1",
                                        "draw wide from 8,0 16x16 in 0,0 16x16 operation 2 at 1", "unlock focus"));
}

TEST_F(MenuSymbols, aTallImageIsRoundedFromItsMiddleRows) {
  const Image tall{.size = {15, 32}, .representations = {{{15, 32}, "tall", {}}}, .name = {}};
  EXPECT_EQ(DTExtension::roundedImage(tall, graphics)->size, (platform::Size{15, 15}));
  EXPECT_THAT(calls.take(), ElementsAre("lock focus on 15x15", "interpolation 3", "clip to oval 0,0 15x15 rule 1",
                                        "draw tall from 0,8.5 15x15 in 0,0 15x15 operation 2 at 1", "unlock focus"));
}

TEST_F(MenuSymbols, roundingLeavesTheReceiverAsItWas) {
  const Image receiver{.size = {4, 4}, .representations = {{{4, 4}, "it", {}}}, .isTemplate = true, .name = "it"};
  const ImageRef rounded = DTExtension::roundedImage(receiver, graphics);
  EXPECT_TRUE(receiver.isTemplate);
  EXPECT_FALSE(rounded->isTemplate);
  EXPECT_EQ(rounded->name, "");
}

}  // namespace
