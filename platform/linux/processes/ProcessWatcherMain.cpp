// dovetail-process-watcher PID BROWSER: tells the process BROWSER, its parent, when a signal is delivered to the process PID.
// A process can learn that of another one only by tracing it (ptrace(2)), and tracing hangs on the tracer's life and threads, so this is
// a program of its own: small, alone, and harmless to the process whenever it ends, as the kernel then lets
// all its threads go on, with the signal they were stopped for and stopped where they were stopped. Never
// interrupts the process by itself. WatcherProtocol.h says how it reports.

#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/ptrace.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/linux/processes/SignalWatchSwitch.h"
#include "platform/linux/processes/WatcherProtocol.h"

using platform::native::noSignalWatchVariable;
using platform::native::WatcherNews;
using platform::native::WatcherReport;

namespace {

// Signals that the C library keeps for its own business between threads (nptl(7)).
constexpr int firstRealTimeSignalOfPrograms = 34;
constexpr int firstRealTimeSignal = 32;

// Some ten seconds in all, in milliseconds.
constexpr int shortestPause = 10;
constexpr int longestPause = 5120;

pid_t watched = 0;

void report(WatcherNews news, int value) {
  const WatcherReport packet{news, value};
  // A reader who is so late that the socket is full has enough reports to read.
  ::send(platform::native::watcherChannel, &packet, sizeof(packet), MSG_DONTWAIT | MSG_NOSIGNAL);
}

[[noreturn]] void end(WatcherNews news, int value) {
  report(news, value);
  ::_exit(0);
}

bool readProcFile(const char* file, pid_t process, char* text, std::size_t size) {
  char path[64];
  std::snprintf(path, sizeof(path), "/proc/%d/%s", static_cast<int>(process), file);
  const int descriptor = ::open(path, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) return false;
  std::size_t length = 0;
  for (ssize_t count; length + 1 < size && (count = ::read(descriptor, text + length, size - 1 - length)) > 0;)
    length += static_cast<std::size_t>(count);
  text[length] = '\0';
  ::close(descriptor);
  return length > 0;
}

// A field of /proc/PID/status (proc(5)), 0 when there is none.
unsigned long long statusField(pid_t process, const char* field, int base) {
  char text[4096];
  if (!readProcFile("status", process, text, sizeof(text))) return 0;
  const char* found = std::strstr(text, field);
  return found == nullptr ? 0 : std::strtoull(found + std::strlen(field), nullptr, base);
}

bool isOneOf(unsigned long long set, int signal) { return (set >> (signal - 1) & 1) != 0; }

bool isStopSignal(int signal) { return signal == SIGSTOP || signal == SIGTSTP || signal == SIGTTIN || signal == SIGTTOU; }

// A tracer is shown these too, though the process never gets them: a signal that it ignores, and one by which
// the kernel merely stops it or lets it go on. A stopped host is there still, only late.
bool isKeptFromProcess(int signal) {
  if (isOneOf(statusField(watched, "\nSigCgt:", 16), signal)) return false;
  if (isOneOf(statusField(watched, "\nSigIgn:", 16), signal)) return true;
  return isStopSignal(signal) || signal == SIGCHLD || signal == SIGCONT || signal == SIGURG || signal == SIGWINCH;
}

// What a process's own threads and children make by merely running is no signal that somebody sends to it:
// run-time systems stop their threads by signals, and the kernel tells of a child's end by one.
bool isOwnBusiness(pid_t thread, int signal) {
  if (signal >= firstRealTimeSignal && signal < firstRealTimeSignalOfPrograms) return true;
  siginfo_t facts = {};
  if (::ptrace(PTRACE_GETSIGINFO, thread, nullptr, &facts) != 0) return false;
  if (signal == SIGCHLD && facts.si_code > 0) return true;
  return facts.si_code == SI_TKILL && facts.si_pid == watched;
}

bool isThreadOfWatched(pid_t thread) { return ::syscall(SYS_tgkill, watched, thread, 0) == 0; }

// A new thread at its start, a thread that stops with its process, or one that was stopped and is continued.
void passEventStop(pid_t thread, int signal) {
  // A process of its own that was cloned in an unusual way is followed by the kernel, but none of ours.
  if (!isThreadOfWatched(thread))
    ::ptrace(PTRACE_DETACH, thread, nullptr, nullptr);
  else if (isStopSignal(signal))
    ::ptrace(PTRACE_LISTEN, thread, nullptr, nullptr);
  else
    ::ptrace(PTRACE_CONT, thread, nullptr, nullptr);
}

// `code` is the signal, and above it the event of the tracer's own (ptrace(2)).
void passStop(pid_t thread, int code) {
  const int event = code >> 8;
  const int signal = code & 0x7f;
  if (event == PTRACE_EVENT_STOP) return passEventStop(thread, signal);
  if (event != 0) {
    ::ptrace(PTRACE_CONT, thread, nullptr, nullptr);
    return;
  }
  const bool isNews = !isOwnBusiness(thread, signal) && !isKeptFromProcess(signal);
  ::ptrace(PTRACE_CONT, thread, nullptr, reinterpret_cast<void*>(static_cast<long>(signal)));
  if (isNews) report(WatcherNews::signalDelivered, signal);
}

// A stop is looked at and left unread: the kernel takes one that was read for settled, and would drop its signal
// if we were killed before we pass it on.
void passAllStops() {
  for (;;) {
    siginfo_t facts = {};
    if (::waitid(P_ALL, 0, &facts, WEXITED | WSTOPPED | WNOHANG | WNOWAIT | __WALL) != 0) {
      if (errno == ECHILD) end(WatcherNews::processHasEnded, 0);
      return;
    }
    if (facts.si_pid == 0) return;
    if (facts.si_code == CLD_TRAPPED || facts.si_code == CLD_STOPPED)
      passStop(facts.si_pid, facts.si_status);
    else
      ::waitpid(facts.si_pid, nullptr, __WALL | WNOHANG);
  }
}

pid_t tracerOf(pid_t thread) { return static_cast<pid_t>(statusField(thread, "\nTracerPid:", 10)); }

bool isAttached(pid_t thread) { return tracerOf(thread) == ::getpid(); }

// Attaches to the threads that there are; the kernel adds those that they start. The number of new ones, or minus the
// error number for one that is refused.
int attachToThreads() {
  char path[64];
  std::snprintf(path, sizeof(path), "/proc/%d/task", static_cast<int>(watched));
  DIR* threads = ::opendir(path);
  if (threads == nullptr) end(WatcherNews::processHasEnded, 0);
  int count = 0;
  while (const dirent* entry = ::readdir(threads)) {
    const pid_t thread = std::atoi(entry->d_name);
    if (thread <= 0 || isAttached(thread)) continue;
    if (::ptrace(PTRACE_SEIZE, thread, nullptr, reinterpret_cast<void*>(PTRACE_O_TRACECLONE)) == 0)
      ++count;
    else if (const int error = errno; error != ESRCH && !isAttached(thread)) {
      ::closedir(threads);
      return -error;
    }
  }
  ::closedir(threads);
  return count;
}

// A command line in /proc is its arguments, each with a NUL behind it.
const char* argumentAfter(const char* argument) { return argument + std::strlen(argument) + 1; }

// The program that started a watcher is on its command line; 0 for a process that is no watcher.
pid_t browserOf(pid_t watcher) {
  // Two more empty arguments than there may be.
  char line[4096] = {};
  if (!readProcFile("cmdline", watcher, line, sizeof(line) - 2)) return 0;
  const char* slash = std::strrchr(line, '/');
  if (std::strcmp(slash == nullptr ? line : slash + 1, platform::native::watcherName) != 0) return 0;
  return std::atoi(argumentAfter(argumentAfter(line)));
}

// Ends when somebody else has the process.
void giveWayToTracer() {
  const pid_t tracer = tracerOf(watched);
  if (tracer == 0 || tracer == ::getpid()) return;
  const pid_t browser = browserOf(tracer);
  if (browser > 0) end(WatcherNews::browserHasWatch, browser);
  end(WatcherNews::isTraced, tracer);
}

void pauseUnlessAlone(int milliseconds) {
  pollfd starter{platform::native::watcherChannel, POLLIN, 0};
  if (::poll(&starter, 1, milliseconds) != 0) ::_exit(0);
}

// The process gives its leave (PR_SET_PTRACER) when it reads the greeting that the browser has just sent, so a refusal
// may be too early an attempt. That every thread is found takes several: a thread may start others meanwhile.
void attach() {
  int pause = shortestPause;
  while (const int count = attachToThreads()) {
    if (count > 0) {
      passAllStops();
      continue;
    }
    giveWayToTracer();
    if (count != -EPERM || isAttached(watched) || pause > longestPause) end(WatcherNews::isRefused, -count);
    pauseUnlessAlone(pause);
    pause *= 2;
  }
}

// Whether the process was started with the switch.
bool isUnwanted() {
  char path[64];
  std::snprintf(path, sizeof(path), "/proc/%d/environ", static_cast<int>(watched));
  std::FILE* variables = std::fopen(path, "re");
  if (variables == nullptr) return false;
  const std::size_t length = std::strlen(noSignalWatchVariable);
  char* text = nullptr;
  std::size_t size = 0;
  bool isFound = false;
  while (!isFound && ::getdelim(&text, &size, '\0', variables) > 0)
    isFound = std::strncmp(text, noSignalWatchVariable, length) == 0 && text[length] == '=' && text[length + 1] != '\0';
  std::free(text);
  std::fclose(variables);
  return isFound;
}

// Apart from the program that started us: no child that its wait calls see, no terminal whose keys would stop
// us and so the process at its next signal, no folder that could not be unmounted. But the child's parent stays until the
// descriptor that is the result is closed: the leave that a process gives to a browser holds for what descends from it.
int leaveStarter() {
  int ends[2];
  ::setsid();
  if (::chdir("/") != 0 || ::pipe2(ends, O_CLOEXEC) != 0) ::_exit(errno);
  const pid_t child = ::fork();
  if (child < 0) ::_exit(errno);
  ::close(ends[child == 0 ? 0 : 1]);
  if (child == 0) return ends[1];
  char nothing;
  while (::read(ends[0], &nothing, 1) < 0 && errno == EINTR) continue;
  ::_exit(0);
}

int signalsOfStops() {
  sigset_t signals;
  ::sigemptyset(&signals);
  ::sigaddset(&signals, SIGCHLD);
  ::signal(SIGCHLD, SIG_DFL);
  ::sigprocmask(SIG_BLOCK, &signals, nullptr);
  return ::signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

}  // namespace

int main(int argc, char** argv) {
  watched = argc == 3 ? std::atoi(argv[1]) : 0;
  if (watched <= 0) return EINVAL;
  const int parent = leaveStarter();
  if (isUnwanted()) end(WatcherNews::isUnwanted, 0);
  const int stops = signalsOfStops();
  if (stops < 0) end(WatcherNews::isRefused, errno);
  attach();
  ::close(parent);
  report(WatcherNews::isAttached, 0);

  for (;;) {
    passAllStops();
    pollfd sources[] = {{stops, POLLIN, 0}, {platform::native::watcherChannel, POLLIN, 0}};
    ::poll(sources, 2, -1);
    if (sources[1].revents != 0) return 0;
    signalfd_siginfo facts;
    while (::read(stops, &facts, sizeof(facts)) > 0) continue;
  }
}
