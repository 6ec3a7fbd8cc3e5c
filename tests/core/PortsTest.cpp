#include "core/ApplicationGroup.h"
#include "tests/ExtensionFixture.h"

using platform::Array;
using platform::Integer;
using platform::MessagePortStatus;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

class Ports : public ExtensionTest {
 protected:
  std::vector<std::string> postedReasons() {
    std::vector<std::string> texts;
    for (const auto& notification : fakes.distributedNotificationCenter.posted) {
      EXPECT_EQ(notification.name, "DTDovetailAppMessage");
      texts.push_back(notification.object);
    }
    return texts;
  }
  static std::string sendFailure(const std::string& reason) {
    return R"({"NSLocalizedDescription":"Finder extension failed to send message to application",)"
           R"("NSLocalizedRecoverySuggestion":")" +
           reason + R"("})";
  }
  void send(std::string selector) {
    DTMessage message(std::move(selector), Object());
    extension->sendMessage(message);
  }
};

TEST_F(Ports, withoutATaskTheGroupLookUpSaysSo) {
  fakes.security.hasTask = false;
  EXPECT_EQ(copyApplicationGroup(fakes.security).reason(), "There was an error creating security task for Finder extension.");
}

TEST_F(Ports, withoutTheEntitlementTheGroupLookUpSaysSo) {
  fakes.security.applicationGroups = Object();
  EXPECT_EQ(copyApplicationGroup(fakes.security).reason(), "There was an error getting application groups security entitlement.");
}

TEST_F(Ports, anEntitlementThatIsAStringIsEmpty) {
  fakes.security.applicationGroups = Object("G");
  EXPECT_EQ(copyApplicationGroup(fakes.security).reason(), "Application groups security entitlement is empty.");
}

TEST_F(Ports, anEntitlementThatIsAnEmptyArrayIsEmpty) {
  fakes.security.applicationGroups = Object(Array());
  EXPECT_EQ(copyApplicationGroup(fakes.security).reason(), "Application groups security entitlement is empty.");
}

TEST_F(Ports, aNumberAsFirstGroupIsOfUnknownTypeEvenWithAStringBehindIt) {
  fakes.security.applicationGroups = Object(Array{Object(Integer::ofSigned(1)), Object("G")});
  const auto group = copyApplicationGroup(fakes.security);
  ASSERT_FALSE(group);
  EXPECT_EQ(group.reason(), "Application groups security entitlement is of unknown type.");
}

TEST_F(Ports, theFirstOfSeveralGroupsCounts) {
  fakes.security.applicationGroups = Object(Array{Object("G"), Object("H")});
  EXPECT_EQ(*copyApplicationGroup(fakes.security), "G");
}

TEST_F(Ports, theTaskIsReleasedOnEveryPathOfTheLookUp) {
  for (const Object& value : {Object(), Object("G"), Object(Array()), Object(Array{Object(true)})}) {
    fakes.security.applicationGroups = value;
    fakes.calls.take();
    static_cast<void>(copyApplicationGroup(fakes.security));
    EXPECT_EQ(fakes.calls.take().back(), "release task");
  }
}

TEST_F(Ports, theGroupIsLookedUpAfreshForEachPort) {
  startExtension();
  startHost();
  fakes.calls.take();
  send("go:");
  EXPECT_THAT(fakes.calls.take(),
              ElementsAre("create task", "copy entitlement com.apple.security.application-groups", "release task",
                          "create remote port G.App", "send to G.App, id 0, time-outs 1.0 and 1.0"));
}

TEST_F(Ports, anInboundPortThatCannotBeOpenedReachesTheHostAsCodeOne) {
  startHost();
  fakes.messagePorts.refusesLocalPorts = true;
  startExtension();
  const auto messages = takeMessages();
  ASSERT_FALSE(messages.empty());
  const auto* error = messages[0].argument().get<platform::Error>();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain, "DTMessageErrorDomain");
  EXPECT_EQ(error->code, 1);
  EXPECT_EQ(error->userInfo.entries.size(), 2u);
  EXPECT_EQ(*error->textForKey("NSLocalizedDescription"), "Finder extension failed to receive message from application");
  EXPECT_EQ(*error->textForKey("NSLocalizedRecoverySuggestion"), "There was an error creating receiving communication port.");
}

TEST_F(Ports, withAHostThatDoesNotListenAMessageVanishesAndTheNextSendTriesAgain) {
  startExtension();
  send("go:");
  EXPECT_EQ(extension->port(), nullptr);
  EXPECT_THAT(postedReasons(), IsEmpty());
  fakes.messagePorts.listen("G.App");
  send("again:");
  EXPECT_NE(extension->port(), nullptr);
  EXPECT_THAT(takeSummaries(), ElementsAre("again:"));
}

TEST_F(Ports, theSenderIsStampedOverWhateverPortNameTheMessageHeld) {
  startBoth();
  DTMessage message("go:", Object("x"));
  message.setPortName("elsewhere");
  extension->sendMessage(message);
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_EQ(messages[0].portName(), "G.Sync.4711");
}

TEST_F(Ports, withoutAnOwnPortTheNameThatTheMessageHeldIsTakenOut) {
  fakes.messagePorts.refusesLocalPorts = true;
  startBoth();
  ASSERT_FALSE(extension->portName());
  DTMessage message("go:", Object("x"));
  message.setPortName("elsewhere");
  extension->sendMessage(message);
  const auto messages = takeMessages();
  ASSERT_EQ(messages.size(), 1u);
  EXPECT_FALSE(messages[0].portName());
}

TEST_F(Ports, aFailedSendPostsItsStatusAndKeepsThePort) {
  startBoth();
  for (const auto status : {MessagePortStatus::sendTimeout, MessagePortStatus::isInvalid, MessagePortStatus::transportError,
                            MessagePortStatus::becameInvalid}) {
    fakes.distributedNotificationCenter.posted.clear();
    fakes.messagePorts.sendStatus = status;
    const auto* port = extension->port();
    DTMessage message("go:", Object());
    extension->sendMessage(message);
    EXPECT_EQ(extension->port(), port);
    if (status == MessagePortStatus::becameInvalid) break;  // from here on the port itself says that it is invalid
    EXPECT_THAT(postedReasons(), ElementsAre(sendFailure("There was an error sending message to application, status " +
                                                         std::to_string(static_cast<int>(status)) + ".")));
  }
}

TEST_F(Ports, aFailedSendIsPostedAtOnceAndNotRetried) {
  startBoth();
  fakes.messagePorts.sendStatus = MessagePortStatus::sendTimeout;
  send("go:");
  EXPECT_THAT(fakes.calls.take(), ElementsAre("send to G.App, id 0, time-outs 1.0 and 1.0", "post DTDovetailAppMessage at once"));
}

TEST_F(Ports, aStalePortFailsOncePerMessage) {
  startBoth();
  fakes.messagePorts.hangUp("G.App");
  send("one:");
  send("two:");
  EXPECT_THAT(postedReasons(), ElementsAre(sendFailure("There was an error sending message to application, status -5."),
                                           sendFailure("There was an error sending message to application, status -3.")));
}

TEST_F(Ports, aMessageThatCannotBeArchivedIsReportedAndNotSent) {
  startBoth();
  DTMessage message("go:", Object(std::string("\xFF\xFE")));
  extension->sendMessage(message);
  EXPECT_THAT(postedReasons(), ElementsAre(sendFailure("There was an error archiving message for sending.")));
  EXPECT_THAT(takeSummaries(), IsEmpty());
}

TEST_F(Ports, setPortWithNullAndNothingStoredDoesNothing) {
  startExtension();
  fakes.calls.take();
  extension->setPort(nullptr);
  EXPECT_THAT(fakes.calls.take(), IsEmpty());
}

TEST_F(Ports, setPortInvalidatesAndReleasesTheStoredPortFirst) {
  startBoth();
  extension->setPort(nullptr);
  EXPECT_THAT(fakes.calls.take(), ElementsAre("invalidate port G.App", "release port G.App"));
}

TEST_F(Ports, setPortLetsTheStoredPortGoForTheNewOne) {
  startBoth();
  auto next = fakes.messagePorts.createRemote("G.App");
  const auto* port = next.get();
  fakes.calls.take();
  extension->setPort(std::move(next));
  EXPECT_EQ(extension->port(), port);
  EXPECT_THAT(fakes.calls.take(), ElementsAre("invalidate port G.App", "release port G.App"));
}

TEST_F(Ports, aRecordOfAnyNumberIsHandledAndGetsNoReply) {
  startBoth();
  const platform::Data garbage = {1, 2, 3};
  EXPECT_EQ(fakes.messagePorts.deliver("G.Sync.4711", garbage, 7), std::nullopt);
  EXPECT_THAT(takeSummaries(), ElementsAre("showError:"));
}

TEST_F(Ports, withoutTheEntitlementAndAHostStartUpPostsExactlyOneFailureWithTheLookUpsText) {
  fakes.security.applicationGroups = Object("G");
  startExtension();
  EXPECT_THAT(postedReasons(), ElementsAre(sendFailure("Application groups security entitlement is empty.")));
}
