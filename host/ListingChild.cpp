#include "host/ListingChild.h"

#include <fcntl.h>
#include <glib-unix.h>
#include <glib.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
extern "C" {
#include <sys/pidfd.h>  // glibc 2.36 forgets to declare it for C++
}

#include <array>
#include <cerrno>
#include <cstring>

#include "host/ListingService.h"

using platform::native::Descriptor;
using platform::native::MainLoopSource;

namespace {

/// What `posix_spawn` needs, given back with it: no signal blocked or ignored, the socket as standard input.
class SpawnSettings {
 public:
  explicit SpawnSettings(int socket) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, socket, STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSettings() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;

  posix_spawn_file_actions_t actions;
  posix_spawnattr_t attributes;
};

std::optional<pid_t> spawnService(const std::string& program, const ListingLimits& limits, int socket) {
  std::array<std::string, 5> texts{"dovetail-host", listingServiceCommand, std::to_string(limits.bounds.entries),
                                   std::to_string(limits.bounds.pathBytes), std::to_string(limits.memoryBytes)};
  std::array<char*, texts.size() + 1> arguments{};
  for (std::size_t i = 0; i < texts.size(); ++i) arguments[i] = texts[i].data();
  const SpawnSettings settings(socket);
  pid_t process = -1;
  if (posix_spawn(&process, program.c_str(), &settings.actions, &settings.attributes, arguments.data(), environ) != 0)
    return std::nullopt;
  return process;
}

// One byte with the descriptor beside it. The child reads nothing else, so the socket always has room.
bool sendFile(int socket, int file) {
  char byte = 0;
  iovec part{&byte, 1};
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof file)] = {};
  msghdr message{};
  message.msg_iov = &part;
  message.msg_iovlen = 1;
  message.msg_control = control;
  message.msg_controllen = sizeof control;
  cmsghdr* head = CMSG_FIRSTHDR(&message);
  head->cmsg_level = SOL_SOCKET;
  head->cmsg_type = SCM_RIGHTS;
  head->cmsg_len = CMSG_LEN(sizeof file);
  std::memcpy(CMSG_DATA(head), &file, sizeof file);
  return sendmsg(socket, &message, MSG_NOSIGNAL | MSG_DONTWAIT) == 1;
}

void reaped(GPid process, gint, gpointer) { g_spawn_close_pid(process); }

}  // namespace

std::unique_ptr<ListingChild> ListingChild::start(const std::string& program, const ListingLimits& limits) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return nullptr;
  Descriptor own(ends[0]);
  const Descriptor childs(ends[1]);
  const auto process = spawnService(program, limits, childs.get());
  if (!process) return nullptr;
  // The watch outlives the child's owner: a process that cannot die at once (a file on a dead network share) is reaped when it does.
  g_child_watch_add(*process, &reaped, nullptr);
  Descriptor handle(pidfd_open(*process, 0));
  if (!handle) return nullptr;
  return std::unique_ptr<ListingChild>(new ListingChild(*process, std::move(handle), std::move(own), limits));
}

ListingChild::ListingChild(pid_t process, Descriptor handle, Descriptor socket, const ListingLimits& limits)
    : process_(process), handle_(std::move(handle)), socket_(std::move(socket)), limits_(limits), parser_(limits.bounds) {
  g_unix_set_fd_nonblocking(socket_.get(), TRUE, nullptr);
  reading_ = MainLoopSource::whenReadable(socket_.get(), [this] { takeBytes(); });
}

ListingChild::~ListingChild() {
  if (isSound_) end();
}

// By its handle, as the number of a process that has been reaped may be another's by now.
void ListingChild::end() { pidfd_send_signal(handle_.get(), SIGKILL, nullptr, 0); }

void ListingChild::list(Descriptor file, Completion completion) {
  completion_ = std::move(completion);
  parser_ = ListingParser(limits_.bounds);
  ++listedFiles_;
  const auto milliseconds = static_cast<unsigned>(limits_.time.count());
  timeLimit_ = MainLoopSource::after(milliseconds,
                                     [this, milliseconds] { fail("it took longer than " + std::to_string(milliseconds) + " ms"); });
  // A refused send means that the child has died, which the end of its socket tells from the main loop.
  sendFile(socket_.get(), file.get());
}

void ListingChild::takeBytes() {
  std::array<char, 64 * 1024> bytes;
  const ssize_t length = read(socket_.get(), bytes.data(), bytes.size());
  if (length < 0 && (errno == EAGAIN || errno == EINTR)) return;
  if (length <= 0) return fail("the process that read it died");
  const auto state = parser_.take({bytes.data(), static_cast<std::size_t>(length)});
  if (!isBusy() || state == ListingParser::State::refused) return fail("the process that read it sent garbage");
  if (state == ListingParser::State::finished) finish(parser_.takeResult(), {});
}

void ListingChild::fail(std::string trouble) {
  isSound_ = false;
  end();
  reading_.reset();
  finish(std::nullopt, std::move(trouble));
}

void ListingChild::finish(std::optional<Listing> listing, std::string trouble) {
  timeLimit_.reset();
  if (const Completion completion = std::exchange(completion_, nullptr)) completion(std::move(listing), std::move(trouble));
}
