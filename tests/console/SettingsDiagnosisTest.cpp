// What is said of the settings' service and of their file.
#include "console/SettingsDiagnosis.h"

#include <gmock/gmock.h>

#include "tests/TemporaryFolder.h"

using testing::StartsWith;

namespace {

class SettingsDiagnosis : public testing::Test {
 protected:
  std::string ofFile(const std::string& bytes) {
    folder.file("dconf/user", bytes);
    return ofFile();
  }
  std::string ofFile() { return textOfFindings({findingOfSettingsFile(folder.path(), "")}); }
  static std::string ofService(const std::optional<std::vector<std::string>>& names) {
    return textOfFindings({findingOfSettingsService(names)});
  }
  static std::string database(const std::string& signature, const std::string& begin, const std::string& end) {
    return signature + std::string(8, '\0') + begin + end + std::string(8, '\0');
  }

  tests::TemporaryFolder folder;
};

TEST_F(SettingsDiagnosis, aBusWithoutTheServiceIsAFaultAndOneThatDoesNotAnswerIsUnknown) {
  EXPECT_THAT(ofService({{"org.freedesktop.DBus", "ca.desrt.dconf"}}), StartsWith("[ok]    settings service: "));
  EXPECT_THAT(ofService({{"org.freedesktop.DBus"}}), StartsWith("[FAULT] settings service: the session bus knows no"));
  EXPECT_THAT(ofService(std::nullopt), StartsWith("[?]     settings service: "));
}

TEST_F(SettingsDiagnosis, noFileYetIsWell) { EXPECT_THAT(ofFile(), StartsWith("[ok]    settings file: none yet")); }

TEST_F(SettingsDiagnosis, aDatabaseOfEitherByteOrderIsWell) {
  EXPECT_THAT(ofFile(database("GVariant", {"\x18\0\0\0", 4}, {"\x20\0\0\0", 4})), StartsWith("[ok]"));
  EXPECT_THAT(ofFile(database("raVGtnai", {"\0\0\0\x18", 4}, {"\0\0\0\x20", 4})), StartsWith("[ok]"));
}

TEST_F(SettingsDiagnosis, aFileThatIsNoDatabaseIsAFault) {
  const std::string begin("\x18\0\0\0", 4), end("\x20\0\0\0", 4);
  EXPECT_THAT(ofFile(""), StartsWith("[FAULT] settings file: "));
  EXPECT_THAT(ofFile("GVariant"), StartsWith("[FAULT]")) << "cut off";
  EXPECT_THAT(ofFile(database("GVarianT", begin, end)), StartsWith("[FAULT]")) << "another signature";
  EXPECT_THAT(ofFile(database("GVariant", begin, {"\x21\0\0\0", 4})), StartsWith("[FAULT]")) << "a table beyond the file's end";
  EXPECT_THAT(ofFile(database("GVariant", {"\x24\0\0\0", 4}, end)), StartsWith("[FAULT]")) << "a table that ends before it begins";
}

TEST_F(SettingsDiagnosis, aFileThatCannotBeReadIsAFault) {
  std::filesystem::create_directories(folder.path("dconf/user"));
  EXPECT_THAT(ofFile(), StartsWith("[FAULT] settings file: "));
}

TEST_F(SettingsDiagnosis, theFileOfAnotherProfileIsUnknown) {
  EXPECT_THAT(textOfFindings({findingOfSettingsFile(folder.path(), "office")}),
              StartsWith("[?]     settings file: the profile office"));
}

}  // namespace
