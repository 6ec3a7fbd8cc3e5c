// Times several sides of one question in one process run, in turn, and prints their ratio with the bar beside it, as a row of the
// table that bench/run puts together.
#pragma once

#include <malloc.h>
#include <sys/types.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <functional>
#include <numeric>
#include <string>
#include <vector>

/// Nanoseconds on the clock that all processes share.
inline std::int64_t now() { return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1); }

/// Seconds on a clock of the processor's time.
inline double processorTime(clockid_t clock) {
  timespec time = {};
  ::clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Processes of the bench beside its own.
inline std::vector<pid_t> otherProcesses;

/// How much of the machine went to anything but the bench since this was made: other programs, and other guests of its host.
class OtherPrograms {
 public:
  /// A share of all processors.
  double share() const {
    const double all = static_cast<double>(now() - start_) * 1e-9 * static_cast<double>(::sysconf(_SC_NPROCESSORS_ONLN));
    return std::max(0.0, (busySeconds() - busy_ - (ownSeconds() - own_)) / all);
  }

 private:
  // proc_stat(5): user, nice, system, idle, iowait, irq, softirq, steal.
  static double busySeconds() {
    std::array<double, 8> spent{};
    std::string name;
    std::ifstream stat("/proc/stat");
    stat >> name;
    for (double& ticks : spent) stat >> ticks;
    const double busy = std::accumulate(spent.begin(), spent.end(), 0.0) - spent[3] - spent[4];
    return busy / static_cast<double>(::sysconf(_SC_CLK_TCK));
  }
  static double ownSeconds() {
    double seconds = processorTime(CLOCK_PROCESS_CPUTIME_ID);
    for (const pid_t process : otherProcesses) {
      clockid_t clock = 0;
      if (::clock_getcpuclockid(process, &clock) == 0) seconds += processorTime(clock);
    }
    return seconds;
  }

  std::int64_t start_ = now();
  double busy_ = busySeconds();
  double own_ = ownSeconds();
};

/// The most that went to others while the row was measured that is printed next, and what is too much for a verdict.
inline double busiest = 0;
constexpr double tooBusy = 0.1;

template <typename Number>
Number medianOf(std::vector<Number>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

/// The median of each side's own measure, in seconds. A round runs every side once; each round starts with another side. What a
/// side left in the allocator's free lists is given back before the next, which would pay for it.
inline std::vector<double> mediansOfMeasures(const std::vector<std::function<double()>>& sides, int rounds = 15) {
  const OtherPrograms others;
  std::vector<std::vector<double>> times(sides.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < sides.size(); ++turn) {
      const std::size_t side = (turn + static_cast<std::size_t>(round)) % sides.size();
      malloc_trim(0);
      times[side].push_back(sides[side]());
    }
  }
  std::vector<double> medians;
  medians.reserve(times.size());
  for (auto& values : times) medians.push_back(medianOf(values));
  busiest = std::max(busiest, others.share());
  return medians;
}

/// The same for sides whose measure is the processor's time that they take in this thread: time in which another program ran
/// does not count.
inline std::vector<double> mediansOf(const std::vector<std::function<void()>>& sides, int rounds = 15) {
  std::vector<std::function<double()>> measured;
  measured.reserve(sides.size());
  for (const auto& side : sides) {
    measured.emplace_back([&side] {
      const double start = processorTime(CLOCK_THREAD_CPUTIME_ID);
      side();
      return processorTime(CLOCK_THREAD_CPUTIME_ID) - start;
    });
  }
  return mediansOfMeasures(measured, rounds);
}

/// What a figure has to reach, and what it is hoped to.
struct Bar {
  double bar;
  double aim;
  bool isMost;

  static Bar atMost(double bar, double aim) { return {bar, aim, true}; }
  static Bar atLeast(double bar, double aim) { return {bar, aim, false}; }
  const char* verdict(double figure) const {
    const auto reaches = [&](double limit) { return isMost ? figure <= limit : figure >= limit; };
    return reaches(aim) ? "aim met" : reaches(bar) ? "bar met" : "MISSED";
  }
};

/// One row of the table on standard output; everything else that a bench has to say goes to standard error. A row that was measured
/// beside too much other work is "not judged".
inline void printFigure(const std::string& what, const std::string& against, double figure, const Bar& bar) {
  const bool isJudged = busiest <= tooBusy;
  std::printf("| %-46s | %-46s | %8.*f | %s %-5g | %-5g | %-7s |\n", what.c_str(), against.c_str(), figure < 10 ? 3 : 1, figure,
              bar.isMost ? "<=" : ">=", bar.bar, bar.aim, isJudged ? bar.verdict(figure) : "not judged");
  std::fflush(stdout);
  if (!isJudged)
    std::fprintf(stderr, "%s: not judged, %.0f%% of the machine went to other programs\n", what.c_str(), busiest * 100);
  busiest = 0;
}

/// Keeps the compiler from dropping work whose result nobody reads.
inline void keep(const void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }
