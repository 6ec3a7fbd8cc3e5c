// What every backend's images keep to: the fakes and Linux alike.
#include <gtest/gtest.h>

#include <memory>

#include "platform/fake/FakeImages.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/images/Graphics.h"
#include "platform/linux/images/Workspace.h"
#include "platform/linux/processes/ProcessInfo.h"

namespace {

using platform::Image;
using platform::ImageRef;

struct FakeImages {
  platform::fake::CallLog calls;
  platform::fake::FakeWorkspace workspace{calls};
  platform::fake::FakeSymbolImages symbolImages{calls};
  platform::fake::FakeGraphics graphics{calls};
  platform::fake::FakeProcessInfo processInfo;
};

struct LinuxImages {
  platform::fake::FakeLog log;
  platform::native::LinuxWorkspace workspace{log};
  platform::native::LinuxWorkspace& symbolImages = workspace;
  platform::native::LinuxGraphics graphics;
  platform::native::LinuxProcessInfo processInfo{"11.0.0"};
};

template <typename Backend>
class ImagesContract : public testing::Test {
 protected:
  Backend backend;
  platform::Workspace& workspace = backend.workspace;
  platform::SymbolImages& symbolImages = backend.symbolImages;
  platform::Graphics& graphics = backend.graphics;
  platform::ProcessInfo& processInfo = backend.processInfo;
};
using Backends = testing::Types<FakeImages, LinuxImages>;
TYPED_TEST_SUITE(ImagesContract, Backends);

TYPED_TEST(ImagesContract, everyFileTypeHasAnIconThatFits16Points) {
  for (const char* extension : {"zip", "txt", "", "NSFolder", "no-such-type", "\xff", "a/b", "x.zip", ".."}) {
    const ImageRef icon = this->workspace.iconForFileType(extension);
    ASSERT_NE(icon, nullptr) << extension;
    ASSERT_NE(icon->bestRepresentationForRect({16, 16}), nullptr) << extension;
    EXPECT_NE(icon->bestRepresentationForRect({16, 16})->source, "") << extension;
  }
}

TYPED_TEST(ImagesContract, theStandardImagesOfTheMenusAreThere) {
  for (const char* name : {platform::ImageNameFolder, platform::ImageNameApplicationIcon}) {
    const ImageRef image = this->workspace.imageNamed(name);
    ASSERT_NE(image, nullptr);
    EXPECT_GE(image->bestRepresentationForRect({16, 16})->size.width, 16);
  }
}

TYPED_TEST(ImagesContract, aSymbolComesWithoutAConfigurationAndAnUnknownOneIsNull) {
  const ImageRef symbol = this->symbolImages.imageWithSystemSymbolName("person.circle");
  ASSERT_NE(symbol, nullptr);
  EXPECT_FALSE(symbol->symbolConfiguration.has_value());
  EXPECT_EQ(this->symbolImages.imageWithSystemSymbolName("no symbol"), nullptr);
  EXPECT_EQ(this->symbolImages.imageWithSystemSymbolName(""), nullptr);
}

TYPED_TEST(ImagesContract, aConfigurationMakesANewImageOfTheSameSymbol) {
  const platform::SymbolConfiguration configuration{13, platform::FontWeightRegular, platform::SymbolScale::large};
  const ImageRef symbol = this->symbolImages.imageWithSystemSymbolName("person.circle");
  const ImageRef configured = this->symbolImages.imageWithSymbolConfiguration(*symbol, configuration);
  EXPECT_EQ(configured->symbolConfiguration, configuration);
  EXPECT_EQ(configured->isTemplate, symbol->isTemplate);
  EXPECT_EQ(configured->representations.at(0).source, symbol->representations.at(0).source);
  EXPECT_FALSE(symbol->symbolConfiguration.has_value());
}

TYPED_TEST(ImagesContract, aDrawingHasTheSizeThatWasAskedForAndOneRepresentation) {
  const auto context = this->graphics.lockFocus({20, 10});
  context->setImageInterpolation(platform::ImageInterpolation::high);
  context->addClip(platform::BezierPath::bezierPathWithOvalInRect({{0, 0}, {20, 10}}));
  context->drawImage(Image{}, {{0, 0}, {20, 10}}, {{0, 0}, {20, 10}}, platform::CompositingOperation::sourceOver, 1);
  const ImageRef image = context->unlockFocus();
  EXPECT_EQ(image->size, (platform::Size{20, 10}));
  ASSERT_EQ(image->representations.size(), 1u);
  EXPECT_EQ(image->representations[0].size, image->size);
  EXPECT_FALSE(image->isTemplate);
}

TYPED_TEST(ImagesContract, anEmptyDrawingHasNoRepresentation) {
  const auto context = this->graphics.lockFocus({0, 0});
  context->addClip(platform::BezierPath::bezierPathWithOvalInRect({}));
  context->drawImage(Image{}, {}, {}, platform::CompositingOperation::sourceOver, 1);
  EXPECT_TRUE(context->unlockFocus()->representations.empty());
}

TYPED_TEST(ImagesContract, theRunningVersionIsAtLeastItselfAndNoLaterOne) {
  EXPECT_TRUE(this->processInfo.isOperatingSystemAtLeastVersion({11, 0, 0}));
  EXPECT_TRUE(this->processInfo.isOperatingSystemAtLeastVersion({10, 15, 7}));
  EXPECT_FALSE(this->processInfo.isOperatingSystemAtLeastVersion({11, 0, 1}));
}

}  // namespace
