// Who may watch a host for signals: the host's leave, the other browser that has the watch, and the switch on either side.
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>

#include <cstdlib>
#include <functional>
#include <vector>

#include "platform/linux/processes/SignalWatchSwitch.h"
#include "tests/platform/processes/LinuxProcessSourceFixture.h"

namespace {

using namespace tests;

using WatchLeave = LinuxProcessSource;

// From now on this process and what it starts are refused what Yama, or a host that is kept from being read, refuses to others.
void becomeOrdinary() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
  ::prctl(PR_CAPBSET_DROP, CAP_SYS_PTRACE, 0, 0, 0);
  ::syscall(SYS_capget, &header, sets);
  for (auto* set : {&sets[0].effective, &sets[0].permitted, &sets[0].inheritable}) *set &= ~(1u << CAP_SYS_PTRACE);
  ::syscall(SYS_capset, &header, sets);
}

// Gives leave when it is told to. A kernel without Yama lets trace but processes that may not be read.
class ReservedHost : public PeerProcess {
 public:
  ReservedHost() : PeerProcess(run) { EXPECT_EQ(hear(), 'o'); }

 private:
  static int run(const Line& line) {
    becomeOrdinary();
    ::prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    line.tell('o');
    line.hear();
    ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
    return static_cast<int>(line.hear());
  }
};

// What a browser of that kind does: its watch on a host, until it is told to end.
int watchAndWait(const PeerProcess::Line& line, const std::function<std::shared_ptr<ProcessSource>()>& watch) {
  ::prctl(PR_SET_NAME, "caja", 0, 0, 0);
  becomeOrdinary();
  const auto source = watch();
  // A watcher sleeps for the first time when it was refused.
  line.tell(pumpUntil([] { return stateOf(childOf(childOf(::getpid()))) == 'S'; }) ? 'o' : 'x');
  return static_cast<int>(line.hear());
}

class SwitchedOff {
 public:
  explicit SwitchedOff(const char* value) { ::setenv(platform::native::noSignalWatchVariable, value, 1); }
  ~SwitchedOff() { ::unsetenv(platform::native::noSignalWatchVariable); }
  SwitchedOff(const SwitchedOff&) = delete;
};

TEST_F(WatchLeave, theWatcherWaitsForItAndDescendsFromTheBrowserMeanwhile) {
  ReservedHost host;
  PeerProcess browser([&](const auto& line) { return watchAndWait(line, [&] { return watch(host.process()); }); });
  ASSERT_EQ(browser.hear(), 'o');
  const pid_t watcher = childOf(childOf(browser.process()));
  EXPECT_EQ(tracerOf(host.process()), 0);
  host.tell('g');
  ASSERT_TRUE(runUntilTraced(host.process()));
  EXPECT_EQ(tracerOf(host.process()), watcher);
}

TEST_F(WatchLeave, aBrowserThatEndsBeforeItIsGivenLeavesNoWatcherBehind) {
  ReservedHost host;
  PeerProcess browser([&](const auto& line) { return watchAndWait(line, [&] { return watch(host.process()); }); });
  ASSERT_EQ(browser.hear(), 'o');
  const pid_t first = childOf(browser.process());
  const pid_t second = childOf(first);
  browser.kill();
  // Long before the watcher would try no more.
  const auto isGone = [](pid_t process) { return ::kill(process, 0) != 0 || stateOf(process) == 'Z'; };
  EXPECT_TRUE(pumpUntil([&] { return isGone(second) && isGone(first); }, std::chrono::seconds(5)));
}

TEST_F(WatchLeave, aBrowserWithoutADescriptorForTheWatcherWaitsForNeither) {
  ReservedHost host;
  PeerProcess browser([&](const auto& line) {
    return watchAndWait(line, [&] {
      // Two are left, for the line to the watcher.
      const rlimit few{64, 64};
      ::setrlimit(RLIMIT_NOFILE, &few);
      int last = 0;
      for (int next; (next = ::open("/dev/null", O_RDONLY)) >= 0;) last = next;
      ::close(last);
      ::close(last - 1);
      return watch(host.process());
    });
  });
  ASSERT_EQ(browser.hear(), 'o');
  host.tell('g');
  EXPECT_TRUE(runUntilTraced(host.process()));
}

TEST_F(WatchLeave, aBrowserThatComesSecondIsToldWhichOneHasTheWatch) {
  SignalCounter host;
  PeerProcess first([&](const auto& line) {
    ::prctl(PR_SET_NAME, "caja", 0, 0, 0);
    const auto source = watch(host.process());
    line.tell(runUntilTraced(host.process()) ? 'o' : 'x');
    return static_cast<int>(line.hear());
  });
  ASSERT_EQ(first.hear(), 'o');
  const auto source = watch(host.process(), ProcessExit | ProcessSignal);
  EXPECT_TRUE(pumpUntil([&] { return !log.lines.empty(); }));
  EXPECT_EQ(log.lines,
            std::vector<std::string>{"Signals of process " + std::to_string(host.process()) + " are not watched: file browser " +
                                     std::to_string(first.process()) + " (caja) has the watch"});
  host.kill();
  EXPECT_TRUE(runUntilEvents(1));
}

TEST_F(WatchLeave, aBrowserThatIsSwitchedOffSeesTheExitAlone) {
  const SwitchedOff off("1");
  SignalCounter host;
  const auto source = watch(host.process(), ProcessExit | ProcessSignal);
  EXPECT_EQ(log.lines, std::vector<std::string>{"Signals of process " + std::to_string(host.process()) +
                                                " are not watched: DOVETAIL_NO_SIGNAL_WATCH is set"});
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  host.kill();
  EXPECT_TRUE(runUntilEvents(1));
  pumpReady();
  EXPECT_EQ(events, 1);
}

TEST_F(WatchLeave, aHostThatIsSwitchedOffIsLeftAloneButForItsExit) {
  const auto host = startProgram({"/usr/bin/env", "DOVETAIL_NO_SIGNAL_WATCH=1", "sleep", "1000"});
  ASSERT_TRUE(pumpUntil([&] { return nameOf(host->process()) == "sleep"; }));
  const auto source = watch(host->process(), ProcessExit | ProcessSignal);
  EXPECT_TRUE(pumpUntil([&] { return !log.lines.empty(); }));
  EXPECT_EQ(log.lines, std::vector<std::string>{"Signals of process " + std::to_string(host->process()) +
                                                " are not watched: DOVETAIL_NO_SIGNAL_WATCH is set in its environment"});
  EXPECT_EQ(tracerOf(host->process()), 0);
  ::kill(host->process(), SIGTERM);
  EXPECT_TRUE(runUntilEvents(1));
  pumpReady();
  EXPECT_EQ(events, 1);
}

TEST_F(WatchLeave, theSwitchIsOnlyOneThatIsNotEmpty) {
  const SwitchedOff empty("");
  for (const char* variable : {"DOVETAIL_NO_SIGNAL_WATCH=", "DOVETAIL_NO_SIGNAL_WATCHES=1", "NOT_DOVETAIL_NO_SIGNAL_WATCH=1"}) {
    const auto host = startProgram({"/usr/bin/env", variable, "sleep", "1000"});
    ASSERT_TRUE(pumpUntil([&] { return nameOf(host->process()) == "sleep"; }));
    const auto source = watch(host->process());
    EXPECT_TRUE(runUntilTraced(host->process())) << variable;
  }
}

}  // namespace
