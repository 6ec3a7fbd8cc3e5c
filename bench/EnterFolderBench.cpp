// Entering a watched folder of 100,000 files, beside the bare walk that a program in C would make: when all are known, and when
// all are new and the host is asked about each.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "bench/Ratios.h"
#include "bench/ReceivingProcess.h"
#include "core/DTDovetailSync.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/Log.h"
#include "platform/linux/files/FileManager.h"
#include "platform/linux/ports/MessagePorts.h"
#include "tests/TemporaryFolder.h"

namespace {

using platform::ByteView;

constexpr std::size_t fileCount = 100'000;

/// What of the kernel's answers must not be optimised away.
std::uint64_t sum = 0;

std::string makeFolder(const tests::TemporaryFolder& root) {
  std::string folder = root.path() + "/user/Downloads";
  std::filesystem::create_directories(folder);
  for (std::size_t i = 0; i < fileCount; ++i) {
    const std::string name = folder + "/file-" + std::to_string(1'000'000 + i) + ".tar.gz";
    const platform::native::Descriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  }
  return folder;
}

template <typename AtFile>
void walkBare(const std::string& path, AtFile atFile) {
  alignas(dirent64) static char buffer[64 * 1024];
  const platform::native::Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (ssize_t length; (length = getdents64(folder.get(), buffer, sizeof buffer)) > 0;) {
    for (ssize_t at = 0; at < length;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
      at += entry->d_reclen;
      struct statx status;
      statx(folder.get(), entry->d_name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status);
      sum += status.stx_ino;
      if (S_ISREG(status.stx_mode)) atFile();
    }
  }
}

void walkBare(const std::string& path) {
  walkBare(path, [] {});
}

/// What the extension asks the host about a file.
platform::Data question(const std::string& path) {
  const auto message = std::make_shared<DTMessage>("openArchive:portName:", platform::URL::fileURLWithPath(path));
  message->setPortName("G.Sync.4711");
  return *platform::KeyedArchiver::archivedDataWithRootObject(platform::Object(std::shared_ptr<const platform::Coding>(message)));
}

/// The extension over the real files, and over the real ports when it is given some.
class World {
 public:
  explicit World(platform::MessagePorts* ports = nullptr) : files_(fakes.workspace) {
    fakes.runningApplications.processes["host"] = {2};
    fakes.userDefaultsSuites.set("G", "DTApplicationVersion", platform::Object("1.0"));
    if (!ports) fakes.messagePorts.listen("G.App");
    const platform::Platform fake = fakes.references();
    extension = DTDovetailSync::init({fake.finderSyncController, ports ? *ports : fake.messagePorts, fake.userDefaultsSuites,
                                      fake.security, fake.distributedNotificationCenter, fake.runningApplications,
                                      fake.processSources, files_, fake.workspace, fake.mainBundle, fake.log},
                                     onceOnly_);
  }

  platform::fake::FakePlatform fakes;

 private:
  platform::native::LinuxFileManager files_;
  OnceOnly onceOnly_;

 public:
  std::shared_ptr<DTDovetailSync> extension;
};

void compareKnownFiles(const std::string& path) {
  const platform::URL folder = platform::URL::fileURLWithPath(path, true);
  World world;
  world.extension->beginObservingDirectoryAtURL(folder);
  const std::size_t asked = world.fakes.messagePorts.takeReceived("G.App").size();
  const auto medians = mediansOf({[&] { walkBare(path); }, [&] { world.extension->beginObservingDirectoryAtURL(folder); }});
  std::fprintf(stderr, "%zu files, %zu asked about at the first visit and %zu since; a bare walk takes %.0f ms\n", fileCount, asked,
               world.fakes.messagePorts.takeReceived("G.App").size(), medians[0] * 1e3);
  printFigure("enter a folder of 100,000 known files", "bare getdents64 and statx", medians[1] / medians[0],
              Bar::atMost(1.5, 1.25));
}

/// The host's port, in a process of its own that does nothing but drain it.
class DrainingHost {
 public:
  explicit DrainingHost(const std::string& folder)
      : process_([folder](const auto& done) { listenForEver(folder, "G.App", done, [](ByteView) {}); }),
        ports_(log_, folder, ::geteuid()) {}

  platform::MessagePorts& ports() { return ports_; }

 private:
  ReceivingProcess process_;
  platform::native::LinuxLog log_;
  platform::native::LinuxMessagePorts ports_;
};

void compareNewFiles(const std::string& path, const std::string& portFolder) {
  const platform::URL folder = platform::URL::fileURLWithPath(path, true);
  DrainingHost host(portFolder);
  const platform::Data record = question(path + "/file-1000000.tar.gz");
  const auto port = host.ports().createRemote("G.App");
  check(port != nullptr);
  const auto bare = [&] {
    const std::int64_t start = now();
    walkBare(path, [&] { check(port->sendRequest(0, record, 1, 1) == platform::MessagePortStatus::success); });
    return static_cast<double>(now() - start) * 1e-9;
  };
  const auto ours = [&] {
    World world(&host.ports());
    const std::int64_t start = now();
    world.extension->beginObservingDirectoryAtURL(folder);
    const double seconds = static_cast<double>(now() - start) * 1e-9;
    check(world.extension->archives().count() == fileCount);
    return seconds;
  };
  const auto medians = mediansOfMeasures({bare, ours});
  std::fprintf(stderr, "%zu new files, %zu bytes a question: %.0f ms, bare %.0f ms\n", fileCount, record.size(), medians[1] * 1e3,
               medians[0] * 1e3);
  printFigure("enter it with all files new, host draining", "bare walk and send of as many bytes", medians[1] / medians[0],
              Bar::atMost(1.5, 1.2));
}

}  // namespace

int main() {
  const tests::TemporaryFolder root;
  const std::string path = makeFolder(root);
  compareKnownFiles(path);
  compareNewFiles(path, root.path() + "/ports");
  keep(&sum);
}
