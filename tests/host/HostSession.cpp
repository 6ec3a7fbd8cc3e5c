#include "tests/host/HostSession.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <stdexcept>

#include "tests/MainLoopPump.h"

using platform::JSON;
using platform::native::Descriptor;
using platform::native::MainLoopSource;

namespace {

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::array<Descriptor, 2> newPipe() {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {Descriptor(ends[0]), Descriptor(ends[1])};
}

}  // namespace

RunningProgram::RunningProgram(const std::vector<std::string>& arguments, const std::vector<std::string>& environment) {
  std::vector<std::string> texts = arguments;
  std::vector<std::string> variables = environment;
  auto [output, outputEnd] = newPipe();
  auto [errors, errorsEnd] = newPipe();
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, outputEnd.get(), 1);
  posix_spawn_file_actions_adddup2(&actions, errorsEnd.get(), 2);
  const int failure =
      posix_spawnp(&process_, texts[0].c_str(), &actions, nullptr, pointersTo(texts).data(), pointersTo(variables).data());
  posix_spawn_file_actions_destroy(&actions);
  if (failure != 0) throw std::runtime_error("cannot run " + texts[0]);
  const auto ended = [](GPid, gint status, gpointer end) {
    (*static_cast<std::shared_ptr<End>*>(end))->status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  };
  const auto release = [](gpointer end) { delete static_cast<std::shared_ptr<End>*>(end); };
  g_child_watch_add_full(G_PRIORITY_DEFAULT, process_, ended, new std::shared_ptr<End>(end_), release);
  for (auto [stream, pipe] : {std::pair{&output_, &output}, {&errors_, &errors}}) {
    stream->pipe = std::move(*pipe);
    stream->source = MainLoopSource::whenReadable(stream->pipe.get(), [stream = stream] { read(*stream); });
  }
}

RunningProgram::~RunningProgram() {
  if (hasEnded()) return;
  signal(SIGKILL);
  tests::pumpUntil([this] { return hasEnded(); });
}

void RunningProgram::read(Stream& stream) {
  std::array<char, 64 * 1024> bytes;
  const ssize_t length = ::read(stream.pipe.get(), bytes.data(), bytes.size());
  if (length > 0)
    stream.text.append(bytes.data(), static_cast<std::size_t>(length));
  else if (length == 0 || errno != EINTR) {
    stream.isAtEnd = true;
    stream.source.reset();
  }
}

std::vector<std::string> RunningProgram::lines() const {
  std::vector<std::string> lines;
  std::size_t start = 0;
  for (std::size_t end = output().find('\n'); end != std::string::npos; end = output().find('\n', start)) {
    lines.push_back(output().substr(start, end - start));
    start = end + 1;
  }
  return lines;
}

JSON RunningProgram::nextEvent(const std::string& event) {
  JSON found;
  tests::pumpUntil([&] {
    const auto all = lines();
    while (waitedLines_ < all.size() && found.isNull()) {
      const auto line = JSON::parse(all[waitedLines_++]);
      const std::string* name = line ? line->stringMember("event") : nullptr;
      if (name && *name == event) found = *line;
    }
    return !found.isNull() || (output_.isAtEnd && hasEnded());
  });
  return found;
}

std::optional<int> RunningProgram::exitStatus() {
  tests::pumpUntil([this] { return hasEnded() && output_.isAtEnd && errors_.isAtEnd; });
  return end_->status;
}

HostSession::HostSession() {
  const std::vector<std::pair<std::string, std::string>> variables{{"HOME", folder_.path("home")},
                                                                   {"XDG_RUNTIME_DIR", folder_.path("run")},
                                                                   {"XDG_CONFIG_HOME", folder_.path("config")},
                                                                   {"XDG_DATA_HOME", folder_.path("data")},
                                                                   {"XDG_CACHE_HOME", folder_.path("cache")},
                                                                   {"DBUS_SESSION_BUS_ADDRESS", busAddress()},
                                                                   {"PATH", "/usr/bin:/bin"},
                                                                   {"LC_ALL", "C.UTF-8"}};
  for (const auto& [name, value] : variables) {
    environment_.push_back(name + "=" + value);
    if (name != "PATH") setenv(name.c_str(), value.c_str(), 1);
    if (name == "HOME" || (name.starts_with("XDG_"))) std::filesystem::create_directory(value);
  }
  std::filesystem::permissions(folder_.path("run"), std::filesystem::perms::owner_all);
  for (const char* name : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS"})
    if (const char* value = getenv(name)) environment_.push_back(std::string(name) + "=" + value);
  bus_ = std::make_unique<RunningProgram>(std::vector<std::string>{"dbus-daemon", "--session", "--nofork", "--nopidfile",
                                                                   "--nosyslog", "--print-address", "--address=" + busAddress()},
                                          environment_);
  if (!tests::pumpUntil([this] { return !bus_->lines().empty(); })) throw std::runtime_error("no session bus");
}

std::unique_ptr<RunningProgram> HostSession::host(std::vector<std::string> arguments) const {
  arguments.insert(arguments.begin(), DOVETAIL_HOST);
  return std::make_unique<RunningProgram>(arguments, environment_);
}

std::unique_ptr<RunningProgram> HostSession::run(const std::vector<std::string>& arguments) const {
  auto program = std::make_unique<RunningProgram>(arguments, environment_);
  program->exitStatus();
  return program;
}
