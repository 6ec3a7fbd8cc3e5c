// Decoding trees against memcpy of the same bytes and against GNUstep's unarchiver; time an entry over shapes and sizes; memory.
// All sides of a comparison run in turns in one process, in a changing order; the table shows medians.
#include <malloc.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <vector>

#include "archive/ArchivedClasses.h"
#include "bench/GNUstepDecoding.h"
#include "bench/TreeShapes.h"
#include "platform/KeyedUnarchiver.h"

namespace {

std::size_t heapNow = 0;
std::size_t heapMost = 0;

}  // namespace

void* operator new(std::size_t size) {
  void* memory = std::malloc(size);
  if (!memory) throw std::bad_alloc();
  heapNow += malloc_usable_size(memory) + sizeof(void*);
  heapMost = std::max(heapMost, heapNow);
  return memory;
}

void operator delete(void* memory) noexcept {
  if (memory) heapNow -= malloc_usable_size(memory) + sizeof(void*);
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace {

using platform::Data;
using platform::KeyedUnarchiver;
using Work = std::function<void()>;

double seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

// The median time of each side, all of them once a round, each round starting with another.
std::vector<double> medians(const std::vector<Work>& sides, std::size_t rounds) {
  std::vector<std::vector<double>> times(sides.size());
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < sides.size(); ++i) {
      const std::size_t side = (i + round) % sides.size();
      const double start = seconds();
      sides[side]();
      times[side].push_back(seconds() - start);
    }
  }
  std::vector<double> middle;
  for (auto& side : times) {
    std::nth_element(side.begin(), side.begin() + static_cast<std::ptrdiff_t>(rounds / 2), side.end());
    middle.push_back(side[rounds / 2]);
  }
  return middle;
}

void decode(const Data& bytes) {
  if (KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).isNil()) std::abort();
}

void line(const char* what, double value, const char* unit, double bar) {
  std::printf("%-58s %10.3f %-10s bar %g\n", what, value, unit, bar);
}

double extraMemory(const Data& bytes) {
  const std::size_t before = heapNow;
  heapMost = heapNow;
  decode(bytes);
  return static_cast<double>(heapMost - before) / static_cast<double>(bytes.size());
}

// The time an entry of the one shape over that of the other, many decodes of the smaller against one of the larger.
double scaling(const Data& large, std::size_t largeEntries, const Data& small, std::size_t smallEntries) {
  const std::size_t times = largeEntries / smallEntries;
  const auto times_ = medians({[&] { decode(large); },
                               [&] {
                                 for (std::size_t i = 0; i < times; ++i) decode(small);
                               }},
                              15);
  return times_[0] / times_[1] * static_cast<double>(times * smallEntries) / static_cast<double>(largeEntries);
}

void compare(const Data& bytes) {
  Data copy(bytes.size());
  const auto times = medians({[&] { std::memcpy(copy.data(), bytes.data(), bytes.size()); }, [&] { decode(bytes); }}, 31);
  std::printf("%.1f MB: memcpy %.2f ms, decode %.2f ms\n", static_cast<double>(bytes.size()) / 1e6, times[0] * 1e3, times[1] * 1e3);
  line("decode, realistic 80,000 / memcpy", times[1] / times[0], "times", 15);
}

void compareWithGNUstep(const Data& bytes) {
  const auto times = medians({[&] { decode(bytes); }, [&] { decodeWithGNUstep(bytes.data(), bytes.size()); }}, 15);
  line("GNUstep / decode, realistic 80,000", times[1] / times[0], "times", 40);
}

}  // namespace

int main() {
  const Data realistic = archiveOf(realisticTree(80000)), tenth = archiveOf(realisticTree(10000));
  const Data flat = archiveOf(flatTree(100000)), flatSmall = archiveOf(flatTree(1000));
  const Data chain = archiveOf(chainTree(4000)), chainSmall = archiveOf(chainTree(10));
  compare(realistic);
  compareWithGNUstep(realistic);
  line("time an entry, chain 4,000 / 10", scaling(chain, 4000, chainSmall, 10), "times", 2);
  line("time an entry, flat 100,000 / 1,000", scaling(flat, 100000, flatSmall, 1000), "times", 1.3);
  line("time an entry, realistic 80,000 / 10,000", scaling(realistic, 80000, tenth, 10000), "times", 1.6);
  line("extra memory / input, realistic 80,000", extraMemory(realistic), "times", 0.5);
  line("extra memory / input, flat 100,000", extraMemory(flat), "times", 0.5);
  line("extra memory / input, chain 4,000", extraMemory(chain), "times", 0.5);
  const auto encode = medians({[] { archiveOf(realisticTree(80000)); }, [] { realisticTree(80000); }}, 5);
  line("encode, realistic 80,000", (encode[0] - encode[1]) * 1e3, "ms", 0);
  return 0;
}
