// Archives that somebody made to do harm, the same in every run: cut off, bent, endless, or asking for the impossible.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "platform/Bytes.h"

/// What the writer of an archive is free to choose.
struct ArchiveForm {
  bool isReversed = false;  ///< The last object stands first.
  std::size_t fill = 0;     ///< Bytes between objects.
  unsigned offsetSize = 0;  ///< Bytes; 0 for the smallest, as below.
  unsigned referenceSize = 0;
  unsigned uidSize = 1;
  unsigned integerSize = 1;  ///< Bytes of the integers that stand in place.
};

/// An archive of a message with something of everything in it, scalars that are used in several places among it.
platform::Data sampleArchive(const ArchiveForm& form = {});

/// Calls `use` with each small archive: thousands, of a few kilobytes at most.
void forEachSmallHostileArchive(const std::function<void(const std::string& name, const platform::Data& bytes)>& use);

/// Calls `use` with each archive that is large, or small with large consequences.
void forEachLargeHostileArchive(const std::function<void(const std::string& name, const platform::Data& bytes)>& use);

/// An archive of `levels` archives inside one another: a chain of tree nodes. Its length is linear in the levels.
platform::Data archivesInsideArchives(std::size_t levels);

/// An archive of `levels` arrays inside one another.
platform::Data arraysInsideArrays(std::size_t levels);
