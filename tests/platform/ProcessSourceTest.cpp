// Process sources on Linux: that the watcher sees what it must, and that the watched process is none the worse for it.
#include <gtest/gtest.h>
#include <sched.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <filesystem>
#include <set>
#include <thread>

#include "platform/fake/FakePlatform.h"
#include "platform/linux/ProcessSource.h"
#include "tests/MainLoopPump.h"
#include "tests/platform/TracedProcess.h"

namespace {

using namespace platform;
using namespace tests;

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

std::vector<pid_t> threadsOf(pid_t process) {
  std::vector<pid_t> threads;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task"))
    threads.push_back(std::stoi(entry.path().filename()));
  return threads;
}

// A byte to tell from a signal handler, without which nothing of the host's would be known.
int lineOfHandlers = -1;
void tellFromHandler(char byte) {
  if (::send(lineOfHandlers, &byte, 1, MSG_NOSIGNAL) != 1) ::_exit(98);
}

class LinuxProcessSource : public testing::Test {
 protected:
  std::shared_ptr<ProcessSource> watch(pid_t process, std::uint32_t mask = ProcessSignal) {
    auto source = sources->createProcessSource(process, mask);
    source->setEventHandler([this] { ++events; });
    source->resume();
    return source;
  }
  static bool runUntilTraced(pid_t process) {
    return pumpUntil([&] { return tracerOf(process) != 0; });
  }
  static bool runUntilLeftAlone(pid_t process) {
    return pumpUntil([&] { return tracerOf(process) == 0; });
  }
  static bool runUntilGone(pid_t process) {
    return pumpUntil([&] { return ::kill(process, 0) != 0 || stateOf(process) == 'Z'; });
  }
  bool runUntilEvents(int count) {
    return pumpUntil([&] { return events >= count; });
  }
  long logged(std::string_view words) const {
    return std::count_if(log.lines.begin(), log.lines.end(),
                         [&](const std::string& line) { return line.find(words) != std::string::npos; });
  }

  fake::FakeLog log;
  std::unique_ptr<native::LinuxProcessSources> sources =
      std::make_unique<native::LinuxProcessSources>(log, DOVETAIL_WATCHER);
  int events = 0;
};

TEST_F(LinuxProcessSource, aProcessThatIsGoneAlreadyIsReportedOnTheMainLoop) {
  PeerProcess gone([](const auto&) { return 0; });
  const pid_t process = gone.process();
  gone.wait();
  const auto source = watch(process, ProcessExit | ProcessSignal);
  EXPECT_EQ(events, 0);
  EXPECT_TRUE(runUntilEvents(1));
  pumpReady();
  EXPECT_EQ(events, 1);
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(LinuxProcessSource, anExitIsReportedOnceAndBeforeTheProcessIsReaped) {
  PeerProcess host([](const auto& line) { return static_cast<int>(line.hear()); });
  const auto source = watch(host.process(), ProcessExit);
  host.tell(7);
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(stateOf(host.process()), 'Z');
  pumpReady();
  EXPECT_EQ(events, 1);
  EXPECT_EQ(WEXITSTATUS(host.wait()), 7);
}

TEST_F(LinuxProcessSource, everySignalReachesTheHostUnchangedAndIsReported) {
  // Real-time signals queue, each with a value of its own.
  PeerProcess host([](const auto& line) {
    lineOfHandlers = line.descriptor();
    struct sigaction action = {};
    action.sa_sigaction = [](int, siginfo_t* facts, void*) { tellFromHandler(static_cast<char>(facts->si_value.sival_int)); };
    action.sa_flags = SA_SIGINFO;
    ::sigaction(SIGRTMIN, &action, nullptr);
    line.tell('o');
    for (;;) ::pause();
    return 0;
  });
  ASSERT_EQ(host.hear(), 'o');
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  for (int value = 1; value <= 100; ++value) {
    ASSERT_EQ(::sigqueue(host.process(), SIGRTMIN, sigval{.sival_int = value}), 0);
  }
  for (int value = 1; value <= 100; ++value) ASSERT_EQ(host.hear(), static_cast<char>(value));
  EXPECT_TRUE(runUntilEvents(100));
  EXPECT_EQ(events, 100);
}

TEST_F(LinuxProcessSource, signalsToAllThreadsOldAndNewAreReported) {
  PeerProcess host([](const auto& line) {
    ::signal(SIGUSR1, [](int) {});
    const auto sleepForever = [] { for (;;) ::pause(); };
    std::thread(sleepForever).detach();
    std::thread(sleepForever).detach();
    line.tell('o');
    line.hear();
    std::thread([&] { std::thread(sleepForever).detach(); sleepForever(); }).detach();
    std::thread(sleepForever).detach();
    line.tell('o');
    sleepForever();
    return 0;
  });
  ASSERT_EQ(host.hear(), 'o');
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  host.tell('g');
  ASSERT_EQ(host.hear(), 'o');
  ASSERT_TRUE(pumpUntil([&] { return threadsOf(host.process()).size() == 6; }));
  int sent = 0;
  for (const pid_t thread : threadsOf(host.process())) {
    EXPECT_TRUE(pumpUntil([&] { return tracerOf(thread) != 0; }));
    ASSERT_EQ(::syscall(SYS_tgkill, host.process(), thread, SIGUSR1), 0);
    EXPECT_TRUE(runUntilEvents(++sent)) << thread;
  }
}

TEST_F(LinuxProcessSource, whatIsNotDeliveredOrIsTheHostsOwnBusinessIsNoEvent) {
  PeerProcess host([](const auto& line) {
    const auto handle = [](int) {};
    sigset_t blocked;
    ::sigemptyset(&blocked);
    ::sigaddset(&blocked, SIGHUP);
    ::sigprocmask(SIG_BLOCK, &blocked, nullptr);
    ::signal(SIGUSR2, SIG_IGN);
    ::signal(SIGCHLD, handle);
    ::signal(SIGXCPU, handle);
    ::signal(SIGUSR1, handle);
    line.tell('o');
    line.hear();
    const pid_t child = ::fork();
    if (child == 0) ::_exit(0);
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) continue;
    ::pthread_kill(::pthread_self(), SIGXCPU);
    line.tell('o');
    for (;;) ::pause();
    return 0;
  });
  ASSERT_EQ(host.hear(), 'o');
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  for (const int signal : {SIGUSR2, SIGHUP, SIGWINCH, SIGURG, SIGCONT, SIGTSTP, SIGCONT}) ::kill(host.process(), signal);
  host.tell('g');
  ASSERT_EQ(host.hear(), 'o');
  ::kill(host.process(), SIGUSR1);
  EXPECT_TRUE(runUntilEvents(1));
  ::kill(host.process(), SIGCHLD);
  EXPECT_TRUE(runUntilEvents(2));
  pumpReady();
  EXPECT_EQ(events, 2);
}

TEST_F(LinuxProcessSource, aStoppedHostStandsAndGoesOnAsWithoutUs) {
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

TEST_F(LinuxProcessSource, aHostThatIsStoppedWhenTheWatchBeginsAndEndsStaysStopped) {
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

TEST_F(LinuxProcessSource, theHostOutlivesAWatcherThatIsKilledAtAnyMoment) {
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

TEST_F(LinuxProcessSource, aHostStoppedBySomebodyStaysSoWhenTheWatcherIsKilled) {
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

TEST_F(LinuxProcessSource, systemCallsThatWaitAreNotInterruptedByTheWatch) {
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
      if (kind == pausing) ::pause();
      else if (kind == polling) ::epoll_wait(waiting, &event, 1, -1);
      else if (kind == sleeping) ::nanosleep(&hour, nullptr);
      else if (::read(ends[0], &byte, 1) < 0) line.tell('x');
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

TEST_F(LinuxProcessSource, childrenOfTheHostAreNotTraced) {
  PeerProcess host([](const auto& line) {
    line.hear();
    std::vector<pid_t> children;
    children.push_back(::fork());
    if (children.back() == 0) for (;;) ::pause();
    // A process of its own that tells its end in an unusual way is followed by the kernel like a thread.
    children.push_back(static_cast<pid_t>(::syscall(SYS_clone, 0, nullptr, nullptr, nullptr, nullptr)));
    if (children.back() == 0) for (;;) ::pause();
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

TEST_F(LinuxProcessSource, aHostThatExecutesAnotherProgramGoesOnAndIsStillWatched) {
  PeerProcess host([](const auto& line) {
    line.hear();
    std::thread([] { ::execlp("sleep", "sleep", "1000", nullptr); }).join();
    return 1;
  });
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  host.tell('g');
  const auto name = [&] {
    std::ifstream file("/proc/" + std::to_string(host.process()) + "/comm");
    std::string text;
    std::getline(file, text);
    return text;
  };
  ASSERT_TRUE(pumpUntil([&] { return name() == "sleep" && stateOf(host.process()) == 'S'; }));
  EXPECT_EQ(events, 0);
  ::kill(host.process(), SIGTERM);
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(WTERMSIG(host.wait()), SIGTERM);
}

TEST_F(LinuxProcessSource, theHostsParentLearnsItsEndAsWithoutUs) {
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

TEST_F(LinuxProcessSource, cancellingLeavesTheHostAloneAndNoWatcherBehind) {
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

TEST_F(LinuxProcessSource, aBrowserThatIsKilledLeavesTheHostAlone) {
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

TEST_F(LinuxProcessSource, sourcesOnOneProcessShareAWatcherThatStaysForTheLast) {
  SignalCounter host;
  const auto first = watch(host.process());
  const auto second = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  const pid_t watcher = tracerOf(host.process());
  first->cancel();
  pumpReady();
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(tracerOf(host.process()), watcher);
  second->cancel();
  EXPECT_TRUE(runUntilLeftAlone(host.process()));
  EXPECT_TRUE(log.lines.empty());
}

TEST_F(LinuxProcessSource, whereAnotherTracesTheHostItsExitAloneIsReportedWithOneLineInTheLog) {
  SignalCounter host;
  PeerProcess debugger([&](const auto& line) {
    const long result = ::ptrace(PTRACE_SEIZE, host.process(), nullptr, nullptr);
    line.tell(result == 0 ? 'o' : 'x');
    return static_cast<int>(line.hear());
  });
  ASSERT_EQ(debugger.hear(), 'o');
  const auto source = watch(host.process(), ProcessExit | ProcessSignal);
  EXPECT_TRUE(pumpUntil([&] { return !log.lines.empty(); }));
  EXPECT_EQ(log.lines, std::vector<std::string>{"Signals of process " + std::to_string(host.process()) +
                                                " are not watched: Operation not permitted"});
  EXPECT_EQ(events, 0);
  EXPECT_EQ(tracerOf(host.process()), debugger.process());
  debugger.kill();
  host.kill();
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(log.lines.size(), 1u);
}

TEST_F(LinuxProcessSource, withoutTheWatchersProgramTheExitAloneIsReportedWithOneLineInTheLog) {
  sources = std::make_unique<native::LinuxProcessSources>(log, "/nonexistent/watcher");
  SignalCounter host;
  const auto source = watch(host.process(), ProcessExit | ProcessSignal);
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  host.kill();
  EXPECT_TRUE(runUntilEvents(1));
  EXPECT_EQ(events, 1);
  EXPECT_EQ(logged("/nonexistent/watcher"), 1);
}

TEST_F(LinuxProcessSource, theBrowsersOwnChildrenAndWaitsAreLeftAlone) {
  SignalCounter host;
  for (const bool ignoresChildren : {false, true}) {
    PeerProcess browser([&](const auto& line) {
      if (ignoresChildren) ::signal(SIGCHLD, SIG_IGN);
      const pid_t own = ::fork();
      if (own == 0) for (;;) ::pause();
      const auto source = watch(host.process());
      if (!runUntilTraced(host.process())) return 1;
      // Of the starting of the watcher nothing is left: the browser's one child is its own.
      const bool isReaped = pumpUntil([&] {
        std::ifstream file("/proc/self/task/" + std::to_string(::getpid()) + "/children");
        std::string text;
        std::getline(file, text);
        return text == std::to_string(own) + " ";
      });
      ::kill(own, SIGKILL);
      const pid_t waited = ::waitpid(-1, nullptr, 0);
      line.tell(isReaped && (ignoresChildren ? waited < 0 && errno == ECHILD : waited == own) ? 'o' : 'x');
      return static_cast<int>(line.hear());
    });
    EXPECT_EQ(browser.hear(), 'o') << ignoresChildren;
    browser.kill();
    ASSERT_TRUE(runUntilLeftAlone(host.process()));
  }
}

TEST_F(LinuxProcessSource, theWatcherInheritsNothingButItsLine) {
  const int inherited = ::open("/dev/zero", O_RDONLY);
  ASSERT_GE(inherited, 0);
  sigset_t signals;
  ::sigfillset(&signals);
  sigset_t old;
  ::sigprocmask(SIG_BLOCK, &signals, &old);
  SignalCounter host;
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  ::sigprocmask(SIG_SETMASK, &old, nullptr);
  ::close(inherited);
  const std::string watcher = "/proc/" + std::to_string(tracerOf(host.process()));
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator(watcher + "/fd")) {
    const std::string target = std::filesystem::read_symlink(entry.path());
    files.push_back(target.substr(0, target.find('[')));
  }
  std::sort(files.begin(), files.end());
  EXPECT_EQ(files, (std::vector<std::string>{"/dev/null", "/dev/null", "/dev/null", "anon_inode:", "socket:"}));
  EXPECT_EQ(std::filesystem::read_symlink(watcher + "/cwd"), "/");
  EXPECT_NE(::getsid(std::stoi(watcher.substr(6))), ::getsid(0));
  EXPECT_EQ(std::filesystem::file_size(watcher + "/environ"), 0u);
}

TEST_F(LinuxProcessSource, aThousandHostsLeaveNoDescriptorAndNoWatcherBehind) {
  pumpReady();
  const std::size_t before = openDescriptors();
  std::set<pid_t> watchers;
  for (int i = 0; i < 1000; ++i) {
    PeerProcess host([](const auto& line) { return static_cast<int>(line.hear()); });
    const auto source = watch(host.process(), ProcessExit | ProcessSignal);
    source->setEventHandler([&, source = std::weak_ptr(source)] {
      ++events;
      source.lock()->cancel();
    });
    if (i % 10 == 0) {
      ASSERT_TRUE(runUntilTraced(host.process()));
      watchers.insert(tracerOf(host.process()));
    }
    host.kill();
    ASSERT_TRUE(runUntilEvents(i + 1));
  }
  EXPECT_TRUE(pumpUntil([&] { return openDescriptors() == before; }));
  for (const pid_t watcher : watchers) EXPECT_TRUE(runUntilGone(watcher));
}

TEST_F(LinuxProcessSource, whoeverOutlivesTheBackendHarmsNothing) {
  SignalCounter host;
  const auto source = watch(host.process());
  ASSERT_TRUE(runUntilTraced(host.process()));
  sources.reset();
  EXPECT_TRUE(runUntilLeftAlone(host.process()));
  source->cancel();
  source->resume();
  pumpReady();
  EXPECT_EQ(host.countAfter(SIGUSR1), 1);
  EXPECT_EQ(events, 0);
}

}  // namespace
