#include "platform/linux/processes/SignalWatch.h"

#include <dlfcn.h>
#include <link.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <utility>
#include <vector>

#include "platform/linux/processes/SignalWatchSwitch.h"
#include "platform/linux/processes/SpawnedProgram.h"
#include "platform/linux/processes/WatcherProtocol.h"

namespace platform::native {
namespace {

constexpr int reportsPerTurn = 16;

// The module or program that this code was linked into; the loader has no name for the program itself.
std::filesystem::path ownFile() {
  Dl_info facts = {};
  link_map* object = nullptr;
  void** objectPlace = reinterpret_cast<void**>(&object);
  if (::dladdr1(&reportsPerTurn, &facts, objectPlace, RTLD_DL_LINKMAP) == 0 || object == nullptr) return {};
  std::error_code error;
  return object->l_name[0] != '\0' ? object->l_name : std::filesystem::read_symlink("/proc/self/exe", error);
}

std::string nameOf(std::int32_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/comm");
  std::string name;
  std::getline(file, name);
  return std::to_string(process) + " (" + name + ")";
}

std::string obstacleIn(const WatcherReport& report) {
  switch (report.news) {
    case WatcherNews::isRefused: return std::strerror(report.value);
    case WatcherNews::browserHasWatch: return "file browser " + nameOf(report.value) + " has the watch";
    case WatcherNews::isTraced: return "process " + nameOf(report.value) + " traces it";
    case WatcherNews::isUnwanted: return std::string(noSignalWatchVariable) + " is set in its environment";
    default: return {};
  }
}

}  // namespace

std::string usualProcessWatcher() {
  const std::string beside = ownFile().parent_path() / watcherName;
  return ::access(beside.c_str(), X_OK) == 0 ? beside : std::string(DOVETAIL_INSTALLED_PROGRAMS) + "/" + watcherName;
}

SignalWatch::SignalWatch(std::int32_t process, const std::string& watcher, Log& log) : process_(process), log_(log) {
  start(watcher);
}

void SignalWatch::start(const std::string& watcher) {
  if (isSignalWatchOff()) return end(std::string(noSignalWatchVariable) + " is set");
  int ends[2];
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return end(std::strerror(errno));
  channel_.reset(ends[0]);
  const Descriptor watchersEnd(ends[1]);
  const auto spawned = spawnProgram({watcher, std::to_string(process_), std::to_string(::getpid())}, watchersEnd);
  if (!spawned) return end(watcher + ": " + std::strerror(spawned.reason()));
  reports_ = MainLoopSource::whenReadable(channel_.get(), [this] { readReports(); });
}

void SignalWatch::readReports() {
  // A listener may drop the last reference to this watch.
  const auto self = shared_from_this();
  for (int count = 0; count < reportsPerTurn && isOpen(); ++count) {
    WatcherReport report;
    const ssize_t length = ::recv(channel_.get(), &report, sizeof(report), MSG_DONTWAIT);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) return;
    if (length != sizeof(report)) return end("the watcher ended");
    if (report.news == WatcherNews::signalDelivered)
      tellListeners();
    else if (report.news != WatcherNews::isAttached)
      return end(obstacleIn(report));
  }
}

void SignalWatch::tellListeners() {
  const auto listeners = listeners_;
  for (const auto& [listener, onSignal] : listeners) onSignal();
}

void SignalWatch::end(const std::string& fault) {
  reports_.reset();
  channel_.reset();
  if (!fault.empty()) log_.line("Signals of process " + std::to_string(process_) + " are not watched: " + fault);
}

}  // namespace platform::native
