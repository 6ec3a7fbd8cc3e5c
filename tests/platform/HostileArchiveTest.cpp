// Every hostile archive is refused or decoded: no crash, no more than a second a megabyte, no more memory than 64 MiB and four
// times the input. Each is decoded in a child process, as the programs and as dovetail-archive decode it.
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <fstream>
#include <memory>
#include <string>

#include "archive/ArchivedClasses.h"
#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/KeyedUnarchiver.h"
#include "tests/platform/HostileArchives.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define DOVETAIL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define DOVETAIL_SANITIZED 1
#endif
#endif

namespace {

using platform::Data;

#ifdef DOVETAIL_SANITIZED
constexpr std::size_t sanitizerFactor = 10;
#else
constexpr std::size_t sanitizerFactor = 1;
#endif

enum Verdict { Fine = 0, TooMuchMemory = 3, TooMuchTime = 4 };

std::size_t statusKilobytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return std::stoul(line.substr(key.size()));
  }
  return 0;
}

void decode(const Data& bytes) {
  platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses());
  const auto raw = platform::KeyedUnarchiver::unarchivedObjectWithData(bytes, rawClasses());
  if (raw) textOfObject(*raw);
}

double processSeconds() { return static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

// In the child: what the work took beyond what the process held before.
Verdict measured(std::size_t length, const std::function<void()>& work) {
  std::ofstream("/proc/self/clear_refs") << "5";
  const std::size_t before = statusKilobytes("VmRSS:");
  const double start = processSeconds();
  work();
  const double seconds = processSeconds() - start;
  const std::size_t grown = (statusKilobytes("VmHWM:") - before) * 1024;
  // The input is there already.
  if (grown > sanitizerFactor * ((std::size_t{64} << 20) + 3 * length)) return TooMuchMemory;
  const double megabytes = static_cast<double>(length) / (1 << 20);
  return seconds > static_cast<double>(sanitizerFactor) * std::max(1.0, megabytes) ? TooMuchTime : Fine;
}

// Runs the work in a child and answers its wait status.
int inChild(const std::function<Verdict()>& work) {
  const pid_t child = fork();
  if (child == 0) {
    const rlimit limit{300, 300};
    setrlimit(RLIMIT_CPU, &limit);
    _exit(work());
  }
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

TEST(HostileArchives, noSmallOneDoesHarm) {
  std::string name;
  std::size_t count = 0;
  forEachSmallHostileArchive([&](const std::string&, const Data&) { ++count; });
  EXPECT_GT(count, 20000u);
  // One child for all: a crash names the archive through the pipe.
  int lines[2];
  ASSERT_EQ(pipe(lines), 0);
  const int status = inChild([&] {
    Verdict verdict = Fine;
    forEachSmallHostileArchive([&](const std::string& current, const Data& bytes) {
      const double start = processSeconds();
      decode(bytes);
      if (processSeconds() - start < static_cast<double>(sanitizerFactor)) return;
      verdict = TooMuchTime;
      if (write(lines[1], current.data(), current.size()) < 0) verdict = TooMuchTime;
    });
    return verdict;
  });
  close(lines[1]);
  char text[256];
  const ssize_t length = read(lines[0], text, sizeof text);
  close(lines[0]);
  EXPECT_EQ(status, 0) << std::string(text, length > 0 ? static_cast<std::size_t>(length) : 0);
}

TEST(HostileArchives, noLargeOneTakesMoreThanItsShare) {
  forEachLargeHostileArchive([](const std::string& name, const Data& bytes) {
    const int status = inChild([&] { return measured(bytes.size(), [&] { decode(bytes); }); });
    EXPECT_TRUE(WIFEXITED(status)) << name << " ends with signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), Fine) << name << ", " << bytes.size() << " bytes";
  });
}

bool decodes(const Data& bytes) {
  return !platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).isNil();
}

TEST(HostileArchives, whatIsDeepDecodesUpToTheBoundsAndIsRefusedBeyond) {
  EXPECT_TRUE(decodes(archivesInsideArchives(platform::maximumArchiveDepth)));
  EXPECT_FALSE(decodes(archivesInsideArchives(platform::maximumArchiveDepth + 1)));
  EXPECT_TRUE(decodes(arraysInsideArrays(platform::maximumObjectDepth)));
  EXPECT_FALSE(decodes(arraysInsideArrays(platform::maximumObjectDepth + 1)));
}

}  // namespace
