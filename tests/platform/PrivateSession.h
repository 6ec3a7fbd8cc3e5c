// A session of its own for one test program: a real session bus, and the folders that the desktop's standards
// name, in a private place. GLib and dconf read these once a process, hence one session a program, begun
// before the first test.
#pragma once

#include <gtest/gtest.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/TemporaryFolder.h"

namespace tests {

class PrivateSession : public testing::Environment {
 public:
  /// Adds the session to the program's test environments, which own it.
  static PrivateSession& begin() {
    auto* session = new PrivateSession;
    testing::AddGlobalTestEnvironment(session);
    return *session;
  }

  void SetUp() override {
    for (const char* name : {"config", "data", "cache", "runtime"}) {
      std::filesystem::create_directory(path(name));
      chmod(path(name).c_str(), 0700);
    }
    setenv("HOME", folder_.path().c_str(), 1);
    setenv("XDG_CONFIG_HOME", path("config").c_str(), 1);
    setenv("XDG_DATA_HOME", path("data").c_str(), 1);
    setenv("XDG_CACHE_HOME", path("cache").c_str(), 1);
    setenv("XDG_RUNTIME_DIR", path("runtime").c_str(), 1);
    setenv("DBUS_SESSION_BUS_ADDRESS", ("unix:path=" + path("runtime/bus")).c_str(), 1);
    unsetenv("DCONF_PROFILE");
    startBus();
  }
  void TearDown() override { stopBus(); }

  std::string path(const std::string& name) const { return folder_.path() + "/" + name; }

  /// Starts the bus and waits until it listens.
  void startBus() {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const std::string print = "--print-address=" + std::to_string(ends[1]);
    bus_ = spawn(
        {"dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog", "--address=unix:path=" + path("runtime/bus"), print});
    close(ends[1]);
    char byte = 0;
    const bool isListening = read(ends[0], &byte, 1) == 1;
    close(ends[0]);
    ASSERT_TRUE(isListening);
  }

  void stopBus() {
    if (bus_ <= 0) return;
    kill(bus_, SIGKILL);
    waitpid(bus_, nullptr, 0);
    bus_ = 0;
    std::filesystem::remove(path("runtime/bus"));
  }

  /// Runs a program to its end. Its exit status, or -1.
  static int run(const std::vector<std::string>& arguments) {
    int status = 0;
    const pid_t process = spawn(arguments);
    if (process <= 0 || waitpid(process, &status, 0) != process) return -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  /// What a program prints, without the final end of line.
  static std::string outputOf(const std::string& command) {
    std::string output;
    FILE* const pipe = popen(command.c_str(), "r");
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
    pclose(pipe);
    while (output.ends_with('\n')) output.pop_back();
    return output;
  }

 private:
  static pid_t spawn(const std::vector<std::string>& arguments) {
    std::vector<char*> words;
    for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
    words.push_back(nullptr);
    pid_t process = 0;
    return posix_spawnp(&process, words[0], nullptr, nullptr, words.data(), environ) == 0 ? process : -1;
  }

  TemporaryFolder folder_;
  pid_t bus_ = 0;
};

}  // namespace tests
