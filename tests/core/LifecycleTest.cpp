#include "tests/ExtensionFixture.h"

using platform::Object;
using platform::URL;
using testing::ElementsAre;

class Lifecycle : public ExtensionTest {};

TEST_F(Lifecycle, startUpWithAHostCallsThePlatformInItsFixedOrder) {
  startHost();
  fakes.calls.take();
  startExtension();
  EXPECT_THAT(
      fakes.calls.take(),
      ElementsAre("init base",
                  // the inbound port
                  "create task", "copy entitlement com.apple.security.application-groups", "release task",
                  "create local port G.Sync.4711, context version 1", "create source of G.Sync.4711, order 0",
                  "add source of G.Sync.4711 in the common modes",
                  // the watched folders, from the settings that are opened now
                  "create task", "copy entitlement com.apple.security.application-groups", "release task", "open settings of G",
                  "register defaults \"DTMenuBarIconShown\" \"DTArchiveIconsShown \" \"DTContextualMenuItems\" "
                  "\"DTToolbarItemMenuItems\"",
                  "set 0 directory URLs",
                  // the host
                  "list running host", "create task", "copy entitlement com.apple.security.application-groups", "release task",
                  "create remote port G.App", "send to G.App, id 0, time-outs 1.0 and 1.0",
                  "create source for process 900, mask 2281701376", "watch process 900",
                  // what may change
                  "observe setting \"DTFoldersPaths\"", "observe setting \"DTArchiveIconsShown \"",
                  "subscribe to DTDovetailRunning"));
  EXPECT_EQ(extension->applicationPid(), hostPid);
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711"));
}

TEST_F(Lifecycle, startUpWithoutAHostEndsInHostAbsent) {
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
  EXPECT_EQ(extension->portName(), "G.Sync.4711");
  EXPECT_EQ(extension->port(), nullptr);
  EXPECT_EQ(extension->portMonitor(), nullptr);
  EXPECT_FALSE(extension->targetUrls());
  EXPECT_TRUE(extension->observedFiles().empty());
  EXPECT_TRUE(extension->senderObjects().empty());
  EXPECT_EQ(extension->archives().count(), 0u);
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
}

TEST_F(Lifecycle, aBrowserThatTakesNoExtensionGetsNoneAndNothingElseIsCalled) {
  fakes.finderSyncController.refusesExtension = true;
  startExtension();
  EXPECT_FALSE(extension);
  EXPECT_THAT(fakes.calls.take(), ElementsAre("init base"));
}

TEST_F(Lifecycle, startUpWithoutTheEntitlementCompletesAndReportsOnce) {
  fakes.security.applicationGroups = Object();
  startExtension();
  ASSERT_TRUE(extension);
  EXPECT_FALSE(extension->portName());
  EXPECT_EQ(extension->applicationPid(), -1);
  ASSERT_EQ(fakes.distributedNotificationCenter.posted.size(), 1u);
  EXPECT_EQ(fakes.distributedNotificationCenter.posted[0].name, "DTDovetailAppMessage");
  EXPECT_EQ(fakes.distributedNotificationCenter.posted[0].object,
            R"({"NSLocalizedDescription":"Finder extension failed to send message to application",)"
            R"("NSLocalizedRecoverySuggestion":"There was an error getting application groups security entitlement."})");
  EXPECT_THAT(fakes.calls.take(),
              testing::IsSupersetOf({"set 0 directory URLs", "list running host", "subscribe to DTDovetailRunning"}));
}

TEST_F(Lifecycle, startUpWithoutASettingsStoreCompletes) {
  fakes.userDefaultsSuites.refusesSuites = true;
  fakes.runningApplications.processes["host"] = {hostPid};
  startExtension();
  ASSERT_TRUE(extension);
  EXPECT_EQ(extension->applicationPid(), -1) << "without a version in the settings no host is of the same build";
  EXPECT_EQ(extension->portName(), "G.Sync.4711");
}

TEST_F(Lifecycle, startUpWithoutAnInboundPortReportsItToTheHostAndGoesOn) {
  startHost();
  fakes.messagePorts.refusesLocalPorts = true;
  startExtension();
  EXPECT_FALSE(extension->portName());
  EXPECT_EQ(extension->applicationPid(), hostPid);
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 2u);
  EXPECT_EQ(messages[0].selector(), "showError:");
  EXPECT_FALSE(messages[0].portName());
  EXPECT_EQ(messages[1].selector(), "pingPortName:");
  EXPECT_TRUE(messages[1].argument().isNil());
}

TEST_F(Lifecycle, teardownWithAHostCallsThePlatformInItsFixedOrder) {
  startBoth();
  extension = nullptr;
  EXPECT_THAT(fakes.calls.take(), ElementsAre("end all subscriptions", "stop observing setting \"DTFoldersPaths\"",
                                              "stop observing setting \"DTArchiveIconsShown \"", "invalidate port G.App",
                                              "release port G.App", "dealloc base"));
  EXPECT_EQ(fakes.processSources.armedCount(), 1u) << "the watcher is let go, not cancelled";
}

TEST_F(Lifecycle, teardownWithoutAnOutboundPortPerformsNoPortOperation) {
  startExtension();
  fakes.calls.take();
  extension = nullptr;
  EXPECT_THAT(fakes.calls.take(), ElementsAre("end all subscriptions", "stop observing setting \"DTFoldersPaths\"",
                                              "stop observing setting \"DTArchiveIconsShown \"", "dealloc base"));
}

TEST_F(Lifecycle, aWatcherThatFiresAfterTeardownTouchesNothing) {
  startBoth();
  extension = nullptr;
  fakes.processSources.fire(hostPid);
  fakes.loop.run();
  EXPECT_EQ(fakes.processSources.armedCount(), 0u);
}

TEST_F(Lifecycle, aRecordThatArrivesAfterTeardownDoesNothing) {
  startBoth();
  static_cast<void>(fakes.messagePorts.createRemote("G.Sync.4711")->sendRequest(0, platform::Data{1, 2, 3}, 1, 1));
  extension = nullptr;
  fakes.calls.take();
  fakes.loop.run();
  EXPECT_EQ(fakes.messagePorts.deliver("G.Sync.4711", platform::Data{1, 2, 3}), std::nullopt);
  EXPECT_THAT(fakes.calls.take(), ElementsAre());
  EXPECT_THAT(takeSummaries(), ElementsAre());
}

TEST_F(Lifecycle, aChangeOfTheFoldersSettingReadsTheFoldersAgain) {
  startBoth();
  fakes.userDefaultsSuites.set("G", "DTFoldersPaths", platform::Array());
  fakes.loop.run();
  EXPECT_THAT(fakes.calls.take(), ElementsAre("set 0 directory URLs"));
}

TEST_F(Lifecycle, aChangeOfTheArchiveIconsSettingEmptiesTheArchiveMenusAlone) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  ASSERT_EQ(extension->archiveMenus().count(), 1u);
  fakes.userDefaultsSuites.set("G", "DTArchiveIconsShown ", false);
  fakes.loop.run();
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
  EXPECT_EQ(extension->archives().count(), 1u);
}

TEST_F(Lifecycle, theArchiveIconsKeyWithoutItsTrailingSpaceIsAnotherKey) {
  startBoth();
  fakes.fileManager.add("/w/a.zip");
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  fakes.userDefaultsSuites.set("G", "DTArchiveIconsShown", false);
  fakes.loop.run();
  extension->observeValueForKeyPath("DTArchiveIconsShown", Object(false));
  EXPECT_EQ(extension->archiveMenus().count(), 1u);
}

TEST_F(Lifecycle, aChangeOfAnyOtherKeyDoesNothing) {
  startBoth();
  extension->observeValueForKeyPath("DTContextualMenuItems", Object());
  extension->observeValueForKeyPath("", Object());
  EXPECT_THAT(fakes.calls.take(), ElementsAre());
}

TEST_F(Lifecycle, theToolbarItemIsNamedHasNoToolTipAndLooksItsImageUpEachTime) {
  startExtension();
  fakes.calls.take();
  EXPECT_EQ(extension->toolbarItemName(), "Dovetail");
  EXPECT_EQ(extension->toolbarItemToolTip(), "");
  EXPECT_EQ(extension->toolbarItemImage()->name, "named StatusItemImage");
  extension->toolbarItemImage();
  EXPECT_THAT(fakes.calls.take(), ElementsAre("image named StatusItemImage", "image named StatusItemImage"));
}

TEST_F(Lifecycle, applicationPidIsNeverZeroAfterStartUp) {
  fakes.runningApplications.processes["host"] = {0};
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", platform::Object("1.0"));
  startExtension();
  EXPECT_EQ(extension->applicationPid(), -1);
}
