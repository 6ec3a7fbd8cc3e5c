// A real process of its own that plays the other end: a fork of the test running one function. It and the
// test tell each other single bytes over a socket pair. Killed and reaped with its owner.
#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/linux/Descriptor.h"

namespace tests {

/// The letter of a process's state in /proc/PID/stat (proc(5)), or 0 once it is gone.
inline char stateOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  const std::string text((std::istreambuf_iterator<char>(file)), {});
  const auto end = text.rfind(')');
  return end == std::string::npos ? '\0' : text[end + 2];
}

class PeerProcess {
 public:
  /// Stands for the number of the line's descriptor among the arguments of a program.
  static constexpr const char* lineArgument = "LINE";

  /// What the peer's function talks to the test by.
  class Line {
   public:
    explicit Line(int descriptor) : descriptor_(descriptor) {}
    int descriptor() const { return descriptor_; }
    void tell(char byte) const {
      if (::send(descriptor_, &byte, 1, MSG_NOSIGNAL) != 1) ::_exit(99);
    }
    /// The byte that the other end told, or 0 once it is gone, or after 20 seconds.
    char hear() const {
      pollfd watched{descriptor_, POLLIN, 0};
      char byte = 0;
      return ::poll(&watched, 1, 20000) == 1 && ::recv(descriptor_, &byte, 1, 0) == 1 ? byte : '\0';
    }

   private:
    int descriptor_;
  };

  explicit PeerProcess(const std::function<int(const Line&)>& run) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) std::abort();
    std::fflush(nullptr);
    process_ = ::fork();
    if (process_ == 0) {
      ::close(ends[0]);
      ::_exit(run(Line(ends[1])));
    }
    ::close(ends[1]);
    line_.reset(ends[0]);
  }
  ~PeerProcess() {
    if (process_ <= 0) return;
    ::kill(process_, SIGKILL);
    wait();
  }
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  pid_t process() const { return process_; }
  void tell(char byte) const { Line(line_.get()).tell(byte); }
  char hear() const { return Line(line_.get()).hear(); }
  bool hasNews() const {
    pollfd watched{line_.get(), POLLIN, 0};
    return ::poll(&watched, 1, 0) == 1;
  }

  /// Ends it by SIGKILL and waits until it is gone.
  void kill() {
    ::kill(process_, SIGKILL);
    wait();
  }
  /// Stops it and waits until it stands.
  void stop() const {
    ::kill(process_, SIGSTOP);
    ::waitpid(process_, nullptr, WUNTRACED);
  }
  void resume() const { ::kill(process_, SIGCONT); }
  /// Its wait status.
  int wait() {
    int status = 0;
    ::waitpid(process_, &status, 0);
    process_ = 0;
    return status;
  }

 private:
  pid_t process_ = 0;
  platform::native::Descriptor line_;
};

/// Another program as a peer.
inline std::unique_ptr<PeerProcess> startProgram(std::vector<std::string> arguments) {
  return std::make_unique<PeerProcess>([arguments = std::move(arguments)](const PeerProcess::Line& line) mutable {
    ::fcntl(line.descriptor(), F_SETFD, 0);
    std::replace(arguments.begin(), arguments.end(), std::string(PeerProcess::lineArgument), std::to_string(line.descriptor()));
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return ::execv(pointers[0], pointers.data());
  });
}

}  // namespace tests
