// Process sources on Linux: what the watcher sees, what it does not, and what is left of it.
#include <sys/ptrace.h>
#include <sys/syscall.h>

#include <filesystem>
#include <fstream>
#include <set>
#include <thread>
#include <vector>

#include "platform/linux/processes/SignalWatch.h"
#include "tests/platform/processes/LinuxProcessSourceFixture.h"

namespace {

using namespace platform;
using namespace tests;

std::size_t openDescriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

bool isBlocked(int signal, const std::filesystem::path& thread) {
  std::ifstream file(thread / "status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("SigBlk:")) return (std::stoull(line.substr(7), nullptr, 16) >> (signal - 1) & 1) != 0;
  }
  return true;
}

// Those that take signals: a sanitizer may have a thread of its own that does not.
std::vector<pid_t> threadsOf(pid_t process) {
  std::vector<pid_t> threads;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task")) {
    if (!isBlocked(SIGUSR1, entry.path())) threads.push_back(std::stoi(entry.path().filename()));
  }
  return threads;
}

// A byte to tell from a signal handler, without which nothing of the host's would be known.
int lineOfHandlers = -1;
void tellFromHandler(char byte) {
  if (::send(lineOfHandlers, &byte, 1, MSG_NOSIGNAL) != 1) ::_exit(98);
}

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

TEST_F(LinuxProcessSource, anExitComesBeforeWhateverElseIsReady) {
  PeerProcess host([](const auto& line) { return static_cast<int>(line.hear()); });
  int eventsBefore = -1;
  const auto other = native::MainLoopSource::soon([&] { eventsBefore = events; });
  const auto source = watch(host.process(), ProcessExit);
  host.tell(7);
  while (stateOf(host.process()) != 'Z') continue;
  EXPECT_TRUE(pumpUntil([&] { return eventsBefore >= 0; }));
  EXPECT_EQ(eventsBefore, 1);
}

TEST_F(LinuxProcessSource, anExitThatTheLoopHasNotComeToCanBeAskedFor) {
  PeerProcess host([](const auto& line) { return static_cast<int>(line.hear()); });
  const auto source = watch(host.process(), ProcessExit);
  sources->reportExits();
  EXPECT_EQ(events, 0);
  host.tell(7);
  while (stateOf(host.process()) != 'Z') continue;
  sources->reportExits();
  EXPECT_EQ(events, 1);
  pumpReady();
  EXPECT_EQ(events, 1);
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
    const auto sleepForever = [] {
      for (;;) ::pause();
    };
    std::thread(sleepForever).detach();
    std::thread(sleepForever).detach();
    line.tell('o');
    line.hear();
    std::thread([&] {
      std::thread(sleepForever).detach();
      sleepForever();
    }).detach();
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
  EXPECT_EQ(log.lines,
            std::vector<std::string>{"Signals of process " + std::to_string(host.process()) + " are not watched: process " +
                                     std::to_string(debugger.process()) + " (" + nameOf(debugger.process()) + ") traces it"});
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
      if (own == 0)
        for (;;) ::pause();
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

TEST_F(LinuxProcessSource, theWatcherIsTheOneBesideTheProgramElseTheInstalledOne) {
  const auto beside = std::filesystem::read_symlink("/proc/self/exe").parent_path() / "dovetail-process-watcher";
  std::filesystem::create_symlink(DOVETAIL_WATCHER, beside);
  const std::string found = platform::native::usualProcessWatcher();
  std::filesystem::remove(beside);
  EXPECT_EQ(found, beside);
  EXPECT_EQ(platform::native::usualProcessWatcher(), DOVETAIL_INSTALLED_WATCHER);
}

}  // namespace
