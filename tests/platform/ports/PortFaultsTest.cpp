// Ports under stress: peers that stop, end, or come in numbers, and a process without descriptors.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <functional>

#include "tests/platform/ports/LinuxPortsFixture.h"

namespace {

using namespace tests;
using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

// Leaves the process that many descriptors to open, for as long as it lives.
class DescriptorLimit {
 public:
  explicit DescriptorLimit(int left) {
    ::getrlimit(RLIMIT_NOFILE, &old_);
    while (left-- > 0) reserved_.emplace_back(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    // All gaps below are filled, so that the next number is the limit.
    const Descriptor next(::open("/dev/null", O_RDONLY | O_CLOEXEC));
    const rlimit limit{static_cast<rlim_t>(next.get()), old_.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &limit);
    reserved_.clear();
  }
  ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &old_); }

 private:
  rlimit old_{};
  std::vector<Descriptor> reserved_;
};

class PortFaults : public LinuxPortsTest {
 protected:
  // A host that opens its port, keeps what it receives and tells a byte for each record.
  std::unique_ptr<PeerProcess> startHost() {
    auto host = std::make_unique<PeerProcess>([this](const auto& line) {
      listen();
      line.tell('o');
      for (std::size_t told = 0; runUntilReceived(told + 1); ++told) line.tell('r');
      return 0;
    });
    EXPECT_EQ(host->hear(), 'o');
    return host;
  }
  // A host that opens its port and tells once whether so many records came, each as it was sent and in their order.
  std::unique_ptr<PeerProcess> startCheckingHost(std::size_t count, std::function<Data(std::size_t)> sent) {
    auto host = std::make_unique<PeerProcess>([this, count, sent](const auto& line) {
      listen();
      line.tell('o');
      bool isRight = runUntilReceived(count);
      pumpReady();
      for (std::size_t i = 0; isRight && i < count; ++i) isRight = received[i] == sent(i);
      line.tell(isRight && received.size() == count ? 'y' : 'n');
      return static_cast<int>(line.hear());
    });
    EXPECT_EQ(host->hear(), 'o');
    return host;
  }
  // Sends until the port takes no more from the stopped host's browser.
  std::size_t fill(platform::RemoteMessagePort& remote, const Data& record) {
    std::size_t count = 0;
    while (send(remote, record, 0) == MessagePortStatus::success) ++count;
    return count;
  }
  // Runs the loop, which sends what waits, until the host has told of so many records.
  static bool runUntilRead(const PeerProcess& host, std::size_t count) {
    return pumpUntil([&] {
      for (; count > 0 && host.hasNews(); --count) EXPECT_EQ(host.hear(), 'r');
      return count == 0;
    });
  }
};

const Data large(60000, 'x');

TEST_F(PortFaults, aSendToAStoppedHostGivesUpAfterItsTime) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  const Data record(1000, 'x');
  MessagePortStatus status = MessagePortStatus::success;
  double longest = 0;
  while (status == MessagePortStatus::success) {
    const auto start = Clock::now();
    status = send(*remote, record, 0.3);
    longest = std::max(longest, secondsSince(start));
  }
  EXPECT_EQ(status, MessagePortStatus::sendTimeout);
  EXPECT_GE(longest, 0.3);
  EXPECT_LT(longest, 1.5);
}

TEST_F(PortFaults, threeThousandRecordsForAStoppedHostTakeNoTimeAndArriveOnceAndInOrder) {
  // Among them some that travel in memory files.
  const auto record = [](std::size_t i) {
    Data numbered(i % 500 == 7 ? 100'000 : 1000, static_cast<std::uint8_t>(i));
    numbered[0] = static_cast<std::uint8_t>(i >> 8);
    return numbered;
  };
  const auto host = startCheckingHost(3001, record);
  const auto remote = ports->createRemote("G.App");
  host->stop();
  const auto start = Clock::now();
  for (std::size_t i = 0; i < 3000; ++i) ASSERT_EQ(send(*remote, record(i)), MessagePortStatus::success) << i;
  EXPECT_LT(secondsSince(start), 0.5);
  host->resume();
  // While others wait a new one goes behind them.
  ASSERT_EQ(send(*remote, record(3000)), MessagePortStatus::success);
  EXPECT_TRUE(pumpUntil([&] { return host->hasNews(); }));
  EXPECT_EQ(host->hear(), 'y');
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(PortFaults, whatWaitsForAStoppedHostIsBoundedAndExactlyWhatWasAcceptedArrives) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  const std::size_t accepted = fill(*remote, large);
  EXPECT_GE(accepted * large.size(), std::size_t{15} << 20);
  EXPECT_LE(accepted * large.size(), std::size_t{17} << 20);
  // One second in all, however many come: a port that timed out waits no more.
  const auto start = Clock::now();
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::sendTimeout);
  EXPECT_LT(secondsSince(start), 2.0);
  host->resume();
  EXPECT_TRUE(runUntilRead(*host, accepted));
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilRead(*host, 1));
  EXPECT_FALSE(host->hasNews());
}

TEST_F(PortFaults, aRecordThatFitsNoQueueWaitsForTheHostItself) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  for (int i = 0; i < 10; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::success);
  const Data huge(20'000'000, 'h');
  EXPECT_EQ(send(*remote, huge, 0.1), MessagePortStatus::sendTimeout);
  host->resume();
  EXPECT_TRUE(runUntilRead(*host, 10));
  host->stop();
  for (int i = 0; i < 10; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::success);
  host->resume();
  EXPECT_EQ(send(*remote, huge, 20), MessagePortStatus::success);
  EXPECT_TRUE(runUntilRead(*host, 11));
}

TEST_F(PortFaults, whatWaitsGoesWithTheHost) {
  auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::success);
  host->kill();
  EXPECT_TRUE(pumpUntil([&] { return hasLogged("is gone with"); }));
  host = startHost();
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::isInvalid);
  pumpReady();
  EXPECT_FALSE(host->hasNews());
}

TEST_F(PortFaults, whatWaitsGoesWithAnInvalidatedPort) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::success);
  remote->invalidate();
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::isInvalid);
  host->resume();
  // What the system had taken, a few packets, arrives.
  ASSERT_TRUE(runUntilRead(*host, 1));
  EXPECT_FALSE(pumpUntil([&, count = 1]() mutable { return host->hasNews() && host->hear() == 'r' && ++count > 10; },
                         std::chrono::milliseconds(300)));
}

TEST_F(PortFaults, aPortWakesNobodyWhileTheHostStandsNorAfterAllIsRead) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  EXPECT_FALSE(g_main_context_pending(nullptr));
  host->stop();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, large), MessagePortStatus::success);
  EXPECT_FALSE(g_main_context_pending(nullptr));
  host->resume();
  EXPECT_TRUE(runUntilRead(*host, 100));
  pumpReady();
  EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST_F(PortFaults, aPortThatDrainedWaitsItsTimeAgain) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  for (int round = 0; round < 2; ++round) {
    host->stop();
    const std::size_t accepted = fill(*remote, large);
    host->resume();
    ASSERT_TRUE(runUntilRead(*host, accepted));
    host->stop();
    const auto start = Clock::now();
    std::size_t more = 0;
    while (send(*remote, large, 0.3) == MessagePortStatus::success) ++more;
    EXPECT_GE(secondsSince(start), 0.3);
    host->resume();
    ASSERT_TRUE(runUntilRead(*host, more));
  }
}

TEST_F(PortFaults, aSendThatFindsNoRoomGoesOnWhenTheHostReads) {
  const auto record = [](std::size_t i) { return Data(60000, static_cast<std::uint8_t>(i)); };
  const auto host = startCheckingHost(600, record);
  const auto remote = ports->createRemote("G.App");
  host->stop();
  std::size_t count = 0;
  while (send(*remote, record(count), 0) == MessagePortStatus::success) ++count;
  ASSERT_LT(count, 600u);
  // A send that timed out marks the port; one that succeeds takes the mark away.
  host->resume();
  ASSERT_TRUE(pumpUntil([&] { return send(*remote, record(count), 0) == MessagePortStatus::success; }));
  while (++count < 600) ASSERT_EQ(send(*remote, record(count), 20), MessagePortStatus::success) << count;
  EXPECT_TRUE(pumpUntil([&] { return host->hasNews(); }));
  EXPECT_EQ(host->hear(), 'y');
}

TEST_F(PortFaults, aHostThatEndedMakesThePortInvalidOnceAndForAll) {
  auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_EQ(host->hear(), 'r');
  EXPECT_TRUE(remote->isValid());
  host->kill();
  EXPECT_FALSE(remote->isValid());
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(send(*remote, bytes("c")), MessagePortStatus::isInvalid);
  host = startHost();
  EXPECT_EQ(send(*remote, bytes("d")), MessagePortStatus::isInvalid);
  EXPECT_EQ(send(*ports->createRemote("G.App"), bytes("e")), MessagePortStatus::success);
  EXPECT_EQ(host->hear(), 'r');
}

// A browser that left this signal at its default would be ended by it.
TEST_F(PortFaults, aSendToAHostThatEndedRaisesNoSignal) {
  static std::atomic<int> raised = 0;
  const auto old = std::signal(SIGPIPE, [](int) { ++raised; });
  for (const std::size_t length : {std::size_t{1000}, std::size_t{3'000'000}}) {
    auto host = startHost();
    const auto remote = ports->createRemote("G.App");
    ASSERT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
    host->kill();
    EXPECT_EQ(send(*remote, Data(length, 'x')), MessagePortStatus::becameInvalid) << length;
  }
  std::signal(SIGPIPE, old);
  EXPECT_EQ(raised, 0);
}

TEST_F(PortFaults, aHostThatNeverAcceptedAndEndedMakesThePortInvalid) {
  PeerProcess host([this](const auto& line) {
    line.tell(open() != nullptr ? 'o' : 'x');
    return line.hear();
  });
  ASSERT_EQ(host.hear(), 'o');
  const auto remote = ports->createRemote("G.App");
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  host.kill();
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::becameInvalid);
}

TEST_F(PortFaults, aHostThatEndsWhileASendWaitsEndsTheWait) {
  const auto host = startHost();
  const Data& record = large;
  host->stop();
  const std::size_t room = fill(*ports->createRemote("G.App"), record);
  // A port that has not timed out yet waits for the first record too many.
  const auto remote = ports->createRemote("G.App");
  for (std::size_t i = 0; i < room; ++i) ASSERT_EQ(send(*remote, record, 0), MessagePortStatus::success);
  PeerProcess killer([&, test = ::getpid()](const auto& line) {
    line.hear();
    while (stateOf(test) != 'S') continue;
    return ::kill(host->process(), SIGKILL);
  });
  killer.tell('g');
  const auto start = Clock::now();
  EXPECT_EQ(send(*remote, record, 20), MessagePortStatus::becameInvalid);
  EXPECT_LT(secondsSince(start), 10);
  EXPECT_EQ(send(*remote, record, 20), MessagePortStatus::isInvalid);
}

TEST_F(PortFaults, aListenerWhoseQueueIsFullIsWaitedForOnceAtMost) {
  ::mkdir(portFolder().c_str(), 0700);
  const Descriptor listener = rawListen(socketPath(), 1);
  std::vector<Descriptor> queued;
  queued.push_back(rawConnect(socketPath()));
  queued.push_back(rawConnect(socketPath()));
  auto start = Clock::now();
  EXPECT_EQ(ports->createRemote("G.App"), nullptr);
  EXPECT_GE(secondsSince(start), 0.95);
  EXPECT_LT(secondsSince(start), 2.0);
  start = Clock::now();
  for (int i = 0; i < 1000; ++i) EXPECT_EQ(ports->createRemote("G.App"), nullptr);
  EXPECT_LT(secondsSince(start), 5.0);

  while (queued.size() > 0) {
    Descriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    queued.pop_back();
  }
  EXPECT_NE(ports->createRemote("G.App"), nullptr);
}

TEST_F(PortFaults, aFloodOfRecordsLeavesTheLoopItsTurns) {
  listen();
  const auto remote = ports->createRemote("G.App");
  std::size_t most = 0;
  std::size_t before = 0;
  GSource* other = g_idle_source_new();
  g_source_set_priority(other, G_PRIORITY_DEFAULT);
  struct Turn {
    std::vector<Data>& received;
    std::size_t& before;
    std::size_t& most;
  } turn{received, before, most};
  g_source_set_callback(
      other,
      [](gpointer data) -> gboolean {
        auto& turn = *static_cast<Turn*>(data);
        turn.most = std::max(turn.most, turn.received.size() - turn.before);
        turn.before = turn.received.size();
        return G_SOURCE_CONTINUE;
      },
      &turn, nullptr);
  g_source_attach(other, nullptr);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, bytes("record")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilReceived(100));
  g_source_destroy(other);
  g_source_unref(other);
  EXPECT_GE(most, 1u);
  EXPECT_LE(most, 16u);
}

TEST_F(PortFaults, moreConnectionsThanAreHeldWaitTheirTurn) {
  listen();
  constexpr std::size_t held = platform::native::LocalPort::mostPeers;
  std::vector<Descriptor> peers;
  for (std::size_t i = 0; i < held + 6; ++i) {
    peers.push_back(rawConnect(socketPath()));
    ASSERT_TRUE(peers.back());
    rawSend(peers.back().get(), bytes("r"));
    pumpReady();
  }
  EXPECT_TRUE(runUntilReceived(held));
  pumpReady();
  EXPECT_EQ(received.size(), held);
  for (std::size_t i = 0; i < 6; ++i) peers[i].reset();
  EXPECT_TRUE(runUntilReceived(held + 6));
}

// Peers that drop connections: the port is the listener's, not the connection's.

TEST_F(PortFaults, aHostThatReopensItsPortGetsTheNextRecord) {
  auto hosts = makePorts();
  const auto reopen = [&] {
    hosts.reset();
    hosts = makePorts();
    const auto port = hosts->createLocal("G.App", keep(), {});
    hosts->addSourceToCurrentRunLoop(*hosts->createRunLoopSource(*port, 0), platform::RunLoopMode::common);
  };
  reopen();
  const auto remote = ports->createRemote("G.App");
  for (std::size_t count = 1; count <= 20; ++count) {
    ASSERT_EQ(send(*remote, Data{static_cast<std::uint8_t>(count)}), MessagePortStatus::success) << count;
    ASSERT_TRUE(runUntilReceived(count));
    reopen();
    EXPECT_TRUE(remote->isValid());
  }
  for (std::size_t i = 0; i < 20; ++i) EXPECT_EQ(received[i], Data{static_cast<std::uint8_t>(i + 1)});
}

TEST_F(PortFaults, aPortIsInvalidWhileItsHostDoesNotListenAndNoLonger) {
  auto hosts = makePorts();
  ASSERT_TRUE(hosts->createLocal("G.App", keep(), {}));
  const auto remote = ports->createRemote("G.App");
  hosts.reset();
  EXPECT_FALSE(remote->isValid());
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::isInvalid);
  listen();
  EXPECT_EQ(send(*remote, bytes("c")), MessagePortStatus::success);
  EXPECT_TRUE(remote->isValid());
  ASSERT_TRUE(runUntilReceived(1));
  EXPECT_EQ(received, std::vector<Data>{bytes("c")});
}

// A listener that treats its connections as it likes.
class RawHost {
 public:
  explicit RawHost(const std::string& path) : listener_(rawListen(path)) {}
  void accept() { connection_.reset(::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC)); }
  Data read() {
    Data packet(1 << 20);
    const ssize_t length = ::recv(connection_.get(), packet.data(), packet.size(), 0);
    packet.resize(static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    return packet;
  }
  void close() { connection_.reset(); }

 private:
  Descriptor listener_;
  Descriptor connection_;
};

TEST_F(PortFaults, aHostThatClosesOneConnectionAmongOthersGetsTheNextRecordOverANewOne) {
  ::mkdir(portFolder().c_str(), 0700);
  RawHost host(socketPath());
  const auto remote = ports->createRemote("G.App");
  host.accept();
  ASSERT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_EQ(host.read(), bytes("a"));
  host.close();
  EXPECT_TRUE(remote->isValid());
  ASSERT_EQ(send(*remote, bytes("b")), MessagePortStatus::success);
  host.accept();
  EXPECT_EQ(host.read(), bytes("b"));
}

TEST_F(PortFaults, aHostThatClosesAfterEachRecordGetsThemAllOnceAndInOrder) {
  ::mkdir(portFolder().c_str(), 0700);
  RawHost host(socketPath());
  const auto remote = ports->createRemote("G.App");
  for (std::uint8_t i = 0; i < 100; ++i) {
    ASSERT_EQ(send(*remote, Data{i}), MessagePortStatus::success);
    host.accept();
    EXPECT_EQ(host.read(), Data{i});
    host.close();
  }
}

TEST_F(PortFaults, whatTheHostHadTakenUnreadGoesWithItsConnectionAndWhatWaitedHereArrives) {
  ::mkdir(portFolder().c_str(), 0700);
  RawHost host(socketPath());
  const auto remote = ports->createRemote("G.App");
  host.accept();
  const auto record = [](std::uint8_t i) { return Data(60000, i); };
  for (std::uint8_t i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, record(i)), MessagePortStatus::success);
  EXPECT_EQ(host.read(), record(0));
  host.close();
  pumpReady();
  host.accept();
  std::uint8_t next = host.read()[0];
  EXPECT_GT(next, 1);
  EXPECT_LT(next, 8);
  while (++next < 100) {
    pumpReady();
    ASSERT_EQ(host.read(), record(next));
  }
  EXPECT_FALSE(g_main_context_pending(nullptr));
}

TEST_F(PortFaults, recordsForAHostWhoseQueueOfConnectionsIsFullWaitForIt) {
  ::mkdir(portFolder().c_str(), 0700);
  Descriptor listener = rawListen(socketPath(), 1);
  const auto remote = ports->createRemote("G.App");
  Descriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  std::vector<Descriptor> queued;
  queued.push_back(rawConnect(socketPath()));
  queued.push_back(rawConnect(socketPath()));
  const auto start = Clock::now();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_LT(secondsSince(start), 0.5);
  EXPECT_TRUE(remote->isValid());
  Descriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  Descriptor(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  EXPECT_TRUE(pumpUntil([&] {
    pollfd watched{listener.get(), POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
  }));
  const Descriptor connection(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
  for (int i = 0; i < 100; ++i) {
    pumpReady();
    std::uint8_t packet[8];
    ASSERT_EQ(::recv(connection.get(), packet, sizeof(packet), 0), 1);
  }
}

// Signals at any moment, as a library of the browser's may use them.
class Interruptions {
 public:
  Interruptions() {
    struct sigaction action = {};
    action.sa_handler = [](int) { ++count; };  // without SA_RESTART
    ::sigaction(SIGALRM, &action, &old_);
    const itimerval often{{0, 50}, {0, 50}};
    ::setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Interruptions() {
    const itimerval never{};
    ::setitimer(ITIMER_REAL, &never, nullptr);
    ::sigaction(SIGALRM, &old_, nullptr);
  }
  static inline std::atomic<int> count = 0;

 private:
  struct sigaction old_ = {};
};

TEST_F(PortFaults, systemCallsThatSignalsInterruptLoseAndSpoilNoRecord) {
  const auto record = [](std::size_t i) { return Data(i % 10 == 0 ? 3'000'000 + i : 1000 + i, static_cast<std::uint8_t>(i)); };
  listen();
  PeerProcess sender([&](const auto& line) {
    const auto remote = makePorts()->createRemote("G.App");
    const Interruptions interruptions;
    for (std::size_t i = 0; i < 300; ++i) {
      if (send(*remote, record(i), 20) != MessagePortStatus::success) return 1;
    }
    const bool isAllowedToEnd = pumpUntil([&] {
      pollfd watched{line.descriptor(), POLLIN, 0};
      return ::poll(&watched, 1, 0) == 1;
    });
    return isAllowedToEnd && Interruptions::count > 0 ? 0 : 2;
  });
  {
    const Interruptions interruptions;
    EXPECT_TRUE(runUntilReceived(300));
    sender.tell('g');
  }
  EXPECT_GT(Interruptions::count, 0);
  ASSERT_EQ(received.size(), 300u);
  for (std::size_t i = 0; i < 300; ++i) ASSERT_EQ(received[i], record(i)) << i;
  EXPECT_EQ(sender.wait(), 0);
}

TEST_F(PortFaults, aThousandRestartsOfTheHostLeaveNoDescriptorOpen) {
  listen("G.Sync.1");
  pumpReady();
  const std::size_t before = openDescriptors();
  for (int i = 0; i < 1000; ++i) {
    PeerProcess host([&](const auto& line) {
      const auto hosts = makePorts();
      if (hosts->createLocal("G.App", keep(), {}) == nullptr) return 1;
      const auto toExtension = hosts->createRemote("G.Sync.1");
      line.tell('o');
      return send(*toExtension, bytes("hello")) == MessagePortStatus::success ? static_cast<int>(line.hear()) : 2;
    });
    ASSERT_EQ(host.hear(), 'o') << i;
    const auto remote = ports->createRemote("G.App");
    ASSERT_NE(remote, nullptr) << i;
    EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
    ASSERT_TRUE(runUntilReceived(static_cast<std::size_t>(i) + 1));
    host.kill();
    EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::becameInvalid);
  }
  EXPECT_TRUE(pumpUntil([&] { return openDescriptors() == before; }));
}

TEST_F(PortFaults, withoutDescriptorsNothingOpensAndItDoesSoAgainAfterwards) {
  listen("G.Sync.1");
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  {
    const DescriptorLimit none(0);
    EXPECT_EQ(ports->createRemote("G.App"), nullptr);
    EXPECT_EQ(open("G.Other"), nullptr);
    EXPECT_EQ(send(*remote, Data(100'000, 'x')), MessagePortStatus::transportError);
    EXPECT_EQ(send(*remote, bytes("small")), MessagePortStatus::success);
    EXPECT_EQ(host->hear(), 'r');
  }
  EXPECT_TRUE(hasLogged("Too many open files"));
  EXPECT_EQ(send(*remote, Data(100'000, 'x')), MessagePortStatus::success);
  EXPECT_NE(ports->createRemote("G.App"), nullptr);
  EXPECT_NE(open("G.Other"), nullptr);
}

TEST_F(PortFaults, aListenerWithoutDescriptorsServesOneConnectionAfterTheOtherAndDoesNotSpin) {
  listen();
  PeerProcess peer([this](const auto& line) {
    Descriptor first = rawConnect(socketPath());
    rawSend(first.get(), bytes("first"));
    const Descriptor second = rawConnect(socketPath());
    rawSend(second.get(), bytes("second"));
    line.tell('s');
    line.hear();
    first.reset();
    return static_cast<int>(line.hear());
  });
  ASSERT_EQ(peer.hear(), 's');
  const DescriptorLimit none(0);
  ASSERT_TRUE(runUntilReceived(1));
  // Nothing is ready any more: a source that spins would be.
  for (int i = 0; i < 3; ++i) g_main_context_iteration(nullptr, FALSE);
  EXPECT_FALSE(g_main_context_pending(nullptr));
  EXPECT_EQ(received, std::vector<Data>{bytes("first")});
  peer.tell('g');
  ASSERT_TRUE(runUntilReceived(2));
  EXPECT_EQ(received.back(), bytes("second"));
}

TEST_F(PortFaults, aMemoryFileThatFindsNoDescriptorCutsTheConnection) {
  listen();
  const auto remote = ports->createRemote("G.App");
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  ASSERT_TRUE(runUntilReceived(1));
  EXPECT_EQ(send(*remote, Data(100'000, 'x')), MessagePortStatus::success);
  {
    const DescriptorLimit none(0);
    EXPECT_TRUE(pumpUntil([&] { return hasLogged("no descriptor or memory left"); }));
  }
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilReceived(2));
}

}  // namespace
