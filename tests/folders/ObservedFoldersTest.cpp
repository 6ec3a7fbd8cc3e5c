#include "tests/ExtensionFixture.h"

using platform::Array;
using platform::Data;
using platform::Object;
using platform::URL;
using platform::fake::FakeKind;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class ObservedFolders : public ExtensionTest {
 protected:
  void SetUp() override {
    fakes.fileManager.add("/w/1");
    fakes.fileManager.add("/w/2");
    fakes.fileManager.add("/w/3");
    fakes.fileManager.add("/w/alias", FakeKind::alias);
    fakes.fileManager.add("/w/sub/inner");
  }

  Object bookmarkOf(const std::string& path) {
    platform::Error error;
    const auto bookmark = fakes.fileManager.bookmarkDataWithURL(fileURL(path), &error);
    return bookmark ? Object(*bookmark) : Object();
  }
  void setFolders(Object value) {
    fakes.userDefaultsSuites.set("G", "DTFoldersPaths", std::move(value));
    fakes.loop.run();
  }
  std::vector<std::string> watched() {
    std::vector<std::string> paths;
    for (const URL& url : fakes.finderSyncController.directoryURLs) paths.push_back(url.path());
    return paths;
  }
};

TEST_F(ObservedFolders, aMissingOrMistypedListWatchesNoFolder) {
  startExtension();
  EXPECT_THAT(watched(), IsEmpty());
  for (const Object& value : {Object("/w"), Object(true), Object(platform::Dictionary())}) {
    setFolders(Array{bookmarkOf("/w")});
    ASSERT_THAT(watched(), ElementsAre("/w"));
    setFolders(value);
    EXPECT_THAT(watched(), IsEmpty());
  }
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(ObservedFolders, theFoldersAreFileReferenceURLsThatFollowARename) {
  setFolders(Array{bookmarkOf("/w")});
  startExtension();
  ASSERT_THAT(watched(), ElementsAre("/w"));
  EXPECT_TRUE(fakes.finderSyncController.directoryURLs[0].isFileReferenceURL());
  fakes.fileManager.rename("/w", "/renamed");
  EXPECT_THAT(watched(), ElementsAre("/renamed"));
}

TEST_F(ObservedFolders, bookmarksAreResolvedInOrderWithoutUserInterface) {
  setFolders(Array{bookmarkOf("/w"), bookmarkOf("/w/sub")});
  fakes.calls.take();
  startExtension();
  const auto calls = fakes.calls.take();
  std::vector<std::string> resolutions;
  for (const std::string& call : calls) {
    if (call.starts_with("resolve")) resolutions.push_back(call.substr(call.rfind("with")));
  }
  EXPECT_THAT(resolutions, ElementsAre("with options 256", "with options 256"));
  EXPECT_THAT(watched(), ElementsAre("/w", "/w/sub"));
}

TEST_F(ObservedFolders, oneBadBookmarkAmongGoodOnesIsOneLogLine) {
  setFolders(Array{bookmarkOf("/w"), Data{'b', 'a', 'd'}, bookmarkOf("/w/sub")});
  startExtension();
  EXPECT_THAT(watched(), ElementsAre("/w", "/w/sub"));
  EXPECT_THAT(fakes.log.lines,
              ElementsAre("__DT: -[DTDovetailSync updateFolders] ::: NSPOSIXErrorDomain 2: No such file or directory"));
}

TEST_F(ObservedFolders, aStaleBookmarkIsUsedAsItResolvesWithoutALogLine) {
  const Object bookmark = bookmarkOf("/w");
  fakes.fileManager.rename("/w", "/renamed");
  setFolders(Array{bookmark});
  startExtension();
  EXPECT_THAT(watched(), ElementsAre("/renamed"));
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(ObservedFolders, anElementThatIsNoDataIsABadBookmark) {
  setFolders(Array{Object("/w"), bookmarkOf("/w")});
  startExtension();
  EXPECT_THAT(watched(), ElementsAre("/w"));
  EXPECT_EQ(fakes.log.lines.size(), 1u);
}

TEST_F(ObservedFolders, twoBookmarksOfOneFolderAreOneMember) {
  setFolders(Array{bookmarkOf("/w"), bookmarkOf("/w")});
  startExtension();
  EXPECT_THAT(watched(), ElementsAre("/w"));
}

TEST_F(ObservedFolders, aFolderThatVanishesOnceItsBookmarkIsResolvedIsSkipped) {
  setFolders(Array{bookmarkOf("/w"), bookmarkOf("/w/sub")});
  fakes.fileManager.find("/w")->hasReference = false;
  startExtension();
  EXPECT_THAT(watched(), ElementsAre("/w/sub"));
}

TEST_F(ObservedFolders, anEmptyListReplacesTheWatchedSet) {
  setFolders(Array{bookmarkOf("/w")});
  startExtension();
  setFolders(Array());
  EXPECT_THAT(watched(), IsEmpty());
}

TEST_F(ObservedFolders, enteringAFolderAsksOncePerRegularFileAndMarksEveryEntry) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(takeSummaries(),
              ElementsAre("openArchive:portName: /w/1", "openArchive:portName: /w/2", "openArchive:portName: /w/3"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
  for (const char* path : {"/w/1", "/w/2", "/w/3", "/w/alias", "/w/sub"}) EXPECT_TRUE(isMarked(path)) << path;
  EXPECT_EQ(extension->archives().count(), 5u) << "subfolders are not entered";
}

TEST_F(ObservedFolders, ofTwoNamesOfOneFileTheHostIsAskedOnceAndBothAreRecorded) {
  fakes.fileManager.find("/w/2")->number = fakes.fileManager.find("/w/1")->number;
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/1", "openArchive:portName: /w/3"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
}

TEST_F(ObservedFolders, aFailedRequestLeavesTheFileMarkedAndIsNotRepeated) {
  startBoth();
  // A host without a port: the send fails, the marker stands.
  fakes.messagePorts.sendStatus = platform::MessagePortStatus::sendTimeout;
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_TRUE(isMarked("/w/1"));
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_EQ(fakes.distributedNotificationCenter.posted.size(), 3u);
}

TEST_F(ObservedFolders, enteringTheSameFolderAgainSendsNothingAndRecordsWhatIsKnownByThen) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  extension->beginObservingDirectoryAtURL(fileURL("/w/"));
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(observedIn("/w"), UnorderedElementsAre("/w/1", "/w/2", "/w/3", "/w/alias", "/w/sub"));
}

TEST_F(ObservedFolders, enteringAFolderAgainKeepsWhatItsRecordHeld) {
  startBoth();
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  fakes.fileManager.remove("/w/1");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
  fakes.fileManager.remove("/w/2");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(observedIn("/w"), testing::IsSupersetOf({"/w/1", "/w/2", "/w/3"}));
}

TEST_F(ObservedFolders, hiddenEntriesAreAskedAboutAndRecordedAsOthers) {
  startBoth();
  fakes.fileManager.add("/v/.hidden");
  extension->beginObservingDirectoryAtURL(fileURL("/v"));
  fakes.fileManager.add("/w/.shown");
  extension->requestBadgeIdentifierForURL(fileURL("/w/.shown"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /v/.hidden", "openArchive:portName: /w/.shown"));
  EXPECT_THAT(observedIn("/v"), ElementsAre("/v/.hidden"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/.shown"));
}

TEST_F(ObservedFolders, untilTheHostHasBeenLookedForFilesAreRecordedAndNotAskedAbout) {
  startHost();
  fakes.finderSyncController.whenDirectoryURLsAreSet = [&] {
    platform::FinderSync& starting = *fakes.finderSyncController.extension;
    starting.beginObservingDirectoryAtURL(fileURL("/w"));
    starting.requestBadgeIdentifierForURL(fileURL("/w/sub/inner"));
    EXPECT_THAT(takeMessages(), IsEmpty());
  };
  startExtension();
  EXPECT_THAT(takeSummaries(),
              testing::UnorderedElementsAre("pingPortName: G.Sync.4711", "openArchive:portName: /w/1", "openArchive:portName: /w/2",
                                            "openArchive:portName: /w/3", "openArchive:portName: /w/sub/inner"));
}

TEST_F(ObservedFolders, theMessagesArgumentIsTheURLAsListed) {
  startBoth();
  fakes.fileManager.add("/v/na me");
  extension->beginObservingDirectoryAtURL(fileURL("/v"));
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].argument().get<URL>()->absoluteString(), "file:///v/na%20me");
  EXPECT_EQ(messages[0].portName(), "G.Sync.4711");
}

TEST_F(ObservedFolders, theMessagesArgumentIsTheURLAsShown) {
  startBoth();
  extension->requestBadgeIdentifierForURL(URL::URLWithString("file:///w//1"));
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].argument().get<URL>()->relativeString(), "file:///w//1");
}

TEST_F(ObservedFolders, withoutAHostNothingIsSentAndOnlyOtherKindsAreMarked) {
  startExtension();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_FALSE(extension->archives().objectForKey(identityOf("/w/1")));
  EXPECT_TRUE(isMarked("/w/alias"));
  EXPECT_TRUE(isMarked("/w/sub"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
  startHost();
  notice();
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711", "openArchive:portName: /w/1", "openArchive:portName: /w/2",
                                           "openArchive:portName: /w/3"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("no record"));
}

TEST_F(ObservedFolders, theReplayCoversWhatWasRecordedBecauseItWasKnown) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  notice();
  EXPECT_THAT(takeSummaries(), testing::Contains("openArchive:portName: /w/sub"));
}

TEST_F(ObservedFolders, aFolderWithoutAnIdentityIsIgnored) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/gone"));
  EXPECT_TRUE(extension->observedFiles().empty());
  EXPECT_THAT(fakes.calls.take(), IsEmpty()) << "it is not listed";
}

TEST_F(ObservedFolders, anEmptyOrUnreadableFolderGetsAnEmptyRecord) {
  startBoth();
  fakes.fileManager.add("/empty", FakeKind::directory);
  fakes.fileManager.find("/w")->isReadable = false;
  extension->beginObservingDirectoryAtURL(fileURL("/empty"));
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(observedIn("/empty"), IsEmpty());
  EXPECT_THAT(observedIn("/w"), IsEmpty());
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(ObservedFolders, anEntryWithoutAnIdentityIsSkipped) {
  startBoth();
  fakes.fileManager.find("/w/2")->properties.emplace(platform::ResourceKey::fileResourceIdentifier, Object());
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/3"));
}

TEST_F(ObservedFolders, aFileWhoseTreeIsKnownIsRecordedAndNotAskedAbout) {
  startBoth();
  receiveArchive("/w/1", archive("1"));
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/2", "openArchive:portName: /w/3"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
}

TEST_F(ObservedFolders, seeingANewRegularFileAsksAndRecordsItUnderItsParent) {
  startBoth();
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/1"));
  EXPECT_TRUE(isMarked("/w/1"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1"));
}

TEST_F(ObservedFolders, seeingAFileAfterItsFolderWasEnteredAddsNothing) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
}

TEST_F(ObservedFolders, seeingAFolderOrALinkMarksItAndRecordsNothing) {
  startBoth();
  fakes.fileManager.add("/w/link", FakeKind::symbolicLink);
  for (const char* path : {"/w/sub", "/w/link", "/w/alias"}) {
    extension->requestBadgeIdentifierForURL(fileURL(path));
    EXPECT_TRUE(isMarked(path)) << path;
  }
  EXPECT_TRUE(extension->observedFiles().empty());
  EXPECT_THAT(takeMessages(), IsEmpty());
  extension->requestBadgeIdentifierForURL(fileURL("/w/sub"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/sub")) << "it is known by now";
}

TEST_F(ObservedFolders, seeingAFileWithoutAHostRecordsItAndMarksNothing) {
  startExtension();
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  EXPECT_EQ(extension->archives().count(), 0u);
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1"));
}

TEST_F(ObservedFolders, seeingAFileThatIsGoneDoesNothing) {
  startBoth();
  extension->requestBadgeIdentifierForURL(fileURL("/w/gone"));
  EXPECT_TRUE(extension->observedFiles().empty());
  EXPECT_EQ(extension->archives().count(), 0u);
}

TEST_F(ObservedFolders, theParentIsTheFolderThatTheSystemNamesWhateverThePathSays) {
  startBoth();
  fakes.fileManager.add("/v", FakeKind::directory);
  fakes.fileManager.find("/w/1")->properties.emplace(platform::ResourceKey::parentDirectoryURL, Object(fileURL("/v")));
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  EXPECT_THAT(observedIn("/v"), ElementsAre("/w/1"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("no record"));
}

TEST_F(ObservedFolders, aFileWhoseParentHasNoIdentityIsAskedAboutAndNotRecorded) {
  startBoth();
  fakes.fileManager.find("/w")->properties.emplace(platform::ResourceKey::fileResourceIdentifier, Object());
  extension->requestBadgeIdentifierForURL(fileURL("/w/1"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/1"));
  EXPECT_TRUE(extension->observedFiles().empty());
}

TEST_F(ObservedFolders, leavingAFolderKeepsItsRecord) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  extension->endObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(observedIn("/w"), ElementsAre("/w/1", "/w/2", "/w/3"));
}

TEST_F(ObservedFolders, leavingAFolderThatIsGoneRemovesNothing) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  extension->endObservingDirectoryAtURL(fileURL("/gone"));
  EXPECT_EQ(extension->observedFiles().size(), 1u);
}

TEST_F(ObservedFolders, afterTheHostWentEveryFileIsNewAgain) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  quitHost();
  startHost();
  notice();
  EXPECT_EQ(takeMessages().size(), 4u) << "a ping and three requests";
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(ObservedFolders, aFileReplacedUnderItsNameIsNewAgain) {
  startBoth();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  takeMessages();
  fakes.fileManager.add("/w/1");
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/1"));
  EXPECT_EQ(std::ranges::count(observedIn("/w"), "/w/1"), 1);
}

TEST(URLSetOfFiles, aURLIsAMemberOnceInTheOrderOfArrival) {
  platform::fake::CallLog calls;
  platform::fake::FakeFileManager files(calls);
  URLSet set;
  for (int round = 0; round < 2; ++round) {
    for (int i = 0; i < 500; ++i) {
      const std::string path = "/w/" + std::to_string(i);
      if (round == 0) files.add(path);
      EXPECT_EQ(set.insert(fileURL(path), *files.fileResourceIdentifier(fileURL(path)), files), round == 0);
    }
  }
  ASSERT_EQ(set.urls().size(), 500u);
  EXPECT_EQ(set.urls()[499].path(), "/w/499");
}
