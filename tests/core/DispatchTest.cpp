#include <set>

#include "tests/ExtensionFixture.h"

using platform::Data;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

// Every operation with one object argument.
constexpr const char* selectors[] = {
    "beginObservingDirectoryAtURL:",
    "compress:",
    "delete:",
    "endObservingDirectoryAtURL:",
    "expand:",
    "handleMessage:",
    "iconForFileType:",
    "openArchive:portName:",
    "pingPortName:",
    "rename:",
    "requestBadgeIdentifierForURL:",
    "sendMessage:",
    "setArchive:",
    "setArchiveMenus:",
    "setArchives:",
    "setObservedFiles:",
    "setPortMonitor:",
    "setPortName:",
    "setSenderObjects:",
    "setTargetUrls:",
    "showAcl:",
    "showChecksum:",
    "showError:",
    "showPermissions:",
    "showSizeBrowser:",
    "updateApplicationRunning:",
};

std::vector<Object> oneObjectOfEachKind() {
  const auto coded = [](auto value) {
    return Object(std::shared_ptr<const platform::Coding>(std::make_shared<decltype(value)>(std::move(value))));
  };
  return {Object(),
          Object(platform::Null()),
          Object(true),
          Object(platform::Integer::ofSigned(-1)),
          Object(1.5),
          Object("text"),
          Object(Data{1, 2}),
          Object(platform::Date{3}),
          Object(platform::UUID()),
          Object(platform::Array{Object("x")}),
          Object(platform::Set{{Object("x")}}),
          Object(platform::Dictionary()),
          Object(platform::URL::URLWithString("http://x/")),
          Object(platform::Error{"d", 1, {}}),
          Object(platform::IndexPath{{1, 2}}),
          coded(DTArchiveEntry()),
          coded(DTTreeNode()),
          coded(DTMessage("noSuchMethod:", Object()))};
}

// Whether an operation takes an argument of that kind, whatever it then makes of it.
bool isTaken(const std::string& selector, const Object& argument) {
  static const std::set<std::string> forNilAlone{
      "compress:",     "delete:",           "expand:",         "rename:",           "setArchiveMenus:",
      "setArchives:",  "setObservedFiles:", "setPortMonitor:", "setSenderObjects:", "showAcl:",
      "showChecksum:", "showPermissions:",  "showSizeBrowser:"};
  static const std::set<std::string> forURLs{
      "beginObservingDirectoryAtURL:", "endObservingDirectoryAtURL:", "requestBadgeIdentifierForURL:"};
  if (forNilAlone.contains(selector)) return argument.isNil();
  if (forURLs.contains(selector)) return argument.get<platform::URL>();
  if (selector == "handleMessage:") return argument.get<Data>();
  if (selector == "iconForFileType:") return argument.get<std::string>();
  if (selector == "setPortName:") return argument.isNil() || argument.get<std::string>();
  if (selector == "setTargetUrls:") return argument.isNil();  // an array of a text is none of URLs
  if (selector == "sendMessage:") return argument.instance<DTMessage>() != nullptr;
  return selector == "updateApplicationRunning:";  // any object: it tells only that something happened
}

}  // namespace

class Dispatch : public ExtensionTest {
 protected:
  void SetUp() override { startBoth(); }

  void deliver(const Data& bytes) { fakes.messagePorts.deliver("G.Sync.4711", bytes); }
  /// The extension is as it was once "/w" was entered and a menu shown for its one archive "a.txt".
  void expectFieldsOfOneArchive(const std::string& what) {
    EXPECT_EQ(extension->applicationPid(), hostPid) << what;
    EXPECT_NE(extension->port(), nullptr) << what;
    EXPECT_EQ(extension->portName(), "G.Sync.4711") << what;
    EXPECT_NE(extension->portMonitor(), nullptr) << what;
    EXPECT_THAT(observedIn("/w"), ElementsAre("/w/a.txt")) << what;
    ASSERT_TRUE(extension->targetUrls()) << what;
    EXPECT_EQ(extension->targetUrls().value().size(), 1u) << what;
    EXPECT_EQ(extension->archives().count(), 1u) << what;
    EXPECT_EQ(extension->archiveMenus().count(), 1u) << what;
    EXPECT_EQ(extension->senderObjects().count("expand:"), 1u) << what;
  }
  void expectOneCodeTwo() {
    const auto messages = takeMessages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].selector(), "showError:");
    const auto* error = messages[0].argument().get<platform::Error>();
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain, "DTMessageErrorDomain");
    EXPECT_EQ(error->code, 2);
    EXPECT_EQ(error->userInfo.entries.size(), 2u);
    EXPECT_EQ(*error->textForKey("NSLocalizedDescription"), "Finder extension failed to receive message from application");
    EXPECT_EQ(*error->textForKey("NSLocalizedRecoverySuggestion"), "There was an error unarchiving received message.");
  }
};

TEST_F(Dispatch, anEmptyBufferIsReportedOnceWithCodeTwo) {
  deliver({});
  expectOneCodeTwo();
}

TEST_F(Dispatch, aGarbledBufferIsReportedOnceWithCodeTwo) {
  deliver({'b', 'p', 'l', 'i', 's', 't', '0', '0', 9, 9, 9});
  expectOneCodeTwo();
}

TEST_F(Dispatch, aReportThatCannotBeSentIsPostedOnce) {
  fakes.messagePorts.sendStatus = platform::MessagePortStatus::sendTimeout;
  deliver({});
  ASSERT_EQ(fakes.distributedNotificationCenter.posted.size(), 1u);
  EXPECT_EQ(fakes.distributedNotificationCenter.posted[0].name, "DTDovetailAppMessage");
}

TEST_F(Dispatch, anUnknownSelectorIsDroppedWithoutAWord) {
  receive(DTMessage("noSuchMethod:", Object("x")));
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(Dispatch, aRecordWithoutASelectorIsDroppedWithoutAWord) {
  receive(DTMessage());
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(Dispatch, aRootThatIsNoRecordIsDroppedWithoutAWord) {
  deliver(*platform::KeyedArchiver::archivedDataWithRootObject(Object("setArchive:")));
  EXPECT_THAT(takeMessages(), IsEmpty());
}

TEST_F(Dispatch, theHostsOwnMethodsDoNothingHere) {
  receive(DTMessage("showError:", Object(platform::Error{"d", 1, {}})));
  receive(DTMessage("pingPortName:", Object("port")));
  receive(DTMessage("openArchive:portName:", fileURL("/x")));
  EXPECT_THAT(takeMessages(), IsEmpty());
  EXPECT_THAT(fakes.calls.take(), IsEmpty());
}

TEST_F(Dispatch, setArchiveReachesItsMethodWithTheArgumentUnchanged) {
  fakes.fileManager.add("/w/a.zip");
  receiveArchive("/w/a.zip", archive("a.zip", leaf("x", 7)));
  const auto* stored = extension->archives().objectForKey(identityOf("/w/a.zip"));
  ASSERT_TRUE(stored && *stored);
  EXPECT_EQ((*stored)->representedObject()->name(), "a.zip");
  ASSERT_EQ((*stored)->childNodes().size(), 1u);
  EXPECT_EQ((*stored)->childNodes()[0].representedObject()->index(), 7u);
}

TEST_F(Dispatch, methodsWhoseParameterIsNoObjectAreNotReachable) {
  for (const char* selector : {"setApplicationPid:", "setPort:", "menuForMenuKind:", "menuItemWithTag:", "dealloc", "updateFolders",
                               "setupMessageListener", "toolbarItemName"}) {
    for (const Object& argument : oneObjectOfEachKind()) receive(DTMessage(selector, argument));
    for (const std::int64_t number : {0, 5, 10}) receive(DTMessage(selector, Object(platform::Integer::ofSigned(number))));
  }
  EXPECT_EQ(extension->applicationPid(), hostPid);
  EXPECT_NE(extension->port(), nullptr);
  EXPECT_THAT(fakes.calls.take(), IsEmpty());
}

TEST_F(Dispatch, anArgumentOfAnyKindLeavesTheExtensionAlive) {
  for (const char* selector : selectors) {
    for (const Object& argument : oneObjectOfEachKind()) receive(DTMessage(selector, argument));
  }
  takeMessages();
  startHost();
  notice();
  EXPECT_EQ(extension->applicationPid(), hostPid);
}

TEST_F(Dispatch, anArgumentOfAWrongKindIsIgnored) {
  fakes.fileManager.add("/w/a.txt");
  select({"/w/a.txt"});
  menu();
  extension->beginObservingDirectoryAtURL(fileURL("/w"));
  receiveArchive("/w/a.txt", archive("a.txt", leaf("x", 1)));
  menu();
  takeMessages();
  fakes.calls.take();
  for (const char* selector : selectors) {
    for (const Object& argument : oneObjectOfEachKind()) {
      if (isTaken(selector, argument)) continue;
      receive(DTMessage(selector, argument));
      const std::string what = std::string(selector) + " with kind " + std::to_string(argument.value().index());
      EXPECT_THAT(takeMessages(), IsEmpty()) << what;
      EXPECT_THAT(fakes.calls.take(), IsEmpty()) << what;
      EXPECT_THAT(fakes.distributedNotificationCenter.posted, IsEmpty()) << what;
      expectFieldsOfOneArchive(what);
    }
  }
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
}

TEST_F(Dispatch, arraysThatHoldMoreThanURLsLeaveTheTargets) {
  select({"/w/a.txt"});
  menu();
  for (const Object& second : {Object(platform::Null()), Object("file:///w"), Object(platform::Array())}) {
    receive(DTMessage("setTargetUrls:", Object(platform::Array{Object(fileURL("/w")), second})));
    ASSERT_TRUE(extension->targetUrls());
    ASSERT_EQ(extension->targetUrls().value().size(), 1u);
    EXPECT_EQ(extension->targetUrls().value().front().path(), "/w/a.txt");
  }
}

TEST_F(Dispatch, lettingTheWatcherGoDoesNotCancelIt) {
  receive(DTMessage("setPortMonitor:", Object()));
  ASSERT_EQ(extension->portMonitor(), nullptr);
  EXPECT_EQ(fakes.processSources.armedCount(), 1u);
  fakes.processSources.fire(hostPid);
  fakes.loop.run();
  EXPECT_EQ(extension->applicationPid(), -1);
}

TEST_F(Dispatch, everyOperationWithOneObjectArgumentIsInTheTable) {
  // Each is reached: with an argument that it takes it leaves a trace.
  fakes.fileManager.add("/w/a.txt");
  select({"/w/a.txt"});
  menu();
  receive(DTMessage("beginObservingDirectoryAtURL:", fileURL("/w")));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/a.txt"));
  receive(DTMessage("setArchives:", Object()));
  EXPECT_EQ(extension->archives().count(), 0u);
  receive(DTMessage("requestBadgeIdentifierForURL:", fileURL("/w/a.txt")));
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /w/a.txt"));
  receive(DTMessage("setObservedFiles:", Object()));
  EXPECT_TRUE(extension->observedFiles().empty());
  for (const char* action :
       {"compress:", "delete:", "showPermissions:", "showChecksum:", "rename:", "showAcl:", "showSizeBrowser:"}) {
    receive(DTMessage(action, Object()));
    const auto messages = takeMessages();
    ASSERT_EQ(messages.size(), 1u) << action;
    EXPECT_EQ(messages[0].selector(), action);
  }
  receive(DTMessage("expand:", Object()));
  EXPECT_THAT(fakes.log.lines, ElementsAre("__DT: -[DTDovetailSync expand:] ::: nothing to act on"));
  fakes.calls.take();
  receive(DTMessage("iconForFileType:", Object("zip")));
  EXPECT_THAT(fakes.calls.take(), ElementsAre("icon for type \"zip\""));
  receive(DTMessage("updateApplicationRunning:", Object("anything")));
  EXPECT_THAT(takeSummaries(), ElementsAre("pingPortName: G.Sync.4711"));
  receive(DTMessage("setTargetUrls:", Object(platform::Array{Object(fileURL("/w"))})));
  ASSERT_TRUE(extension->targetUrls());
  EXPECT_EQ(extension->targetUrls().value().at(0).path(), "/w");
  receive(DTMessage("setTargetUrls:", Object()));
  EXPECT_FALSE(extension->targetUrls());
  receiveArchive("/w/a.txt", archive("a.txt", leaf("x", 1)));
  menu();
  ASSERT_EQ(extension->archiveMenus().count(), 1u);
  ASSERT_FALSE(extension->senderObjects().empty());
  receive(DTMessage("setSenderObjects:", Object()));
  EXPECT_TRUE(extension->senderObjects().empty());
  receive(DTMessage("setArchiveMenus:", Object()));
  EXPECT_EQ(extension->archiveMenus().count(), 0u);
  receive(DTMessage("setPortName:", Object("P")));
  EXPECT_EQ(extension->portName(), "P");
  receive(DTMessage("setPortName:", Object()));
  EXPECT_FALSE(extension->portName());
  receive(DTMessage("setPortMonitor:", Object()));
  EXPECT_EQ(extension->portMonitor(), nullptr);
}

TEST_F(Dispatch, aRecordMaySendARecord) {
  const auto inner = std::make_shared<DTMessage>("echo:", Object("x"));
  receive(DTMessage("sendMessage:", Object(std::shared_ptr<const platform::Coding>(inner))));
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].selector(), "echo:");
  EXPECT_EQ(messages[0].portName(), "G.Sync.4711");
}

TEST_F(Dispatch, recordsInsideRecordsAreHandledToABoundedDepth) {
  const auto wrapped = [](const Data& bytes) {
    return *platform::KeyedArchiver::archivedDataWithRootObject(
        Object(std::shared_ptr<const platform::Coding>(std::make_shared<DTMessage>("handleMessage:", Object(bytes)))));
  };
  Data record = {'n', 'o', 'n', 'e'};
  record = wrapped(record);
  deliver(record);
  expectOneCodeTwo();
  for (int i = 0; i < 20; ++i) record = wrapped(record);
  deliver(record);
  EXPECT_THAT(takeMessages(), IsEmpty());
  deliver({'n', 'o', 'n', 'e'});
  expectOneCodeTwo();
}
