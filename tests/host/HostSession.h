// A desktop session of its own for one test: private folders for everything that a program keeps, a private session bus, and programs
// that run as real processes in it.
#pragma once

#include <glib.h>
#include <signal.h>
#include <sys/types.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/Descriptor.h"
#include "platform/linux/MainLoopSource.h"
#include "platform/linux/programs/JSON.h"
#include "tests/TemporaryFolder.h"

/// A process whose standard output and error are read on the main loop. Killed with its owner.
class RunningProgram {
 public:
  RunningProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& environment);
  RunningProgram(const RunningProgram&) = delete;
  ~RunningProgram();

  pid_t process() const { return process_; }
  const std::string& output() const { return output_.text; }
  const std::string& errors() const { return errors_.text; }
  /// The complete lines of the output so far.
  std::vector<std::string> lines() const;
  /// The next line, of those that were not waited for yet, that is a JSON object with that event; null when none came in time.
  platform::JSON nextEvent(const std::string& event);
  bool hasEnded() const { return end_->status.has_value(); }
  /// Waits for the end, of the output too: the exit status, or minus the signal; nothing when it did not end in time.
  std::optional<int> exitStatus();
  void signal(int number) const { kill(process_, number); }

 private:
  struct Stream {
    platform::native::Descriptor pipe;
    platform::native::MainLoopSource source;
    std::string text;
    bool isAtEnd = false;
  };
  struct End {
    std::optional<int> status;
  };

  static void read(Stream& stream);

  pid_t process_ = 0;
  Stream output_;
  Stream errors_;
  std::shared_ptr<End> end_ = std::make_shared<End>();
  std::size_t waitedLines_ = 0;
};

class HostSession {
 public:
  /// Starts the bus and makes the environment the test's own too, as its part in the session runs in this process.
  HostSession();

  const tests::TemporaryFolder& folder() const { return folder_; }
  std::string busAddress() const { return "unix:path=" + folder_.path("bus"); }
  std::string portFolder() const { return folder_.path("run/dovetail"); }
  /// Starts `dovetail-host` with these arguments.
  std::unique_ptr<RunningProgram> host(std::vector<std::string> arguments = {}) const;
  /// Runs any program of the session to its end and answers it.
  std::unique_ptr<RunningProgram> run(const std::vector<std::string>& arguments) const;
  void endBus() { bus_.reset(); }

 private:
  tests::TemporaryFolder folder_;
  std::vector<std::string> environment_;
  std::unique_ptr<RunningProgram> bus_;
};
