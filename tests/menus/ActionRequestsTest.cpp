#include "tests/ExtensionFixture.h"

using platform::Array;
using platform::Dictionary;
using platform::IndexPath;
using platform::Integer;
using platform::MenuItem;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

class ActionRequests : public ExtensionTest {
 protected:
  void SetUp() override {
    fakes.fileManager.add("/w/1");
    fakes.fileManager.add("/w/2");
    fakes.fileManager.add("/w/a.zip");
    fakes.fileManager.add("/w/folder", platform::fake::FakeKind::directory);
    fakes.fileManager.add("/w/folder2", platform::fake::FakeKind::directory);
    startBoth();
  }

  /// The one message that the host has received.
  DTMessage onlyMessage() {
    const auto messages = takeMessages();
    EXPECT_EQ(messages.size(), 1u);
    return messages.empty() ? DTMessage() : messages.front();
  }
  static const Object& half(const DTMessage& message, std::string_view key) {
    static const Object nil;
    const auto* option = message.argument().get<Dictionary>();
    EXPECT_TRUE(option && option->entries.size() == 2);
    const Object* value = option ? option->objectForKey(key) : nullptr;
    return value ? *value : nil;
  }
  void perform(std::string_view action, std::int64_t tag) {
    MenuItem sender;
    sender.action = action;
    sender.tag = tag;
    extension->sendAction(sender);
  }
  void expectOption(std::string_view action, std::int64_t tag, const std::vector<std::string>& paths) {
    const DTMessage message = onlyMessage();
    EXPECT_EQ(message.selector(), action);
    EXPECT_EQ(message.portName(), "G.Sync.4711");
    EXPECT_EQ(pathsOf(half(message, "1")), paths);
    const auto* number = half(message, "2").get<Integer>();
    ASSERT_TRUE(number);
    EXPECT_EQ(*number, Integer::ofSigned(tag));
  }
};

TEST_F(ActionRequests, actionsWithAnOptionSendTheTargetsAndTheTag) {
  select({"/w/1", "/w/folder"});
  menu();
  for (const char* action : {"delete:", "compress:", "showPermissions:"}) {
    perform(action, 0x4000002);
    expectOption(action, 0x4000002, {"/w/1", "/w/folder"});
  }
}

TEST_F(ActionRequests, eachOperationSendsTheCommandOfItsOwnName) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  MenuItem sender;
  sender.tag = 1;
  extension->delete_(&sender);
  extension->compress(&sender);
  extension->expand(&sender);
  extension->rename(&sender);
  extension->showPermissions(&sender);
  extension->showAcl(&sender);
  extension->showSizeBrowser(&sender);
  extension->showChecksum(&sender);
  EXPECT_THAT(takeSummaries(), ElementsAre("delete:", "compress:", "expand:", "rename:", "showPermissions:", "showAcl:",
                                           "showSizeBrowser:", "showChecksum:"));
}

TEST_F(ActionRequests, aNegativeTagIsSentUnchanged) {
  select({"/w/1"});
  choose(menu().value(), {"Delete…"});
  expectOption("delete:", -203, {"/w/1"});
  choose(menu().value(), {"Secure Delete…", "Ultra Security (35 passes)"});
  expectOption("delete:", -208, {"/w/1"});
}

TEST_F(ActionRequests, compressTarGzipSendsFormatAndFlagInOneTag) {
  select({"/w/1"});
  choose(menu().value(), {"Compress", "TAR", "GZIP"});
  expectOption("compress:", 0x4000002, {"/w/1"});
}

TEST_F(ActionRequests, plainAndCombinedPermissionsDifferByTheirTag) {
  select({"/w/1", "/w/2"});
  choose(menu().value(), {"Permissions…"});
  expectOption("showPermissions:", 0, {"/w/1", "/w/2"});
  choose(menu().value(), {"More", "Combined Permissions…"});
  expectOption("showPermissions:", 1, {"/w/1", "/w/2"});
}

TEST_F(ActionRequests, aChecksumLeavesFoldersOutAndKeepsTheOrder) {
  select({"/w/2", "/w/folder", "/w/1"});
  choose(menu().value(), {"More", "Checksum…", "SHA-2:256"});
  expectOption("showChecksum:", 6, {"/w/2", "/w/1"});
}

TEST_F(ActionRequests, aChecksumLeavesOutNothingButFolders) {
  fakes.fileManager.add("/w/link", platform::fake::FakeKind::symbolicLink);
  fakes.fileManager.add("/w/alias", platform::fake::FakeKind::alias);
  fakes.fileManager.add("/w/pipe", platform::fake::FakeKind::other);
  select({"/w/link", "/w/folder", "/w/alias", "/w/pipe", "/w/gone"});
  menu();
  perform("showChecksum:", 4);
  expectOption("showChecksum:", 4, {"/w/link", "/w/alias", "/w/pipe", "/w/gone"});
}

TEST_F(ActionRequests, aChecksumOverFoldersAloneSendsAnEmptyArray) {
  select({"/w/folder", "/w/folder2"});
  menu();
  perform("showChecksum:", 3);
  expectOption("showChecksum:", 3, {});
}

TEST_F(ActionRequests, actionsWithoutAnOptionSendTheBareArray) {
  select({"/w/1", "/w/2", "/w/folder"});
  menu();
  for (const char* action : {"rename:", "showAcl:", "showSizeBrowser:"}) {
    perform(action, 99);
    const DTMessage message = onlyMessage();
    EXPECT_EQ(message.selector(), action);
    EXPECT_THAT(pathsOf(message.argument()), ElementsAre("/w/1", "/w/2", "/w/folder"));
  }
}

TEST_F(ActionRequests, anEntryIsSentAsItsIndexPath) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1), folder("f", 2, leaf("y", 3), folder("g", 4, leaf("z", 5)))));
  select({"/w/a.zip"});
  choose(menu().value(), {"a.zip", "f", "g", "z"});
  const DTMessage message = onlyMessage();
  EXPECT_EQ(message.selector(), "expand:");
  const auto* url = half(message, "1").get<platform::URL>();
  ASSERT_TRUE(url) << "one URL, not an array";
  EXPECT_EQ(url->path(), "/w/a.zip");
  EXPECT_EQ(half(message, "2").get<IndexPath>()->indexes, (std::vector<std::uint64_t>{1, 1, 0}));
}

TEST_F(ActionRequests, theItemOfAnEmptyArchiveSendsTheEmptyIndexPath) {
  receiveArchive("/w/a.zip", archive("a.zip"));
  select({"/w/a.zip"});
  const auto shown = menu();
  EXPECT_EQ(itemIn(shown.value(), {"a.zip"})->submenu, nullptr);
  choose(shown.value(), {"a.zip"});
  const DTMessage message = onlyMessage();
  ASSERT_TRUE(half(message, "2").get<IndexPath>());
  EXPECT_THAT(half(message, "2").get<IndexPath>()->indexes, IsEmpty());
}

TEST_F(ActionRequests, ofTwoEntriesWithOneNumberTheOneVisitedLastIsSentForBoth) {
  receiveArchive("/w/a.zip", archive("a.zip", folder("f", 1, leaf("x", 7)), leaf("y", 7)));
  select({"/w/a.zip"});
  for (const auto& titles : {std::vector<std::string>{"a.zip", "f", "x"}, {"a.zip", "y"}}) {
    choose(menu().value(), titles);
    EXPECT_THAT(half(onlyMessage(), "2").get<IndexPath>()->indexes, ElementsAre(1));
  }
}

TEST_F(ActionRequests, aFolderIsVisitedBeforeTheEntriesInIt) {
  receiveArchive("/w/a.zip", archive("a.zip", folder("f", 7, leaf("x", 7))));
  select({"/w/a.zip"});
  choose(menu().value(), {"a.zip", "f", "x"});
  const DTMessage message = onlyMessage();
  ASSERT_TRUE(half(message, "2").get<IndexPath>());
  EXPECT_THAT(half(message, "2").get<IndexPath>()->indexes, ElementsAre(0, 0));
}

TEST_F(ActionRequests, anEntryNumberedZeroTakesTheArchivesOwnPlace) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 0)));
  select({"/w/a.zip"});
  menu();
  perform("expand:", 0);
  EXPECT_THAT(half(onlyMessage(), "2").get<IndexPath>()->indexes, ElementsAre(0));
}

TEST_F(ActionRequests, anEntryNumberedBeyondTheSignedRangeIsNotFoundAgainAndNothingIsSent) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", UINT64_MAX), leaf("y", INT64_MAX)));
  select({"/w/a.zip"});
  const auto shown = menu();
  choose(shown.value(), {"a.zip", "x"});
  EXPECT_THAT(takeMessages(), IsEmpty());
  choose(shown.value(), {"a.zip", "y"});
  EXPECT_THAT(half(onlyMessage(), "2").get<IndexPath>()->indexes, ElementsAre(1));
}

TEST_F(ActionRequests, expandNamesTheFirstTargetEvenOfSeveral) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  extension->setTargetUrls(std::vector{fileURL("/w/a.zip"), fileURL("/w/1")});
  perform("expand:", 1);
  EXPECT_EQ(half(onlyMessage(), "1").get<platform::URL>()->path(), "/w/a.zip");
}

TEST_F(ActionRequests, aRequestThatLacksAHalfIsLoggedAndNotSent) {
  perform("delete:", -203);
  perform("expand:", 1);
  select({"/w/1"});
  menu();
  perform("expand:", 1);
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(fakes.log.lines, ElementsAre("__DT: -[DTDovetailSync delete:] ::: nothing to act on",
                                           "__DT: -[DTDovetailSync expand:] ::: nothing to act on",
                                           "__DT: -[DTDovetailSync expand:] ::: nothing to act on"));
}

TEST_F(ActionRequests, anArchiveThatVanishedIsNotSent) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  const auto shown = menu();
  fakes.fileManager.remove("/w/a.zip");
  choose(shown.value(), {"a.zip", "x"});
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(ActionRequests, anItemWithoutAnActionDoesNothing) {
  select({"/w/1"});
  extension->sendAction(menu().value().items.back());
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(ActionRequests, whetherTheHostCountsAsRunningIsNotAskedBeforeARequestIsSent) {
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 1)));
  select({"/w/a.zip"});
  menu();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object("another build"));
  notice();
  ASSERT_EQ(extension->applicationPid(), -1);
  for (const char* action :
       {"delete:", "compress:", "showPermissions:", "showChecksum:", "expand:", "rename:", "showAcl:", "showSizeBrowser:"}) {
    perform(action, 1);
    EXPECT_EQ(onlyMessage().selector(), action);
  }
}

TEST_F(ActionRequests, withTheHostGoneAChoiceVanishesWithoutAReport) {
  select({"/w/1"});
  const auto shown = menu();
  quitHost();
  fakes.calls.take();
  choose(shown.value(), {"Rename…"});
  EXPECT_THAT(fakes.distributedNotificationCenter.posted, IsEmpty());
}
