#include "platform/linux/processes/SpawnedProgram.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <memory>

#include "platform/linux/MainLoopSource.h"
#include "platform/linux/processes/WatcherProtocol.h"

namespace platform::native {
namespace {

class SpawnAttributes {
 public:
  SpawnAttributes() {
    sigset_t signals;
    ::posix_spawnattr_init(&attributes_);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&attributes_, &signals);
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&attributes_, &signals);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
  }
  ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }
  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_;
};

class SpawnActions {
 public:
  explicit SpawnActions(int channel) {
    ::posix_spawn_file_actions_init(&actions_);
    ::posix_spawn_file_actions_adddup2(&actions_, channel, watcherChannel);
    for (int stream = 0; stream < watcherChannel; ++stream) {
      ::posix_spawn_file_actions_addopen(&actions_, stream, "/dev/null", O_RDWR, 0);
    }
    ::posix_spawn_file_actions_addclosefrom_np(&actions_, watcherChannel + 1);
  }
  ~SpawnActions() { ::posix_spawn_file_actions_destroy(&actions_); }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_;
};

struct Reaping {
  Descriptor process;
  MainLoopSource source;
};

// For want of a descriptor of the process: it is asked after once a second.
void reapByAsking(pid_t child, std::shared_ptr<Reaping> reaping) {
  if (::waitpid(child, nullptr, WNOHANG) != 0) return reaping->source.reset();
  reaping->source = MainLoopSource::after(1000, [child, reaping] { reapByAsking(child, reaping); });
}

// Waits for this one child alone, so the browser's own are left to the browser. If the browser's wait calls,
// or its ignoring of SIGCHLD, took ours away first, there is nothing left to do.
void reapLater(pid_t child) {
  Descriptor process(static_cast<int>(::syscall(SYS_pidfd_open, child, 0)));
  if (!process) {
    if (errno != ESRCH) reapByAsking(child, std::make_shared<Reaping>());
    return;
  }
  auto reaping = std::make_shared<Reaping>();
  reaping->process = std::move(process);
  reaping->source = MainLoopSource::whenReadable(reaping->process.get(), [reaping]() mutable {
    siginfo_t facts;
    ::waitid(static_cast<idtype_t>(P_PIDFD), static_cast<id_t>(reaping->process.get()), &facts, WEXITED | WNOHANG);
    reaping->source.reset();
  });
}

}  // namespace

Result<Done, int> spawnProgram(const std::vector<std::string>& arguments, const Descriptor& channel) {
  std::vector<char*> pointers;
  for (const std::string& argument : arguments) pointers.push_back(const_cast<char*>(argument.c_str()));
  pointers.push_back(nullptr);
  char* noEnvironment[] = {nullptr};
  pid_t child = 0;
  const int error = ::posix_spawn(&child, pointers[0], SpawnActions(channel.get()).get(), SpawnAttributes().get(), pointers.data(),
                                  noEnvironment);
  if (error != 0) return Failure{error};
  reapLater(child);
  return Done{};
}

}  // namespace platform::native
