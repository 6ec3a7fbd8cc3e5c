// The rules of message ports that the fake and the Linux backend keep alike.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <numeric>

#include "platform/fake/FakeMessagePorts.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/ports/MessagePorts.h"
#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"

namespace {

using namespace platform;

struct FakeBackend {
  fake::CallLog calls;
  fake::FakeMainLoop loop;
  fake::FakeMessagePorts ports{calls, loop};

  template <typename Condition>
  bool runUntil(Condition holds) {
    loop.run();
    return holds();
  }
};

struct LinuxBackend {
  tests::TemporaryFolder folder;
  fake::FakeLog log;
  native::LinuxMessagePorts ports{log, folder.path() + "/dovetail", ::geteuid()};

  template <typename Condition>
  bool runUntil(Condition holds) {
    return tests::pumpUntil(holds);
  }
};

struct Received {
  std::vector<Data> records;
  std::vector<std::string> ports;
};

Data bytes(std::string_view text) { return Data(text.begin(), text.end()); }

Data patterned(std::size_t size) {
  Data data(size);
  for (std::size_t i = 0; i < size; ++i) data[i] = static_cast<std::uint8_t>(i * 31 + i / 251);
  return data;
}

template <typename Backend>
class MessagePortsContract : public testing::Test {
 protected:
  std::shared_ptr<LocalMessagePort> open(std::string_view name) {
    const auto add = [this](LocalMessagePort& port, std::int32_t, ByteView data) {
      received.records.emplace_back(data.begin(), data.end());
      received.ports.emplace_back(port.name());
      if (closesItsPort) port.invalidate();
      return Data{1, 2, 3};
    };
    return backend.ports.createLocal(name, add, {});
  }
  void read(const std::shared_ptr<LocalMessagePort>& port) {
    backend.ports.addSourceToCurrentRunLoop(*backend.ports.createRunLoopSource(*port, 0), RunLoopMode::common);
  }
  bool runUntilReceived(std::size_t count) {
    return backend.runUntil([&] { return received.records.size() >= count; });
  }
  static MessagePortStatus send(RemoteMessagePort& port, ByteView record) { return port.sendRequest(0, record, 1, 1); }

  // The records first: a callback may run as long as its backend lives.
  Received received;
  bool closesItsPort = false;
  Backend backend;
};

using Backends = testing::Types<FakeBackend, LinuxBackend>;
TYPED_TEST_SUITE(MessagePortsContract, Backends);

TYPED_TEST(MessagePortsContract, aRecordArrivesAsItWasSentWithThePort) {
  const auto local = this->open("G.Sync.1");
  ASSERT_NE(local, nullptr);
  EXPECT_EQ(local->name(), "G.Sync.1");
  this->read(local);
  const auto remote = this->backend.ports.createRemote("G.Sync.1");
  ASSERT_NE(remote, nullptr);
  const Data record = {0, 255, 'a', 0};
  EXPECT_EQ(this->send(*remote, record), MessagePortStatus::success);
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records, std::vector<Data>{record});
  EXPECT_EQ(this->received.ports, std::vector<std::string>{"G.Sync.1"});
}

TYPED_TEST(MessagePortsContract, recordsOfAllSizesArriveInTheOrderTheyWereSent) {
  this->read(this->open("G.App"));
  const auto remote = this->backend.ports.createRemote("G.App");
  std::vector<Data> sent;
  for (const std::size_t size : {1, 0, 65535, 65536, 65537, 1, 10'000'000, 7, 0, 200'000, 2}) {
    sent.push_back(patterned(size));
    ASSERT_EQ(this->send(*remote, sent.back()), MessagePortStatus::success) << size;
    ASSERT_TRUE(this->runUntilReceived(sent.size())) << size;
  }
  EXPECT_EQ(this->received.records, sent);
}

TYPED_TEST(MessagePortsContract, aRecordOfMoreThanTheBoundIsRefusedAndThePortStaysUsable) {
  this->read(this->open("G.App"));
  const auto remote = this->backend.ports.createRemote("G.App");
  // Never touched, so it takes no memory.
  void* room = ::mmap(nullptr, longestRecord + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(room, MAP_FAILED);
  EXPECT_EQ(this->send(*remote, {static_cast<const std::uint8_t*>(room), longestRecord + 1}), MessagePortStatus::transportError);
  ::munmap(room, longestRecord + 1);
  EXPECT_EQ(this->send(*remote, bytes("a")), MessagePortStatus::success);
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records, std::vector<Data>{bytes("a")});
}

TYPED_TEST(MessagePortsContract, nothingArrivesBeforeControlReturnsToTheMainLoop) {
  this->read(this->open("G.App"));
  const auto remote = this->backend.ports.createRemote("G.App");
  this->send(*remote, bytes("a"));
  EXPECT_TRUE(this->received.records.empty());
  EXPECT_TRUE(this->runUntilReceived(1));
}

TYPED_TEST(MessagePortsContract, recordsWaitForTheSourceToBeAdded) {
  const auto local = this->open("G.App");
  const auto remote = this->backend.ports.createRemote("G.App");
  ASSERT_NE(remote, nullptr);
  EXPECT_EQ(this->send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_EQ(this->send(*remote, bytes("b")), MessagePortStatus::success);
  this->backend.runUntil([] { return true; });
  EXPECT_TRUE(this->received.records.empty());
  this->read(local);
  ASSERT_TRUE(this->runUntilReceived(2));
  EXPECT_EQ(this->received.records, (std::vector<Data>{bytes("a"), bytes("b")}));
}

TYPED_TEST(MessagePortsContract, aRecordSentBeforeThePortWasReleasedStillArrives) {
  this->read(this->open("G.App"));
  this->send(*this->backend.ports.createRemote("G.App"), bytes("last words"));
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records.front(), bytes("last words"));
}

TYPED_TEST(MessagePortsContract, megabytesWaitForAListenerThatDoesNotReadYetAndArriveInOrder) {
  const auto local = this->open("G.App");
  const auto remote = this->backend.ports.createRemote("G.App");
  std::vector<Data> sent;
  for (std::size_t i = 0; i < 3000; ++i) {
    sent.push_back(patterned(i % 100 == 3 ? 70'000 : 1000 + i));
    ASSERT_EQ(this->send(*remote, sent.back()), MessagePortStatus::success) << i;
  }
  this->read(local);
  ASSERT_TRUE(this->runUntilReceived(sent.size()));
  this->backend.runUntil([] { return true; });
  EXPECT_EQ(this->received.records, sent);
}

TYPED_TEST(MessagePortsContract, aTakenNameOpensNoSecondPort) {
  ASSERT_NE(this->open("G.App"), nullptr);
  EXPECT_EQ(this->open("G.App"), nullptr);
  EXPECT_NE(this->open("G.App.2"), nullptr);
}

TYPED_TEST(MessagePortsContract, aRemotePortIsNullWhereNobodyListens) {
  EXPECT_EQ(this->backend.ports.createRemote("G.App"), nullptr);
  ASSERT_NE(this->open("G.App"), nullptr);
  EXPECT_EQ(this->backend.ports.createRemote("G.Ap"), nullptr);
  EXPECT_NE(this->backend.ports.createRemote("G.App"), nullptr);
}

TYPED_TEST(MessagePortsContract, anInvalidatedPortSendsNothingMore) {
  this->read(this->open("G.App"));
  const auto remote = this->backend.ports.createRemote("G.App");
  const auto other = this->backend.ports.createRemote("G.App");
  EXPECT_TRUE(remote->isValid());
  remote->invalidate();
  EXPECT_FALSE(remote->isValid());
  EXPECT_TRUE(other->isValid());
  EXPECT_EQ(this->send(*remote, bytes("a")), MessagePortStatus::isInvalid);
  remote->invalidate();
  EXPECT_EQ(this->send(*remote, bytes("b")), MessagePortStatus::isInvalid);
  EXPECT_EQ(this->send(*other, bytes("c")), MessagePortStatus::success);
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records, std::vector<Data>{bytes("c")});
}

TYPED_TEST(MessagePortsContract, aPortThatNobodyHoldsStaysOpen) {
  this->read(this->open("G.App"));
  EXPECT_EQ(this->open("G.App"), nullptr);
  EXPECT_NE(this->backend.ports.createRemote("G.App"), nullptr);
}

TYPED_TEST(MessagePortsContract, aClosedPortIsFoundByNobodyAndItsNameIsFree) {
  const auto local = this->open("G.App");
  this->read(local);
  local->invalidate();
  EXPECT_EQ(this->backend.ports.createRemote("G.App"), nullptr);
  EXPECT_NE(this->open("G.App"), nullptr);
  local->invalidate();
  EXPECT_NE(this->backend.ports.createRemote("G.App"), nullptr) << "the second closing is the first port's";
}

TYPED_TEST(MessagePortsContract, aClosedPortLosesWhatItHasNotReadAndReadsNoMore) {
  const auto local = this->open("G.App");
  this->read(local);
  const auto remote = this->backend.ports.createRemote("G.App");
  EXPECT_EQ(this->send(*remote, bytes("a")), MessagePortStatus::success);
  local->invalidate();
  EXPECT_FALSE(remote->isValid());
  EXPECT_EQ(this->send(*remote, bytes("b")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(this->send(*remote, bytes("c")), MessagePortStatus::isInvalid);
  this->read(local);
  this->read(this->open("G.App"));
  EXPECT_EQ(this->send(*this->backend.ports.createRemote("G.App"), bytes("d")), MessagePortStatus::success);
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records, std::vector<Data>{bytes("d")});
}

TYPED_TEST(MessagePortsContract, aCallbackMayCloseItsPort) {
  this->closesItsPort = true;
  this->read(this->open("G.App"));
  const auto remote = this->backend.ports.createRemote("G.App");
  this->send(*remote, bytes("a"));
  this->send(*remote, bytes("b"));
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records, std::vector<Data>{bytes("a")});
  EXPECT_EQ(this->backend.ports.createRemote("G.App"), nullptr);
}

TYPED_TEST(MessagePortsContract, aPortIsGoodAgainWhenItsListenerIs) {
  const auto first = this->open("G.App");
  this->read(first);
  const auto remote = this->backend.ports.createRemote("G.App");
  first->invalidate();
  EXPECT_EQ(this->send(*remote, bytes("a")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(this->send(*remote, bytes("b")), MessagePortStatus::isInvalid);
  EXPECT_FALSE(remote->isValid());
  const auto second = this->open("G.App");
  this->read(second);
  EXPECT_TRUE(remote->isValid());
  EXPECT_EQ(this->send(*remote, bytes("c")), MessagePortStatus::success);
  second->invalidate();
  this->read(this->open("G.App"));
  EXPECT_EQ(this->send(*remote, bytes("d")), MessagePortStatus::success);
  ASSERT_TRUE(this->runUntilReceived(1));
  EXPECT_EQ(this->received.records.back(), bytes("d"));
}

}  // namespace
