// Processes to be watched, and what the system says of a watched one.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <sstream>
#include <string>

#include "tests/platform/PeerProcess.h"

namespace tests {

/// The process that traces a process or thread (proc(5)), 0 for none.
inline pid_t tracerOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("TracerPid:")) return std::stoi(line.substr(10));
  }
  return 0;
}

/// What the system calls a process (proc(5)).
inline std::string nameOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/comm");
  std::string name;
  std::getline(file, name);
  return name;
}

/// The first child of a process whose main thread alone has children, 0 for none.
inline pid_t childOf(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/task/" + std::to_string(process) + "/children");
  pid_t child = 0;
  return file >> child ? child : 0;
}

/// A host that counts the SIGUSR1 and SIGUSR2 it handles while it sleeps.
class SignalCounter : public PeerProcess {
 public:
  SignalCounter() : PeerProcess(run) { EXPECT_EQ(hear(), 'o'); }

  /// Sends a signal, and asks how many came in all.
  int countAfter(int signal) const {
    ::kill(process(), signal);
    return hear();
  }

 private:
  // Tells the count at each signal.
  static int run(const Line& line) {
    static std::atomic<int> count;
    static int told;
    told = line.descriptor();
    const auto handler = [](int) {
      const char text = static_cast<char>(++count);
      if (::send(told, &text, 1, MSG_NOSIGNAL) != 1) ::_exit(98);
    };
    ::signal(SIGUSR1, handler);
    ::signal(SIGUSR2, handler);
    line.tell('o');
    // Not pause(2), in which a thread sanitizer keeps signals waiting.
    for (;;) ::poll(nullptr, 0, -1);
  }
};

}  // namespace tests
