#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "console/ImageSheet.h"
#include "menus/MenuSymbols.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/images/Graphics.h"
#include "platform/linux/images/ImageFile.h"
#include "platform/linux/images/Workspace.h"
#include "tests/platform/images/ThemeFolder.h"

// fontconfig, which the sheet's captions go through, keeps what it once read.
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions() { return "leak:libfontconfig\n"; }

namespace {

class ImageSheet : public testing::Test {
 protected:
  ThemeFolder folder;
  platform::fake::FakeLog log;
  platform::native::LinuxWorkspace workspace{log};
  platform::native::LinuxGraphics graphics;
};

TEST_F(ImageSheet, holdsEveryEntryInBothBranchesAndTheIcons) {
  const std::string images = folder.path() + "/not/there/yet";
  ASSERT_EQ(writeImages(images, workspace, workspace, graphics), 0);
  std::set<std::string> expected{"sheet.png", "StatusItemImage.png", "applicationIcon.png", "folder.png", "fileType.png"};
  for (const DTExtension::MenuSymbol& entry : DTExtension::menuSymbols()) {
    expected.insert(std::string(entry.operation) + "-symbol.png");
    expected.insert(std::string(entry.operation) + "-fallback.png");
  }
  std::set<std::string> found;
  for (const auto& file : std::filesystem::directory_iterator(images)) {
    EXPECT_TRUE(platform::native::isReadableImageFile(file.path())) << file.path();
    found.insert(file.path().filename());
  }
  EXPECT_TRUE(std::includes(found.begin(), found.end(), expected.begin(), expected.end()));
  EXPECT_TRUE(found.contains("fileType-zip.png"));
}

TEST_F(ImageSheet, thatCannotBeWrittenIsAnErrorWithOneLine) {
  const std::string file = folder.write("file", "");
  testing::internal::CaptureStderr();
  EXPECT_EQ(writeImages(file + "/below", workspace, workspace, graphics), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "cannot write " + file + "/below\n");
}

}  // namespace
