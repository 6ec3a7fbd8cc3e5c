// What is said of the file browsers: over folders made like a browser's and like /proc.
#include "console/BrowserDiagnosis.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include "tests/TemporaryFolder.h"

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

namespace {

class BrowserDiagnosis : public testing::Test {
 protected:
  void addProcess(const std::string& number, const std::string& name, const std::string& file) {
    folder.file("proc/" + number + "/comm", name + "\n");
    folder.file("proc/" + number + "/maps", "7f00-7f01 r-xp 00000000 08:01 1 " + file + "\n");
  }
  std::string found() { return textOfFindings(findingsOfBrowsers({browser}, folder.path("proc"), user)); }

  tests::TemporaryFolder folder;
  BrowserPlace browser{"caja", folder.path("extensions")};
  uid_t user = getuid();
};

TEST_F(BrowserDiagnosis, aModuleThatIsNotInItsFolderIsAFault) {
  EXPECT_THAT(found(), HasSubstr("[FAULT] caja: no libdovetail-caja.so"));
}

TEST_F(BrowserDiagnosis, eachProcessOfTheBrowserIsToldOf) {
  folder.file("extensions/libdovetail-caja.so", "");
  addProcess("12", "caja", "/x/libc.so.6");
  addProcess("13", "caja", "/x/extensions/libdovetail-caja.so");
  addProcess("14", "bash", "/x/libc.so.6");
  addProcess("self", "caja", "/x/libc.so.6");
  EXPECT_THAT(found(), AllOf(HasSubstr("[ok]    caja: the module is in"), HasSubstr("[FAULT] caja: process 12 runs without"),
                             HasSubstr("[ok]    caja: process 13 has loaded"), Not(HasSubstr("14")), Not(HasSubstr("self"))));
}

TEST_F(BrowserDiagnosis, aProcessThatDoesNotLetItselfBeLookedAtIsUnknown) {
  folder.file("proc/12/comm", "caja\n");
  EXPECT_THAT(found(), HasSubstr("[?]     caja: process 12 does not let itself be looked at"));
}

TEST_F(BrowserDiagnosis, anotherUsersBrowserIsUnknownAndNoneOfOurs) {
  addProcess("12", "caja", "/x/libc.so.6");
  user = getuid() + 1;
  EXPECT_THAT(found(), AllOf(HasSubstr("[?]     caja: process 12 is another user's"), HasSubstr("[?]     file browsers: none")));
}

TEST_F(BrowserDiagnosis, aModuleThatIsSwitchedOffIsAFaultAlsoWhereItIsLoaded) {
  addProcess("13", "caja", "/x/extensions/libdovetail-caja.so");
  browser.moduleSwitch = BrowserPlace::Switch::isOff;
  EXPECT_THAT(found(), HasSubstr("[FAULT] caja: the module is switched off"));
  browser.moduleSwitch = BrowserPlace::Switch::cannotBeSeen;
  EXPECT_THAT(found(), HasSubstr("[?]     caja: its list of extensions cannot be read"));
  browser.moduleSwitch = BrowserPlace::Switch::isOn;
  EXPECT_THAT(found(), Not(HasSubstr("list of extensions")));
}

TEST_F(BrowserDiagnosis, aListWhoseSchemaIsNotInstalledCannotBeSeen) {
  EXPECT_EQ(switchInList("org.dovetail.no-such-schema", "disabled-extensions", "x"), BrowserPlace::Switch::cannotBeSeen);
}

TEST_F(BrowserDiagnosis, thatNoBrowserRunsIsUnknown) {
  folder.file("extensions/libdovetail-caja.so", "");
  EXPECT_THAT(found(), HasSubstr("[?]     file browsers: none of yours runs"));
  addProcess("13", "caja", "/x/extensions/libdovetail-caja.so");
  EXPECT_THAT(found(), Not(HasSubstr("none of yours")));
}

TEST_F(BrowserDiagnosis, thatThereIsNoBrowserIsAFault) {
  browser.isInstalled = false;
  EXPECT_EQ(found(), "[FAULT] file browsers: there is none that a module was built for (caja): install one\n");
  EXPECT_THAT(textOfFindings(findingsOfBrowsers({}, folder.path("proc"), user)), HasSubstr("[FAULT] file browsers: no module"));
}

}  // namespace
