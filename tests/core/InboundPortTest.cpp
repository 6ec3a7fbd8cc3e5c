// The extension's own port over real sockets: it is the process's and outlives the extension.
#include "platform/linux/ports/MessagePorts.h"
#include "tests/ExtensionFixture.h"
#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"

namespace {

using namespace platform;
using testing::ElementsAre;
using testing::IsEmpty;

class InboundPort : public ExtensionTest {
 protected:
  void SetUp() override {
    const Platform fake = fakes.references();
    extension = DTDovetailSync::init(
        {fake.finderSyncController, ports, fake.userDefaultsSuites, fake.security, fake.distributedNotificationCenter,
         fake.runningApplications, fake.processSources, fake.fileManager, fake.workspace, fake.mainBundle, fake.log},
        onceOnly);
    ASSERT_TRUE(extension);
    host = ports.createRemote("G.Sync.4711");
    ASSERT_TRUE(host);
    fakes.calls.take();
  }
  // Bytes that are no record: the extension reports them, for which it looks its host's port up.
  void sendGarbage() { ASSERT_EQ(host->sendRequest(0, Data{1, 2, 3}, 1, 1), MessagePortStatus::success); }

  tests::TemporaryFolder folder;
  native::LinuxMessagePorts ports{fakes.log, folder.path() + "/dovetail", ::geteuid()};
  std::unique_ptr<RemoteMessagePort> host;
};

TEST_F(InboundPort, handsRecordsToTheExtension) {
  sendGarbage();
  std::vector<std::string> calls;
  ASSERT_TRUE(tests::pumpUntil([&] { return !(calls = fakes.calls.take()).empty(); }));
  EXPECT_THAT(calls, ElementsAre("create task", "copy entitlement com.apple.security.application-groups", "release task"));
}

TEST_F(InboundPort, staysOpenAndDropsWhatItReceivesWhenTheExtensionHasEnded) {
  sendGarbage();
  extension = nullptr;
  sendGarbage();
  fakes.calls.take();
  // A port that is opened later is read later.
  bool isRead = false;
  const auto callBack = [&](LocalMessagePort&, std::int32_t, ByteView) { return isRead = true, std::optional<Data>(); };
  const auto last = ports.createLocal("G.Last", callBack, {});
  ports.addSourceToCurrentRunLoop(*ports.createRunLoopSource(*last, 0), RunLoopMode::common);
  ASSERT_EQ(ports.createRemote("G.Last")->sendRequest(0, Data{1}, 1, 1), MessagePortStatus::success);
  ASSERT_TRUE(tests::pumpUntil([&] { return isRead; }));
  EXPECT_TRUE(host->isValid());
  EXPECT_THAT(fakes.calls.take(), IsEmpty());
}

}  // namespace
