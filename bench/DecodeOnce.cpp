// Decodes a realistic tree of so many entries, for counting of instructions: callgrind's --toggle-collect=decodeCounted.
#include <cstdlib>

#include "archive/ArchivedClasses.h"
#include "bench/TreeShapes.h"
#include "platform/codec/KeyedUnarchiver.h"

extern "C" [[gnu::noinline]] bool decodeCounted(const platform::Data& bytes) {
  return !platform::KeyedUnarchiver::unarchiveObjectWithData(bytes, archivedClasses()).isNil();
}

int main(int count, char** arguments) {
  if (count != 2) return 2;
  const platform::Data bytes = archiveOf(realisticTree(std::strtoul(arguments[1], nullptr, 10)));
  return decodeCounted(bytes) ? 0 : 1;
}
