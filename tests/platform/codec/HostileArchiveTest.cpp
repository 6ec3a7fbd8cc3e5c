// Every hostile archive is refused or decoded: no crash, no more than a second a megabyte, no more memory than 64 MiB and four
// times the input. Each is decoded in a child process, as the programs and as dovetail-archive decode it.
#include <gtest/gtest.h>
#include <sys/mman.h>
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
#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/HostileArchives.h"

#if defined(__SANITIZE_THREAD__)
#define DOVETAIL_SANITIZER_FACTOR 100  // keeps a shadow of all memory that was ever in use
#elif defined(__SANITIZE_ADDRESS__)
#define DOVETAIL_SANITIZER_FACTOR 10
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define DOVETAIL_SANITIZER_FACTOR 10
#endif
#endif
#ifndef DOVETAIL_SANITIZER_FACTOR
#define DOVETAIL_SANITIZER_FACTOR 1
#endif

namespace {

using platform::Data;

constexpr std::size_t sanitizerFactor = DOVETAIL_SANITIZER_FACTOR;

enum Verdict { Fine = 0, TooMuchMemory = 3, TooMuchTime = 4 };

std::size_t statusKilobytes(const std::string& key) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(key)) return std::stoul(line.substr(key.size()));
  }
  return 0;
}

void decode(const Data& bytes) {
  static_cast<void>(platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()));
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

// What the child is at, for the test to read when the child ends in the middle of it.
class SharedText {
 public:
  SharedText() : text_(static_cast<char*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0))) {}
  ~SharedText() { munmap(text_, size); }
  SharedText(const SharedText&) = delete;
  SharedText& operator=(const SharedText&) = delete;
  void set(const std::string& text) { text_[text.copy(text_, size - 1)] = '\0'; }
  std::string get() const { return text_; }

 private:
  static constexpr std::size_t size = 256;
  char* text_;
};

TEST(HostileArchives, noSmallOneDoesHarm) {
  std::size_t count = 0;
  forEachSmallHostileArchive([&](const std::string&, const Data&) { ++count; });
  EXPECT_GT(count, 50000u);
  SharedText current;
  const int status = inChild([&] {
    Verdict verdict = Fine;
    std::ofstream("/proc/self/clear_refs") << "5";
    const std::size_t before = statusKilobytes("VmRSS:");
    forEachSmallHostileArchive([&](const std::string& name, const Data& bytes) {
      if (verdict != Fine) return;
      current.set(name);
      const double start = processSeconds();
      decode(bytes);
      if (processSeconds() - start > static_cast<double>(sanitizerFactor)) verdict = TooMuchTime;
    });
    // All of them together leave nothing, so the peak is that of one.
    const std::size_t grown = statusKilobytes("VmHWM:") - before;
    return verdict == Fine && grown > sanitizerFactor * (64 << 10) ? TooMuchMemory : verdict;
  });
  EXPECT_TRUE(WIFEXITED(status)) << current.get() << " ends with signal " << WTERMSIG(status);
  EXPECT_EQ(WEXITSTATUS(status), Fine) << current.get();
}

TEST(HostileArchives, noLargeOneTakesMoreThanItsShare) {
  forEachLargeHostileArchive([](const std::string& name, const Data& bytes) {
    const int status = inChild([&] { return measured(bytes.size(), [&] { decode(bytes); }); });
    EXPECT_TRUE(WIFEXITED(status)) << name << " ends with signal " << WTERMSIG(status);
    EXPECT_EQ(WEXITSTATUS(status), Fine) << name << ", " << bytes.size() << " bytes";
  });
}

std::string textOf(const Data& bytes) {
  const auto raw = platform::KeyedUnarchiver::unarchivedObjectWithData(bytes, rawClasses());
  return raw ? textOfObject(*raw) : "refused";
}

TEST(HostileArchives, whateverTheWriterIsFreeToChooseDecodesToTheSame) {
  const std::string plain = textOf(sampleArchive());
  ASSERT_NE(plain, "refused");
  std::vector<ArchiveForm> forms;
  for (unsigned size = 1; size <= 8; ++size) {
    forms.push_back({.referenceSize = size, .uidSize = size});
    if (size > 1) forms.push_back({.offsetSize = size});  // the sample does not fit 256 bytes
  }
  for (const unsigned size : {1, 2, 4, 8, 16}) forms.push_back({.integerSize = size});
  for (const std::size_t fill : {1, 7, 100}) forms.push_back({.fill = fill});
  for (std::size_t i = forms.size(); i-- > 0;) {
    forms.push_back(forms[i]);
    forms.back().isReversed = true;
  }
  forms.push_back({.isReversed = true, .fill = 3, .offsetSize = 8, .referenceSize = 8, .uidSize = 8, .integerSize = 16});
  for (const ArchiveForm& form : forms) {
    EXPECT_EQ(textOf(sampleArchive(form)), plain) << form.isReversed << ' ' << form.fill << ' ' << form.offsetSize << ' '
                                                  << form.referenceSize << ' ' << form.uidSize << ' ' << form.integerSize;
  }
}

bool decodes(const Data& bytes) { return !platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).isNil(); }

TEST(HostileArchives, whatIsDeepDecodesUpToTheBoundsAndIsRefusedBeyond) {
  EXPECT_TRUE(decodes(archivesInsideArchives(platform::maximumArchiveDepth)));
  EXPECT_FALSE(decodes(archivesInsideArchives(platform::maximumArchiveDepth + 1)));
  EXPECT_TRUE(decodes(arraysInsideArrays(platform::maximumObjectDepth)));
  EXPECT_FALSE(decodes(arraysInsideArrays(platform::maximumObjectDepth + 1)));
}

}  // namespace
