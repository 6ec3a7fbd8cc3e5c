// Decoding trees against memcpy of the same bytes and against GNUstep's unarchiver; time an entry over shapes and sizes; memory.
#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "archive/ArchivedClasses.h"
#include "bench/GNUstepDecoding.h"
#include "bench/LibplistDecoding.h"
#include "bench/Ratios.h"
#include "bench/TreeShapes.h"
#include "platform/codec/KeyedUnarchiver.h"

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

void decode(const Data& bytes) {
  if (KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).isNil()) std::abort();
}

double extraMemory(const Data& bytes) {
  const std::size_t before = heapNow;
  heapMost = heapNow;
  decode(bytes);
  return static_cast<double>(heapMost - before) / static_cast<double>(bytes.size());
}

// The time an entry of the one shape over that of the other: one tree against as many small ones, all different bytes and all kept,
// so that both sides come upon as much that is in no cache and as much fresh memory.
double scaling(const Data& large, std::size_t largeEntries, const Data& small, std::size_t smallEntries) {
  const std::size_t times = largeEntries / smallEntries;
  const std::vector<Data> copies(times, small);
  std::vector<platform::Object> trees;
  trees.reserve(times);
  const auto decodeOne = [&] { trees.push_back(KeyedUnarchiver::unarchiveObjectWithData(large, archivedClasses())); };
  const auto decodeAll = [&] {
    for (const Data& copy : copies) trees.push_back(KeyedUnarchiver::unarchiveObjectWithData(copy, archivedClasses()));
  };
  const auto medians = mediansOf({[&] { decodeOne(), trees.clear(); }, [&] { decodeAll(), trees.clear(); }});
  return medians[0] / medians[1] * static_cast<double>(times * smallEntries) / static_cast<double>(largeEntries);
}

void compare(const Data& bytes) {
  Data copy(bytes.size());
  const auto times = mediansOf({[&] { std::memcpy(copy.data(), bytes.data(), bytes.size()); }, [&] { decode(bytes); }}, 31);
  std::fprintf(stderr, "%.1f MB: memcpy %.2f ms, decode %.2f ms\n", static_cast<double>(bytes.size()) / 1e6, times[0] * 1e3,
               times[1] * 1e3);
  printFigure("decode, realistic 80,000", "memcpy of the bytes", times[1] / times[0], Bar::atMost(6.5, 5));
}

void compareWithLibplist(const Data& bytes) {
  const auto times = mediansOf({[&] { decode(bytes); },
                                [&] {
                                  if (decodeWithLibplist(bytes).childNodes().empty()) std::abort();
                                }});
  printFigure("libplist-based decoding, realistic 80,000", "decode", times[1] / times[0], Bar::atLeast(12, 28));
}

void compareWithGNUstep(const Data& bytes) {
  const auto times = mediansOf({[&] { decode(bytes); }, [&] { decodeWithGNUstep(bytes.data(), bytes.size()); }});
  printFigure("GNUstep's unarchiver, realistic 80,000", "decode", times[1] / times[0], Bar::atLeast(40, 80));
}

}  // namespace

int main() {
  const Data realistic = archiveOf(realisticTree(80000)), tenth = archiveOf(realisticTree(10000));
  const Data flat = archiveOf(flatTree(100000)), flatSmall = archiveOf(flatTree(1000));
  const Data chain = archiveOf(chainTree(4000)), chainSmall = archiveOf(chainTree(10));
  compare(realistic);
  compareWithGNUstep(realistic);
  compareWithLibplist(realistic);
  const auto scale = [](const char* what, double figure, const Bar& bar) {
    printFigure(std::string("decode, time an entry, ") + what, "the smaller of the two", figure, bar);
  };
  scale("chain 4,000 / 10", scaling(chain, 4000, chainSmall, 10), Bar::atMost(2, 1.3));
  scale("flat 100,000 / 1,000", scaling(flat, 100000, flatSmall, 1000), Bar::atMost(1.3, 1.15));
  scale("realistic 80,000 / 10,000", scaling(realistic, 80000, tenth, 10000), Bar::atMost(1.6, 1.35));
  const auto memory = [](const char* what, const Data& bytes) {
    printFigure(std::string("decode, peak extra memory, ") + what, "size of the bytes", extraMemory(bytes), Bar::atMost(0.5, 0.25));
  };
  memory("realistic 80,000", realistic);
  memory("flat 100,000", flat);
  memory("chain 4,000", chain);
  const auto encode = mediansOf({[] { archiveOf(realisticTree(80000)); }, [] { realisticTree(80000); }}, 5);
  std::fprintf(stderr, "encode, realistic 80,000: %.0f ms\n", (encode[0] - encode[1]) * 1e3);
  return 0;
}
