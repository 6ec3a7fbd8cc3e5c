// The form of records on the wire, against raw sockets: what a peer in another language sends and gets.
#include <fcntl.h>

#include <fstream>
#include <functional>

#include "platform/linux/ports/Record.h"
#include "platform/linux/ports/RemotePort.h"
#include "tests/platform/ports/LinuxPortsFixture.h"

namespace {

using namespace tests;

constexpr int allSeals = F_SEAL_WRITE | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL;

Descriptor memoryOf(ByteView content, int seals) {
  Descriptor memory(::memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING));
  EXPECT_EQ(::write(memory.get(), content.data(), content.size()), static_cast<ssize_t>(content.size()));
  EXPECT_EQ(::fcntl(memory.get(), F_ADD_SEALS, seals), 0);
  return memory;
}

struct Packet {
  Data bytes;
  std::vector<Descriptor> descriptors;
};

Packet rawReceive(int socket) {
  Packet packet{Data(1 << 20), {}};
  iovec part{packet.bytes.data(), packet.bytes.size()};
  alignas(cmsghdr) unsigned char control[256];
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof(control);
  const ssize_t length = ::recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
  packet.bytes.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr; header = CMSG_NXTHDR(&message, header)) {
    int number = -1;
    std::memcpy(&number, CMSG_DATA(header), sizeof(number));
    packet.descriptors.emplace_back(number);
  }
  return packet;
}

Data contentOf(const Descriptor& memory) {
  Data content(static_cast<std::size_t>(::lseek(memory.get(), 0, SEEK_END)));
  EXPECT_EQ(::pread(memory.get(), content.data(), content.size(), 0), static_cast<ssize_t>(content.size()));
  return content;
}

class SentRecord : public LinuxPortsTest {
 protected:
  void SetUp() override {
    ::mkdir(portFolder().c_str(), 0700);
    listener = rawListen(socketPath());
    remote = ports->createRemote("G.App");
    ASSERT_NE(remote, nullptr);
    peer.reset(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  }
  Packet sent(const Data& record) {
    EXPECT_EQ(send(*remote, record), MessagePortStatus::success);
    return rawReceive(peer.get());
  }

  Descriptor listener;
  std::unique_ptr<platform::RemoteMessagePort> remote;
  Descriptor peer;
};

TEST_F(SentRecord, isOnePacketOfItsBytes) {
  for (const std::size_t size : {std::size_t{1}, std::size_t{300}, std::size_t{65536}}) {
    const Packet packet = sent(Data(size, 'x'));
    EXPECT_EQ(packet.bytes, Data(size, 'x'));
    EXPECT_TRUE(packet.descriptors.empty());
  }
}

TEST_F(SentRecord, isASealedMemoryFileWhenItDoesNotFitAPacketOrIsEmpty) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{65537}, std::size_t{10'000'000}}) {
    const Packet packet = sent(Data(size, 'x'));
    EXPECT_EQ(packet.bytes.size(), 1u);
    ASSERT_EQ(packet.descriptors.size(), 1u);
    EXPECT_EQ(::fcntl(packet.descriptors[0].get(), F_GET_SEALS) & allSeals, allSeals);
    EXPECT_EQ(contentOf(packet.descriptors[0]), Data(size, 'x'));
  }
}

TEST_F(SentRecord, isAMemoryFileWhenTheSocketsBufferIsSmallerThanThePacket) {
  Descriptor socket = rawConnect(socketPath());
  peer.reset(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  const int small = 2048;
  ASSERT_EQ(::setsockopt(socket.get(), SOL_SOCKET, SO_SNDBUF, &small, sizeof(small)), 0);
  const auto connector = std::make_shared<platform::native::Connector>(log, portFolder(), ::geteuid());
  platform::native::Connector::Connection connection{std::move(socket), ::getpid(), false};
  remote = std::make_unique<platform::native::RemotePort>("G.App", std::move(connection), connector, log);
  const Packet packet = sent(Data(60000, 'x'));
  ASSERT_EQ(packet.descriptors.size(), 1u);
  EXPECT_EQ(contentOf(packet.descriptors[0]), Data(60000, 'x'));
}

TEST_F(SentRecord, ofMoreThanTheBoundIsRefusedAndThePortStaysUsable) {
  // Never touched, so it takes no memory.
  void* room = ::mmap(nullptr, platform::native::longestRecord + 1, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  ASSERT_NE(room, MAP_FAILED);
  const ByteView record(static_cast<const std::uint8_t*>(room), platform::native::longestRecord + 1);
  EXPECT_EQ(send(*remote, record), MessagePortStatus::transportError);
  ::munmap(room, record.size());
  EXPECT_TRUE(hasLogged("cannot be sent"));
  EXPECT_EQ(sent(bytes("a")).bytes, bytes("a"));
}

TEST_F(SentRecord, leavesNoDescriptorOpen) {
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 50; ++i) sent(Data(100'000, 'x'));
  EXPECT_EQ(openDescriptors(), before);
}

class ReceivedRecord : public LinuxPortsTest {
 protected:
  void SetUp() override {
    listen();
    peer = rawConnect(socketPath());
    ASSERT_TRUE(peer);
  }
  void expectCut() {
    EXPECT_TRUE(isCut(peer.get()));
    EXPECT_TRUE(received.empty());
    const Descriptor next = rawConnect(socketPath());
    rawSend(next.get(), bytes("next"));
    EXPECT_TRUE(runUntilReceived(1));
    EXPECT_EQ(received.front(), bytes("next"));
  }

  Descriptor peer;
};

TEST_F(ReceivedRecord, isThePacketsBytes) {
  const std::vector<Data> records = {{0}, bytes("record"), Data(65536, 'y')};
  for (const Data& record : records) rawSend(peer.get(), record);
  ASSERT_TRUE(runUntilReceived(3));
  EXPECT_EQ(received, records);
}

TEST_F(ReceivedRecord, isTheMemoryFilePassedAlong) {
  const std::vector<Data> records = {{}, {1}, Data(65536 * 3 + 1, 'y')};
  for (const Data& record : records) rawSend(peer.get(), {0}, {memoryOf(record, allSeals).get()});
  ASSERT_TRUE(runUntilReceived(3));
  EXPECT_EQ(received, records);
}

TEST_F(ReceivedRecord, leavesNoDescriptorAndNoMappingBehind) {
  const auto mappings = [] {
    std::ifstream file("/proc/self/maps");
    std::string text((std::istreambuf_iterator<char>(file)), {});
    return text.find("memfd:test") != std::string::npos;
  };
  const Descriptor memory = memoryOf(Data(1'000'000, 'z'), allSeals);
  rawSend(peer.get(), {0}, {memory.get()});
  ASSERT_TRUE(runUntilReceived(1));
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 50; ++i) {
    rawSend(peer.get(), {0}, {memory.get()});
    ASSERT_TRUE(runUntilReceived(static_cast<std::size_t>(i) + 2));
  }
  pumpReady();
  EXPECT_EQ(openDescriptors(), before);
  EXPECT_FALSE(mappings());
}

TEST_F(ReceivedRecord, inAMemoryFileThatLacksASealIsRefused) {
  for (const int missing : {F_SEAL_WRITE, F_SEAL_SHRINK, F_SEAL_GROW, F_SEAL_SEAL}) {
    peer = rawConnect(socketPath());
    rawSend(peer.get(), {0}, {memoryOf(bytes("content"), allSeals & ~missing).get()});
    EXPECT_TRUE(isCut(peer.get())) << missing;
  }
  EXPECT_TRUE(hasLogged("not formed as it must be"));
  expectCut();
}

TEST_F(ReceivedRecord, inAnOrdinaryFileOrAPipeIsRefused) {
  const Descriptor file(::open("/proc/self/exe", O_RDONLY | O_CLOEXEC));
  rawSend(peer.get(), {0}, {file.get()});
  EXPECT_TRUE(isCut(peer.get()));
  peer = rawConnect(socketPath());
  int ends[2];
  ASSERT_EQ(::pipe2(ends, O_CLOEXEC), 0);
  const Descriptor in(ends[0]), out(ends[1]);
  rawSend(peer.get(), {0}, {in.get()});
  expectCut();
}

TEST_F(ReceivedRecord, withTwoDescriptorsIsRefusedAndNeitherStaysOpen) {
  const Descriptor memory = memoryOf(bytes("content"), allSeals);
  const std::size_t before = openDescriptors();
  for (const std::size_t count : {2u, 3u, 100u}) {
    peer = rawConnect(socketPath());
    rawSend(peer.get(), {0}, std::vector<int>(count, memory.get()));
    EXPECT_TRUE(isCut(peer.get())) << count;
  }
  EXPECT_EQ(openDescriptors(), before);
  expectCut();
}

TEST_F(ReceivedRecord, inAMemoryFileAboveTheBoundIsRefused) {
  const auto sized = [](std::size_t size) {
    Descriptor memory = memoryOf({}, 0);
    EXPECT_EQ(::ftruncate(memory.get(), static_cast<off_t>(size)), 0);
    EXPECT_EQ(::fcntl(memory.get(), F_ADD_SEALS, allSeals), 0);
    return memory;
  };
  rawSend(peer.get(), {0}, {sized(platform::native::longestRecord + 1).get()});
  expectCut();
}

TEST_F(ReceivedRecord, ofAPacketThatIsTooLongIsRefused) {
  rawSend(peer.get(), Data(65537, 'x'));
  expectCut();
}

TEST_F(ReceivedRecord, ofNoBytesIsTheEndOfTheConnection) {
  rawSend(peer.get(), {});
  expectCut();
}

TEST_F(ReceivedRecord, sentRightBeforeThePeerEndedIsDelivered) {
  rawSend(peer.get(), bytes("whole"));
  peer.reset();
  ASSERT_TRUE(runUntilReceived(1));
  pumpReady();
  EXPECT_EQ(received, std::vector<Data>{bytes("whole")});
}

// Each way is the start of a whole exchange, cut off at another place.
TEST_F(ReceivedRecord, ofAPeerThatIsKilledAnywhereBeforeItsEndIsNoneAndLeavesNothingOpen) {
  const Descriptor unsealed = memoryOf(bytes("not yet sealed"), 0);
  const Descriptor sealed = memoryOf(Data(100'000, 'm'), allSeals);
  const std::vector<std::function<void(int)>> ways = {[](int) {},
                                                      [&](int socket) { rawSend(socket, bytes("whole")); },
                                                      [&](int socket) { rawSend(socket, {0}, {unsealed.get()}); },
                                                      [&](int socket) { rawSend(socket, {0}, {sealed.get()}); },
                                                      [&](int socket) {
                                                        rawSend(socket, bytes("whole"));
                                                        ::shutdown(socket, SHUT_WR);
                                                      },
                                                      [&](int socket) {
                                                        for (int i = 0; i < 3; ++i) rawSend(socket, {0}, {sealed.get()});
                                                        ::shutdown(socket, SHUT_RDWR);
                                                      }};
  const std::vector<std::size_t> whole = {0, 1, 0, 1, 1, 3};
  pumpReady();
  const std::size_t before = openDescriptors();
  for (std::size_t way = 0; way < ways.size(); ++way) {
    for (int round = 0; round < 10; ++round) {
      auto dying = std::make_unique<PeerProcess>([&](const auto& line) {
        const Descriptor own = rawConnect(socketPath());
        ways[way](own.get());
        line.tell('d');
        return static_cast<int>(line.hear());
      });
      ASSERT_EQ(dying->hear(), 'd');
      dying.reset();
      ASSERT_TRUE(runUntilReceived(whole[way])) << way;
      ASSERT_TRUE(pumpUntil([&] { return openDescriptors() == before; })) << way;
      EXPECT_EQ(received.size(), whole[way]) << way;
      received.clear();
    }
  }
  rawSend(peer.get(), bytes("of one that lives"));
  EXPECT_TRUE(runUntilReceived(1));
}

TEST_F(LinuxPortsTest, aPeerInAnotherLanguageUnderstandsAndIsUnderstood) {
  listen("G.Sync.1");
  const auto host =
      startProgram({DOVETAIL_PYTHON, DOVETAIL_PYTHON_PEER, PeerProcess::lineArgument, socketPath("G.App"), socketPath("G.Sync.1")});
  ASSERT_EQ(host->hear(), 'o');
  auto remote = ports->createRemote("G.App");
  ASSERT_NE(remote, nullptr);
  std::vector<Data> records;
  for (const std::size_t size : {1u, 0u, 65536u, 65537u, 3'000'000u, 5u}) {
    records.push_back(Data(size, static_cast<std::uint8_t>(size)));
    ASSERT_EQ(send(*remote, records.back()), MessagePortStatus::success);
    ASSERT_TRUE(runUntilReceived(records.size())) << size;
  }
  EXPECT_EQ(received, records);
  remote.reset();
  EXPECT_EQ(host->wait(), 0);
}

TEST_F(LinuxPortsTest, aPeerInAnotherLanguageThatClosesAfterEachRecordMissesNone) {
  listen("G.Sync.1");
  const auto host = startProgram(
      {DOVETAIL_PYTHON, DOVETAIL_PYTHON_PEER, PeerProcess::lineArgument, socketPath("G.App"), socketPath("G.Sync.1"), "closing"});
  ASSERT_EQ(host->hear(), 'o');
  const auto remote = ports->createRemote("G.App");
  std::vector<Data> records;
  for (std::size_t size = 1; size < 200'000; size = 2 * size + 1) {
    records.push_back(Data(size, static_cast<std::uint8_t>(size)));
    ASSERT_EQ(send(*remote, records.back()), MessagePortStatus::success);
    ASSERT_EQ(host->hear(), 'c');
  }
  EXPECT_TRUE(runUntilReceived(records.size()));
  EXPECT_EQ(received, records);
}

}  // namespace
