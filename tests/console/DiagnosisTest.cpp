// What is said of a missing menu: over fake services, and over a folder made like /proc.
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
    folder.file("proc/900/stat", "900 (dovetail-host) S 1 900\n");
    session.hasBus = true;
    session.busNames = {"org.freedesktop.DBus", "ca.desrt.dconf"};
    session.hostsPort = {PortFacts::Answer::isRead, hostPid, {}};
    session.runtimeFolder = "/run/user/1000";
    session.configurationFolder = folder.path("config");
    session.processes = folder.path("proc");
  }
  void set(const std::string& key, platform::Object value) { fakes.userDefaultsSuites.set("G", key, std::move(value)); }
  void watch(const std::string& path) { set("DTFoldersPaths", platform::Array{bookmarkOf(path)}); }
  platform::Object bookmarkOf(const std::string& path) {
    platform::Error error;
    return *fakes.fileManager.bookmarkDataWithURL(fileURL(path), &error);
  }
  std::vector<Finding> found() { return findingsOfServices(fakes.references(), session); }
  std::vector<std::string> lines() {
    std::vector<std::string> lines;
    for (const Finding& finding : found()) lines.push_back(textOfFindings({finding}));
    return lines;
  }
  std::vector<std::string> subjects(Finding::Mark mark) {
    std::vector<std::string> subjects;
    for (const Finding& finding : found())
      if (finding.mark == mark) subjects.push_back(finding.subject);
    return subjects;
  }
  std::vector<std::string> faults() { return subjects(Finding::Mark::fault); }
  std::vector<std::string> unknowns() { return subjects(Finding::Mark::unknown); }

  tests::TemporaryFolder folder;
  SessionFacts session;
};

TEST_F(Diagnosis, nothingIsWrongWhereMenusAppear) {
  watch("/watched");
  EXPECT_THAT(faults(), ElementsAre());
  EXPECT_THAT(unknowns(), ElementsAre());
  EXPECT_THAT(lines(), Contains("[ok]    watched folder: /watched\n"));
}

TEST_F(Diagnosis, withoutABusTheHostAndTheSettingsServiceAreUnknown) {
  watch("/watched");
  fakes.runningApplications.processes.clear();
  session.hasBus = false;
  session.busNames = std::nullopt;
  EXPECT_THAT(faults(), ElementsAre("session bus"));
  EXPECT_THAT(unknowns(), ElementsAre("host", "settings service"));
}

TEST_F(Diagnosis, aBusThatDoesNotAnswerIsUnknown) {
  watch("/watched");
  fakes.runningApplications.processes.clear();
  session.busNames = std::nullopt;
  EXPECT_THAT(faults(), ElementsAre());
  EXPECT_THAT(unknowns(), ElementsAre("session bus", "host", "settings service"));
}

TEST_F(Diagnosis, ofADamagedSettingsFileNothingElseIsSaid) {
  folder.file("config/dconf/user", "no database");
  EXPECT_THAT(faults(), ElementsAre("settings file"));
  EXPECT_THAT(unknowns(), ElementsAre("settings"));
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
  session.hostsPort = {};
  EXPECT_THAT(lines(), Contains(AllOf(HasSubstr("[FAULT] host"), HasSubstr("not running"))));
  fakes.runningApplications.processes["host"] = {5, 6};
  EXPECT_THAT(lines(), Contains(AllOf(HasSubstr("[FAULT] host"), HasSubstr("more than once"))));
}

TEST_F(Diagnosis, theBuildOfAHostThatDoesNotRunIsUnknownWhenItDiffers) {
  watch("/watched");
  fakes.runningApplications.processes.clear();
  EXPECT_THAT(lines(), Contains("[ok]    version: of the host that ran last, as of the extension, build 1.0\n"));
  set("DTApplicationVersion", platform::Object("0.9"));
  EXPECT_THAT(unknowns(), ElementsAre("version"));
  set("DTApplicationVersion", platform::Object());
  EXPECT_THAT(unknowns(), ElementsAre("version"));
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

}  // namespace
