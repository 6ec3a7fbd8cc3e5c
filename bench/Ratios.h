// Times several sides of one question in one process run, in turn, and prints their ratio with the bar beside it.
#pragma once

#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

/// The median time of each side in seconds. A round runs every side once; each round starts with another side. What a side left
/// in the allocator's free lists is given back before the next, which would pay for it.
inline std::vector<double> mediansOf(const std::vector<std::function<void()>>& sides, int rounds = 15) {
  using Clock = std::chrono::steady_clock;
  std::vector<std::vector<double>> times(sides.size());
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t turn = 0; turn < sides.size(); ++turn) {
      const std::size_t side = (turn + static_cast<std::size_t>(round)) % sides.size();
      malloc_trim(0);
      const auto start = Clock::now();
      sides[side]();
      times[side].push_back(std::chrono::duration<double>(Clock::now() - start).count());
    }
  }
  std::vector<double> medians;
  for (auto& values : times) {
    std::nth_element(values.begin(), values.begin() + values.size() / 2, values.end());
    medians.push_back(values[values.size() / 2]);
  }
  return medians;
}

/// One line of the table: what is measured, its figure, the bar it has to meet, and whether it does.
inline void printFigure(const std::string& what, double figure, double bar, bool isMost) {
  std::printf("%-72s %9.2f   bar %s %-6g %s\n", what.c_str(), figure, isMost ? "<=" : ">=", bar,
              (isMost ? figure <= bar : figure >= bar) ? "met" : "MISSED");
}

/// Keeps the compiler from dropping work whose result nobody reads.
inline void keep(const void* pointer) { asm volatile("" : : "g"(pointer) : "memory"); }
