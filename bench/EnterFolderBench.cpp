// Entering a watched folder of 100,000 files that are known already, beside the bare walk that a program in C
// would make.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "bench/Ratios.h"
#include "core/DTDovetailSync.h"
#include "platform/fake/FakePlatform.h"
#include "platform/linux/Descriptor.h"
#include "platform/linux/FileManager.h"
#include "tests/platform/TemporaryFolder.h"

namespace {

constexpr int fileCount = 100'000;

/// What of the kernel's answers must not be optimised away.
std::uint64_t sum = 0;

std::string makeFolder(const tests::TemporaryFolder& root) {
  const std::string folder = root.path() + "/user/Downloads";
  std::filesystem::create_directories(folder);
  for (int i = 0; i < fileCount; ++i) {
    const std::string name = folder + "/file-" + std::to_string(1'000'000 + i) + ".tar.gz";
    const platform::native::Descriptor file(open(name.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
  }
  return folder;
}

void walkBare(const std::string& path) {
  alignas(dirent64) static char buffer[64 * 1024];
  const platform::native::Descriptor folder(open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  for (ssize_t length; (length = getdents64(folder.get(), buffer, sizeof buffer)) > 0;) {
    for (ssize_t at = 0; at < length;) {
      const auto* entry = reinterpret_cast<const dirent64*>(buffer + at);
      at += entry->d_reclen;
      struct statx status;
      statx(folder.get(), entry->d_name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &status);
      sum += status.stx_ino;
    }
  }
}

void listWithIdentities(platform::FileManager& files, const platform::URL& folder) {
  const auto entries = files.contentsOfDirectoryAtURL(folder);
  for (const platform::URL& entry : *entries) {
    const auto identity = files.fileResourceIdentifier(entry);
    if (identity) sum += identity->bytes()[15];
  }
}

}  // namespace

int main() {
  const tests::TemporaryFolder root;
  const std::string path = makeFolder(root);
  const platform::URL folder = platform::URL::fileURLWithPath(path, true);
  platform::fake::FakePlatform fakes;
  platform::native::LinuxFileManager files(fakes.workspace);
  fakes.runningApplications.processes["host"] = {2};
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", platform::Object("1.0"));
  fakes.messagePorts.listen("G.App");
  const platform::Platform fake = fakes.references();
  const platform::Platform platform{fake.finderSyncController,
                                    fake.messagePorts,
                                    fake.userDefaultsSuites,
                                    fake.security,
                                    fake.distributedNotificationCenter,
                                    fake.runningApplications,
                                    fake.processSources,
                                    files,
                                    fake.workspace,
                                    fake.mainBundle,
                                    fake.log};
  OnceOnly onceOnly;
  const auto extension = DTDovetailSync::init(platform, onceOnly);
  extension->beginObservingDirectoryAtURL(folder);
  const std::size_t asked = fakes.messagePorts.takeReceived("G.App").size();

  const auto medians = mediansOf({[&] { walkBare(path); }, [&] { listWithIdentities(files, folder); },
                                  [&] { extension->beginObservingDirectoryAtURL(folder); }});
  std::printf("%d files, %zu asked about at the first visit and %zu since; a bare walk takes %.0f ms\n",
              fileCount, asked, fakes.messagePorts.takeReceived("G.App").size(), medians[0] * 1e3);
  printFigure("list with identities / bare getdents64 + statx", medians[1] / medians[0], 1.5, true);
  printFigure("enter a folder of known files / bare getdents64 + statx", medians[2] / medians[0], 1.5, true);
  keep(&sum);
}
