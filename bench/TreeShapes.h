// Trees to measure with, the same on every machine and in every run.
#pragma once

#include <cstddef>

#include "archive/DTTreeNode.h"
#include "platform/Bytes.h"

/// A root with `entries` files in it.
DTTreeNode flatTree(std::size_t entries);
/// A root with `entries` folders inside one another.
DTTreeNode chainTree(std::size_t entries);
/// As a source tree in an archive: folders and files under ordinary names, eight levels at most.
DTTreeNode realisticTree(std::size_t entries);

/// The keyed archive of a tree, the node at its root.
platform::Data archiveOf(DTTreeNode tree);
