// A session bus of the test's own, at an address that outlives it, and other programs on it.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "tests/MainLoopPump.h"
#include "tests/TemporaryFolder.h"
#include "tests/platform/PeerProcess.h"

namespace tests {

class PrivateBus {
 public:
  PrivateBus() { start(); }

  const std::string& address() const { return address_; }
  pid_t process() const { return daemon_->process(); }
  void stop() { daemon_->stop(); }
  void resume() { daemon_->resume(); }
  void end() { daemon_.reset(); }
  void start() {
    daemon_ = std::make_unique<PeerProcess>([this](const PeerProcess::Line& line) {
      ::fcntl(line.descriptor(), F_SETFD, 0);
      // It complains there about limits it cannot raise.
      ::dup2(::open("/dev/null", O_WRONLY | O_CLOEXEC), STDERR_FILENO);
      const std::string print = "--print-address=" + std::to_string(line.descriptor());
      return ::execlp("dbus-daemon", "dbus-daemon", "--session", "--nofork", "--nopidfile", "--nosyslog",
                      ("--address=" + address_).c_str(), print.c_str(), nullptr);
    });
    // It prints its address once it listens.
    EXPECT_EQ(daemon_->hear(), 'u');
  }

  /// A program that owns the name or queues for it.
  std::unique_ptr<PeerProcess> startOwner(const std::string& name) const {
    auto owner = startProgram({DOVETAIL_BUS_PEER, PeerProcess::lineArgument, address_, "own", name});
    EXPECT_EQ(owner->hear(), 'o');
    return owner;
  }
  /// Another program's notification; it is on the bus when this returns.
  void post(const std::string& name, const std::string& text) const {
    EXPECT_EQ(startProgram({DOVETAIL_BUS_PEER, PeerProcess::lineArgument, address_, "post", name, text})->wait(), 0);
  }

 private:
  TemporaryFolder folder_;
  std::string address_ = "unix:path=" + folder_.path() + "/bus";
  std::unique_ptr<PeerProcess> daemon_;
};

}  // namespace tests
