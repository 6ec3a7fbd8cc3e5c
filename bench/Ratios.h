// Times several sides of one question in one process run, in turn, and prints their ratio with the bar beside it, as a row of the
// table that bench/run puts together.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// Nanoseconds on the clock that all processes share.
inline std::int64_t now() { return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1); }

/// The median of each side's own measure, in seconds. A round runs every side once; each round starts with another side. What a
/// side left in the allocator's free lists is given back before the next, which would pay for it.
inline std::vector<double> mediansOfMeasures(const std::vector<std::function<double()>>& sides, int rounds = 15) {
  std::vector<std::vector<double>> times(sides.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < sides.size(); ++turn) {
      const std::size_t side = (turn + static_cast<std::size_t>(round)) % sides.size();
      malloc_trim(0);
      times[side].push_back(sides[side]());
    }
  }
  std::vector<double> medians;
  for (auto& values : times) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    medians.push_back(*middle);
  }
  return medians;
}

/// The same for sides whose measure is the time that they take.
inline std::vector<double> mediansOf(const std::vector<std::function<void()>>& sides, int rounds = 15) {
  using Clock = std::chrono::steady_clock;
  std::vector<std::function<double()>> measured;
  for (const auto& side : sides) {
    measured.push_back([&side] {
      const auto start = Clock::now();
      side();
      return std::chrono::duration<double>(Clock::now() - start).count();
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

/// One row of the table on standard output; everything else that a bench has to say goes to standard error.
inline void printFigure(const std::string& what, const std::string& against, double figure, const Bar& bar) {
  std::printf("| %-46s | %-46s | %8.*f | %s %-5g | %-5g | %-7s |\n", what.c_str(), against.c_str(), figure < 10 ? 3 : 1, figure,
              bar.isMost ? "<=" : ">=", bar.bar, bar.aim, bar.verdict(figure));
  std::fflush(stdout);
}

/// Keeps the compiler from dropping work whose result nobody reads.
inline void keep(const void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }
