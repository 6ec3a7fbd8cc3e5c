#include "tests/ExtensionFixture.h"

using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class HostTracking : public ExtensionTest {
 protected:
  std::int32_t pidAfterNotice() {
    notice();
    return extension->applicationPid();
  }
};

TEST_F(HostTracking, oneInstanceOfTheSameBuildIsTheHost) {
  startHost();
  startExtension();
  EXPECT_EQ(extension->applicationPid(), hostPid);
}

TEST_F(HostTracking, aSecondInstanceMakesTheHostAbsentUntilOneIsLeft) {
  startBoth();
  fakes.runningApplications.processes["host"] = {hostPid, hostPid + 1};
  EXPECT_EQ(pidAfterNotice(), -1);
  fakes.runningApplications.processes["host"] = {hostPid + 1};
  EXPECT_EQ(pidAfterNotice(), hostPid + 1);
}

TEST_F(HostTracking, anInstanceOfAnotherProgramIsNoHost) {
  startHost();
  fakes.runningApplications.processes = {{"other", {hostPid}}};
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
}

TEST_F(HostTracking, aVersionThatDiffersByOneCharacterIsNoHostAndIsNotPinged) {
  startHost();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("1.0 "));
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(HostTracking, aMissingVersionOnEitherSideIsNoHost) {
  startHost();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object());
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
  fakes.mainBundle.version = std::nullopt;
  EXPECT_EQ(pidAfterNotice(), -1) << "two missing versions are not equal";
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("1.0"));
  EXPECT_EQ(pidAfterNotice(), -1);
  fakes.mainBundle.version = "1.0";
  EXPECT_EQ(pidAfterNotice(), hostPid);
}

TEST_F(HostTracking, aHostOfAnotherBuildIsToldOfOnceForEachChangeAndAnAbsentOneNever) {
  startExtension();
  EXPECT_EQ(pidAfterNotice(), -1);
  EXPECT_THAT(fakes.log.lines, IsEmpty()) << "nothing is to be told of an absent host";
  startHost();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("0.9"));
  pidAfterNotice();
  pidAfterNotice();
  const std::string line =
      "__DT: -[DTDovetailSync updateApplicationRunning] ::: host 900 is of build 0.9, this extension of build 1.0";
  EXPECT_THAT(fakes.log.lines, ElementsAre(line));
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object());
  pidAfterNotice();
  EXPECT_THAT(fakes.log.lines, ElementsAre(line, testing::HasSubstr("host 900 is of no known build, this")));
  quitHost();
  pidAfterNotice();
  fakes.log.lines.clear();
  startHost();
  EXPECT_EQ(pidAfterNotice(), hostPid);
  EXPECT_THAT(fakes.log.lines, IsEmpty());
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("0.9"));
  pidAfterNotice();
  EXPECT_THAT(fakes.log.lines, ElementsAre(line)) << "the usable host between has made it new";
}

TEST_F(HostTracking, aVersionThatIsNoStringIsNoHost) {
  startHost();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object(1.0));
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
}

TEST_F(HostTracking, aVersionThatIsANumberIsNoHostEvenWithTheSameDigits) {
  startHost();
  fakes.mainBundle.version = "1";
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object(platform::Integer::ofSigned(1)));
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
}

TEST_F(HostTracking, anyProcessIdentifierBelowOneIsStoredAsMinusOneAndEmptiesTheCaches) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  for (const std::int32_t pid : {0, -5}) {
    extension->setApplicationPid(hostPid);
    receiveArchive("/w/a.zip", archive("a.zip"));
    select({"/w/a.zip"});
    menu();
    ASSERT_EQ(extension->archives().count(), 1u);
    ASSERT_EQ(extension->archiveMenus().count(), 1u);
    extension->setApplicationPid(pid);
    EXPECT_EQ(extension->applicationPid(), -1);
    EXPECT_EQ(extension->archives().count(), 0u);
    EXPECT_EQ(extension->archiveMenus().count(), 0u);
    EXPECT_EQ(extension->port(), nullptr);
  }
}

TEST_F(HostTracking, enteringHostAbsentOnceMoreDropsWhatHasComeSince) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("another build"));
  ASSERT_EQ(pidAfterNotice(), -1);
  // That host sends a tree, and a choice from a menu of before opens its port.
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  extension->setTargetUrls(std::vector{fileURL("/w/a.zip")});
  ASSERT_TRUE(extension->menuItemWithTag(10));
  extension->rename(nullptr);
  ASSERT_TRUE(extension->port());
  EXPECT_EQ(pidAfterNotice(), -1);
  EXPECT_EQ(extension->port(), nullptr);
  EXPECT_EQ(extension->archives().count(), 0u);
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
}

TEST_F(HostTracking, enteringHostRunningPingsAndThenAsksAboutEachObservedFile) {
  startExtension();
  fakes.fileManager.add("/w/1");
  fakes.fileManager.add("/w/2");
  fakes.fileManager.add("/v/3");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  extension->beginObservingDirectoryAtURL(fileURL("/v"));
  ASSERT_EQ(extension->archives().count(), 0u);
  startHost();
  notice();
  auto messages = takeSummaries();
  ASSERT_EQ(messages.size(), 4u);
  EXPECT_EQ(messages[0], "pingPortName: G.Sync.4711");
  messages.erase(messages.begin());
  EXPECT_THAT(messages,
              UnorderedElementsAre("openArchive:portName: /w/1", "openArchive:portName: /w/2", "openArchive:portName: /v/3"));
  EXPECT_TRUE(isMarked("/w/1") && isMarked("/w/2") && isMarked("/v/3"));
  EXPECT_TRUE(extension->observedFiles().empty());
}

TEST_F(HostTracking, theHostIsPingedThenAskedAndThenWatched) {
  startExtension();
  fakes.fileManager.add("/w/1");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  startHost();
  fakes.calls.take();
  extension->setApplicationPid(hostPid);
  EXPECT_THAT(fakes.calls.take(),
              ElementsAre("create task", "copy entitlement com.apple.security.application-groups", "release task",
                          "create remote port G.App",
                          // the ping, the question
                          "send to G.App, id 0, time-outs 1.0 and 1.0", "send to G.App, id 0, time-outs 1.0 and 1.0",
                          "create source for process 900, mask 2281701376", "watch process 900"));
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711", "openArchive:portName: /w/1"));
}

TEST_F(HostTracking, aHostWithoutAPortIsWatchedAllTheSame) {
  startHost();
  fakes.messagePorts.hangUp("G.App");
  startExtension();
  ASSERT_EQ(extension->applicationPid(), hostPid);
  EXPECT_EQ(extension->port(), nullptr);
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
  fakes.processSources.fire(hostPid);
  fakes.loop.run();
  EXPECT_EQ(extension->applicationPid(), -1);
}

TEST_F(HostTracking, anObservedFileThatVanishedIsDroppedWithItsFolderAndNotAskedAbout) {
  startExtension();
  fakes.fileManager.add("/w/1");
  fakes.fileManager.add("/w/2");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  fakes.fileManager.remove("/w/1");
  startHost();
  notice();
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711", "openArchive:portName: /w/2"));
  EXPECT_TRUE(extension->observedFiles().empty());
}

TEST_F(HostTracking, theReplayReplacesATreeByTheNullMarkerAndLeavesTheBuiltMenu) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  notice();
  EXPECT_TRUE(isMarked("/w/a.zip"));
  EXPECT_EQ(extension->archiveMenus().count(), 1u);
}

TEST_F(HostTracking, theStateChangesEvenWhenThePingFails) {
  startExtension();
  startHost();
  fakes.messagePorts.sendStatus = platform::MessagePortStatus::sendTimeout;
  EXPECT_EQ(pidAfterNotice(), hostPid);
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
}

TEST_F(HostTracking, theExitOfTheHostDropsThePortAndTheCachesAndKeepsTheRest) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  fakes.calls.take();
  quitHost();
  EXPECT_EQ(extension->applicationPid(), -1);
  EXPECT_EQ(extension->port(), nullptr);
  EXPECT_EQ(extension->portMonitor(), nullptr);
  EXPECT_EQ(extension->archives().count(), 0u);
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
  EXPECT_EQ(extension->senderObjects().count("expand:"), 1u);
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/a.zip"));
  ASSERT_TRUE(extension->targetUrls());
  EXPECT_EQ(extension->targetUrls().value().size(), 1u);
  EXPECT_THAT(fakes.calls.take(), ElementsAre("invalidate port G.App", "release port G.App", "cancel watch on process 900"));
}

TEST_F(HostTracking, aSignalDeliveredToTheHostCountsAsItsExit) {
  startBoth();
  fakes.processSources.fire(hostPid, platform::ProcessSignal);
  fakes.loop.run();
  EXPECT_EQ(extension->applicationPid(), -1);
  EXPECT_EQ(fakes.processSources.armedCount(), 0u);
}

TEST_F(HostTracking, eachNoticeAddsAWatcherAndTheOlderOnesStayArmed) {
  startBoth();
  const auto first = extension->portMonitor();
  notice();
  EXPECT_NE(extension->portMonitor(), first);
  EXPECT_EQ(fakes.processSources.armedCount(), 2u);
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711"));
}

TEST_F(HostTracking, aNoticeThatFindsNoHostLeavesTheWatcherStoredAndArmed) {
  startBoth();
  const auto monitor = extension->portMonitor();
  fakes.runningApplications.processes["host"] = {hostPid, hostPid + 1};
  ASSERT_EQ(pidAfterNotice(), -1);
  EXPECT_EQ(extension->portMonitor(), monitor);
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
}

TEST_F(HostTracking, theEndOfAnOlderHostStillMakesTheHostAbsent) {
  startBoth();
  fakes.runningApplications.processes["host"] = {hostPid + 1};
  ASSERT_EQ(pidAfterNotice(), hostPid + 1);
  fakes.processSources.fire(hostPid);
  fakes.loop.run();
  EXPECT_EQ(extension->applicationPid(), -1);
  EXPECT_EQ(extension->port(), nullptr);
}

TEST_F(HostTracking, aNoticeWhileTheHostRunsKeepsTheOpenPort) {
  startBoth();
  const auto* port = extension->port();
  fakes.calls.take();
  notice();
  EXPECT_EQ(extension->port(), port);
  EXPECT_THAT(fakes.calls.take(), testing::Not(testing::Contains("invalidate port G.App")));
}

TEST_F(HostTracking, theCancelHandlerClearsWhicheverWatcherIsStoredThen) {
  startBoth();
  const auto old = extension->portMonitor();
  notice();
  ASSERT_NE(extension->portMonitor(), nullptr);
  old->cancel();
  fakes.loop.run();
  EXPECT_EQ(extension->portMonitor(), nullptr);
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
}

TEST_F(HostTracking, aRestartedHostIsPingedAskedAndWatchedAnew) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  quitHost();
  startHost();
  notice();
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711", "openArchive:portName: /w/a.zip"));
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
}

TEST_F(HostTracking, theNoticesObjectIsIgnored) {
  startExtension();
  startHost();
  fakes.distributedNotificationCenter.postNotificationName("DTDovetailRunning", "anything", false);
  fakes.loop.run();
  EXPECT_EQ(extension->applicationPid(), hostPid);
}
