// What is said of a missing menu: over fake services, and over folders made like a browser's and like /proc.
#include "console/Diagnosis.h"

#include <gmock/gmock.h>

#include <fstream>

#include "tests/ExtensionFixture.h"
#include "tests/TemporaryFolder.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class Diagnosis : public ExtensionTest {
 protected:
  Diagnosis() {
    fakes.fileManager.add("/watched");
    startHost();
  }
  void set(const std::string& key, platform::Object value) { fakes.userDefaultsSuites.set("G", key, std::move(value)); }
  void watch(const std::string& path) { set("DTFoldersPaths", platform::Array{bookmarkOf(path)}); }
  platform::Object bookmarkOf(const std::string& path) {
    platform::Error error;
    return *fakes.fileManager.bookmarkDataWithURL(fileURL(path), &error);
  }
  std::vector<std::string> lines(bool hasBus = true) {
    std::vector<std::string> lines;
    for (const Finding& finding : findingsOfServices(fakes.references(), hasBus)) lines.push_back(textOfFindings({finding}));
    return lines;
  }
  std::vector<std::string> faults(bool hasBus = true) {
    std::vector<std::string> faults;
    for (const Finding& finding : findingsOfServices(fakes.references(), hasBus))
      if (finding.isFault) faults.push_back(finding.subject);
    return faults;
  }
};

TEST_F(Diagnosis, nothingIsWrongWhereMenusAppear) {
  watch("/watched");
  EXPECT_THAT(faults(), ElementsAre());
  EXPECT_THAT(lines(), Contains("[ok]    watched folder: /watched\n"));
}

TEST_F(Diagnosis, aBusThatCannotBeReachedIsAFault) {
  watch("/watched");
  EXPECT_THAT(faults(false), ElementsAre("session bus"));
}

TEST_F(Diagnosis, anEntitlementWithoutGroupsIsAFaultInTheExtensionsWords) {
  fakes.security.applicationGroups = platform::Object();
  EXPECT_THAT(lines(),
              Contains("[FAULT] application group: There was an error getting application groups security entitlement.\n"));
  EXPECT_THAT(faults(), ElementsAre("application group", "settings"));
}

TEST_F(Diagnosis, noHostAndTwoHostsAreFaults) {
  watch("/watched");
  fakes.runningApplications.processes.clear();
  EXPECT_THAT(lines(), Contains(AllOf(HasSubstr("[FAULT] host"), HasSubstr("not running"))));
  fakes.runningApplications.processes["host"] = {5, 6};
  EXPECT_THAT(lines(), Contains(AllOf(HasSubstr("[FAULT] host"), HasSubstr("more than once"))));
}

TEST_F(Diagnosis, aHostOfAnotherBuildIsAFaultThatNamesBoth) {
  watch("/watched");
  set("DTApplicationVersion", platform::Object("0.9"));
  EXPECT_THAT(lines(), Contains(AllOf(HasSubstr("[FAULT] version"), HasSubstr("0.9"))));
  set("DTApplicationVersion", platform::Object());
  EXPECT_THAT(faults(), ElementsAre("version"));
}

TEST_F(Diagnosis, noWatchedFolderIsAFault) { EXPECT_THAT(faults(), ElementsAre("watched folders")); }

TEST_F(Diagnosis, aFolderThatIsGoneIsAFaultAndTheOthersAreNamed) {
  set("DTFoldersPaths", platform::Array{platform::Object(platform::Data{1, 2, 3}), bookmarkOf("/watched")});
  EXPECT_THAT(faults(), ElementsAre("watched folder"));
  EXPECT_THAT(lines(), Contains("[ok]    watched folder: /watched\n"));
}

TEST_F(Diagnosis, itemListsOfAnotherKindAndEmptyOnesAreFaults) {
  watch("/watched");
  set("DTContextualMenuItems", platform::Object("all"));
  set("DTToolbarItemMenuItems", platform::Dictionary());
  EXPECT_THAT(faults(), ElementsAre("contextual menus", "toolbar button"));
}

class BrowserDiagnosis : public testing::Test {
 protected:
  void write(const std::string& name, const std::string& text) {
    const std::filesystem::path file = folder.path() + "/" + name;
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file) << text;
  }
  std::string found() {
    return textOfFindings(findingsOfBrowser({"caja", folder.path() + "/extensions"}, folder.path() + "/proc"));
  }
  tests::TemporaryFolder folder;
};

TEST_F(BrowserDiagnosis, aModuleThatIsNotInItsFolderIsAFault) {
  EXPECT_THAT(found(), HasSubstr("[FAULT] caja: no libdovetail-caja.so"));
}

TEST_F(BrowserDiagnosis, eachProcessOfTheBrowserIsToldOf) {
  write("extensions/libdovetail-caja.so", "");
  EXPECT_THAT(found(), AllOf(HasSubstr("[ok]    caja: the module is in"), Not(HasSubstr("process"))));
  write("proc/12/comm", "caja\n");
  write("proc/12/maps", "7f00-7f01 r-xp 00000000 08:01 1 /x/libc.so.6\n");
  write("proc/13/comm", "caja\n");
  write("proc/13/maps", "7f00-7f01 r-xp 00000000 08:01 1 /x/extensions/libdovetail-caja.so\n");
  write("proc/14/comm", "bash\n");
  write("proc/self/comm", "caja\n");
  EXPECT_THAT(found(), AllOf(HasSubstr("[FAULT] caja: process 12 runs without"), HasSubstr("[ok]    caja: process 13 has loaded"),
                             Not(HasSubstr("14")), Not(HasSubstr("self"))));
}

}  // namespace
