// Ports under stress: peers that stop, end, or come in numbers, and a process without descriptors.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/time.h>

#include <atomic>
#include <chrono>
#include <csignal>

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
  // Sends until the stopped host's socket is full.
  std::size_t fill(platform::RemoteMessagePort& remote, const Data& record) {
    std::size_t count = 0;
    while (send(remote, record, 0) == MessagePortStatus::success) ++count;
    return count;
  }
};

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

TEST_F(PortFaults, aThousandSendsToAStoppedHostTakeOneSecondInAll) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  std::size_t arrived = 0;
  const auto start = Clock::now();
  for (int i = 0; i < 1000; ++i) arrived += send(*remote, Data(1000, 'x')) == MessagePortStatus::success;
  EXPECT_GE(secondsSince(start), 1.0);
  EXPECT_LT(secondsSince(start), 2.0);
  EXPECT_GT(arrived, 10u);
  EXPECT_LT(arrived, 1000u);

  // Exactly those that were reported as sent arrive, and the port works again.
  host->resume();
  for (std::size_t i = 0; i < arrived; ++i) ASSERT_EQ(host->hear(), 'r');
  EXPECT_FALSE(host->hasNews());
  EXPECT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  EXPECT_EQ(host->hear(), 'r');
}

TEST_F(PortFaults, aPortThatDrainedWaitsItsTimeAgain) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  for (int round = 0; round < 2; ++round) {
    host->stop();
    const std::size_t arrived = fill(*remote, Data(1000, 'x'));
    host->resume();
    for (std::size_t i = 0; i < arrived; ++i) ASSERT_EQ(host->hear(), 'r');
    host->stop();
    EXPECT_EQ(send(*remote, bytes("a"), 0), MessagePortStatus::success);
    const std::size_t more = fill(*remote, Data(1000, 'x'));
    EXPECT_GT(more, 0u);
    const auto start = Clock::now();
    EXPECT_EQ(send(*remote, Data(1000, 'x'), 10), MessagePortStatus::sendTimeout);
    EXPECT_LT(secondsSince(start), 5);
    host->resume();
    for (std::size_t i = 0; i < more + 1; ++i) ASSERT_EQ(host->hear(), 'r');
  }
}

TEST_F(PortFaults, aSendThatWaitsGoesOnWhenTheHostReads) {
  const auto host = startHost();
  const auto remote = ports->createRemote("G.App");
  host->stop();
  const std::size_t sent = fill(*remote, Data(60000, 'x'));
  // A send that timed out marks the port; one that succeeds takes the mark away.
  host->resume();
  for (std::size_t i = 0; i < sent; ++i) ASSERT_EQ(host->hear(), 'r');
  ASSERT_EQ(send(*remote, bytes("a")), MessagePortStatus::success);
  for (int i = 0; i < 100; ++i) ASSERT_EQ(send(*remote, Data(60000, 'x')), MessagePortStatus::success);
  for (int i = 0; i < 101; ++i) ASSERT_EQ(host->hear(), 'r');
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
  const Data record(1000, 'x');
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
  PeerProcess sender([&](const auto&) {
    const auto remote = makePorts()->createRemote("G.App");
    const Interruptions interruptions;
    for (std::size_t i = 0; i < 300; ++i) {
      if (send(*remote, record(i), 20) != MessagePortStatus::success) return 1;
    }
    return Interruptions::count > 0 ? 0 : 2;
  });
  {
    const Interruptions interruptions;
    EXPECT_TRUE(runUntilReceived(300));
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
  EXPECT_EQ(send(*remote, bytes("b")), MessagePortStatus::becameInvalid);
  EXPECT_EQ(send(*ports->createRemote("G.App"), bytes("c")), MessagePortStatus::success);
  EXPECT_TRUE(runUntilReceived(2));
}

}  // namespace
