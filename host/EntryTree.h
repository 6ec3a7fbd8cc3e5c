// From an archive's table of contents to the tree that the extension shows, and back from a position in it to the entry.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "archive/DTTreeNode.h"
#include "host/Listing.h"
#include "platform/IndexPath.h"

/// What a tree may hold; entries that would exceed it are left out whole.
struct TreeBounds {
  std::size_t nodes = 1'000'000;
  std::size_t depth = 256;             ///< Levels below the root.
  std::size_t wireBytes = 240u << 20;  ///< Of the tree's archive, by estimate: a port takes records of 256 MiB.
};

struct EntryTree {
  std::shared_ptr<const DTTreeNode> root;
  std::uint64_t leftOut = 0;  ///< Entries that the bounds kept out, and those that the listing lacks.
};

/// The tree of a listing under a root of the archive's own name, in time linear in the listing.
///
/// Children stand in the archive's order. Nodes are numbered from 1 in order of appearance, the number being the entry's `index`; a
/// folder that the archive leaves out is made, and numbered, where the first path needs it. A path is cut at slashes;
/// empty parts and "." vanish (so absolute paths and "./" are like plain ones, and a path of nothing else has no node), while
/// ".." is a name like any other, as following it would let an entry pass for one of another folder. A folder
/// stands once, however often it is listed; files stand as often as they are listed, and beside a folder of their name. Names are
/// made readable (host/ReadableText.h); two that only then look alike stay two.
EntryTree treeOfListing(std::string_view archiveName, const Listing& listing, const TreeBounds& bounds = {});

struct FoundEntry {
  std::string name;
  std::string path;  ///< The names from the root's child down, joined by slashes; empty for the root.
};

/// The entry at a position of the tree, or nothing when there is none. The empty index path is the root.
[[nodiscard]] std::optional<FoundEntry> entryAtIndexPath(const DTTreeNode& root, const platform::IndexPath& indexPath);

/// The nodes below the root.
std::size_t nodeCount(const DTTreeNode& root);
