// A host that is watched for signals is none the worse for it: stopped, interrupted, forked, ended, and with
// the watcher dying.
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/syscall.h>

#include <thread>
#include <vector>

#include "tests/platform/processes/LinuxProcessSourceFixture.h"

namespace {

using namespace tests;

using WatchedHost = LinuxProcessSource;

TEST_F(WatchedHost, aStoppedHostStandsAndGoesOnAsWithoutUs) {
  SignalCounter host;
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  for (int round = 0; round < 20; ++round) {
    int status = 0;
    ::kill(host.process(), SIGSTOP);
    ASSERT_EQ(::waitpid(host.process(), &status, WUNTRACED), host.process());
    EXPECT_TRUE(WIFSTOPPED(status) && WSTOPSIG(status) == SIGSTOP);
    ::kill(host.process(), SIGUSR1);
    EXPECT_FALSE(host.hasNews());
    ::kill(host.process(), SIGCONT);
    ASSERT_EQ(::waitpid(host.process(), &status, WCONTINUED), host.process());
    EXPECT_TRUE(WIFCONTINUED(status));
    EXPECT_EQ(host.hear(), round + 1);
  }
  // Being stopped is no event; the signals that the host handles are.
  EXPECT_TRUE(runUntilEvents(20));
  pumpReady();
  EXPECT_EQ(events, 20);
}

TEST_F(WatchedHost, aHostThatIsStoppedWhenTheWatchBeginsAndEndsStaysStopped) {
  SignalCounter host;
  host.stop();
  auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  source->cancel();
  ASSERT_TRUE(runUntilLeftAlone(host.process()));
  EXPECT_TRUE(pumpUntil([&] { return stateOf(host.process()) == 'T'; }));
  host.resume();
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
}

TEST_F(WatchedHost, theHostOutlivesAWatcherThatIsKilledAtAnyMoment) {
  SignalCounter host;
  int count = 0;
  for (int round = 0; round < 200; ++round) {
    const auto source = watch(host.process());
    // From the very first steps of attaching to the middle of a signal's delivery.
    pid_t watcher = 0;
    ASSERT_TRUE(pumpUntil([&] { return (watcher = tracerOf(host.process())) != 0; }));
    if (round % 2 == 0) ::kill(host.process(), SIGUSR1);
    ::kill(watcher, SIGKILL);
    if (round % 2 == 1) ::kill(host.process(), SIGUSR1);
    ASSERT_EQ(host.hear(), static_cast<char>(++count)) << round;
    ASSERT_TRUE(runUntilLeftAlone(host.process()));
    source->cancel();
    pumpReady();
  }
  EXPECT_NE(stateOf(host.process()), 'T');
}

TEST_F(WatchedHost, aHostStoppedBySomebodyStaysSoWhenTheWatcherIsKilled) {
  SignalCounter host;
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  host.stop();
  ::kill(tracerOf(host.process()), SIGKILL);
  ASSERT_TRUE(runUntilLeftAlone(host.process()));
  EXPECT_TRUE(pumpUntil([&] { return stateOf(host.process()) == 'T'; }));
  EXPECT_TRUE(pumpUntil([&] { return logged("the watcher ended") == 1; }));
  host.resume();
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
}

TEST_F(WatchedHost, systemCallsThatWaitAreNotInterruptedByTheWatch) {
  enum { pausing, polling, sleeping, reading };
  for (const int kind : {pausing, polling, sleeping, reading}) {
    PeerProcess host([kind](const auto& line) {
      int ends[2];
      if (::pipe(ends) != 0) return 1;
      const int waiting = ::epoll_create1(0);
      epoll_event event{};
      const timespec hour{3600, 0};
      char byte;
      line.tell('o');
      // None of these returns but for an interruption.
      if (kind == pausing)
        ::pause();
      else if (kind == polling)
        ::epoll_wait(waiting, &event, 1, -1);
      else if (kind == sleeping)
        ::nanosleep(&hour, nullptr);
      else if (::read(ends[0], &byte, 1) < 0)
        line.tell('x');
      line.tell('x');
      return 1;
    });
    ASSERT_EQ(host.hear(), 'o');
    ASSERT_TRUE(pumpUntil([&] { return stateOf(host.process()) == 'S'; }));
    for (int round = 0; round < 3; ++round) {
      const auto source = watch(host.process());
      ASSERT_TRUE(runUntilTraced(host.process()));
      source->cancel();
      ASSERT_TRUE(runUntilLeftAlone(host.process()));
    }
    EXPECT_EQ(stateOf(host.process()), 'S') << kind;
    EXPECT_FALSE(host.hasNews()) << kind;
  }
}

TEST_F(WatchedHost, childrenOfTheHostAreNotTraced) {
  PeerProcess host([](const auto& line) {
    line.hear();
    std::vector<pid_t> children;
    children.push_back(::fork());
    if (children.back() == 0)
      for (;;) ::pause();
    // A process of its own that tells its end in an unusual way is followed by the kernel like a thread.
    children.push_back(static_cast<pid_t>(::syscall(SYS_clone, 0, nullptr, nullptr, nullptr, nullptr)));
    if (children.back() == 0)
      for (;;) ::pause();
    char* sleeper[] = {const_cast<char*>("sleep"), const_cast<char*>("1000"), nullptr};
    pid_t spawned = 0;
    ::posix_spawnp(&spawned, "sleep", nullptr, nullptr, sleeper, nullptr);
    children.push_back(spawned);
    ::send(line.descriptor(), children.data(), children.size() * sizeof(pid_t), 0);
    line.hear();
    for (const pid_t child : children) ::kill(child, SIGKILL);
    return 0;
  });
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  host.tell('g');
  pid_t children[3] = {};
  for (std::size_t i = 0; i < sizeof(children); ++i) reinterpret_cast<char*>(children)[i] = host.hear();
  for (const pid_t child : children) {
    EXPECT_GT(child, 0);
    EXPECT_TRUE(runUntilLeftAlone(child)) << child;
    EXPECT_TRUE(pumpUntil([&] { return stateOf(child) == 'S'; })) << child;
  }
  EXPECT_NE(tracerOf(host.process()), 0);
  host.tell('g');
  EXPECT_EQ(host.wait(), 0);
}

TEST_F(WatchedHost, aHostThatExecutesAnotherProgramGoesOnAndIsStillWatched) {
  PeerProcess host([](const auto& line) {
    line.hear();
    std::thread([] { ::execlp("sleep", "sleep", "1000", nullptr); }).join();
    return 1;
  });
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  host.tell('g');
  ASSERT_TRUE(pumpUntil([&] { return nameOf(host.process()) == "sleep" && stateOf(host.process()) == 'S'; }));
  EXPECT_EQ(events, 0);
  ::kill(host.process(), SIGTERM);
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(WTERMSIG(host.wait()), SIGTERM);
}

TEST_F(WatchedHost, theHostsParentLearnsItsEndAsWithoutUs) {
  for (const int signal : {SIGTERM, SIGKILL, SIGABRT}) {
    SignalCounter host;
    const auto source = watch(host.process(), ProcessExit | ProcessSignal);
    ASSERT_TRUE(runUntilTraced(host.process()));
    const pid_t watcher = tracerOf(host.process());
    ::kill(host.process(), signal);
    EXPECT_EQ(WTERMSIG(host.wait()), signal);
    EXPECT_TRUE(runUntilGone(watcher));
    source->cancel();
    pumpReady();
  }
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(WatchedHost, cancellingLeavesTheHostAloneAndNoWatcherBehind) {
  SignalCounter host;
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  const pid_t watcher = tracerOf(host.process());
  source->cancel();
  EXPECT_TRUE(runUntilLeftAlone(host.process()));
  EXPECT_TRUE(runUntilGone(watcher));
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  EXPECT_EQ(events, 0);
}

TEST_F(WatchedHost, aBrowserThatIsKilledLeavesTheHostAlone) {
  SignalCounter host;
  PeerProcess browser([&](const auto& line) {
    const auto source = watch(host.process());
    line.tell(runUntilTraced(host.process()) ? 'o' : 'x');
    return static_cast<int>(line.hear());
  });
  ASSERT_EQ(browser.hear(), 'o');
  const pid_t watcher = tracerOf(host.process());
  browser.kill();
  EXPECT_TRUE(runUntilLeftAlone(host.process()));
  EXPECT_TRUE(runUntilGone(watcher));
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
}

}  // namespace
