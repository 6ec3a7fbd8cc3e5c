#include "bench/TreeShapes.h"

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/codec/KeyedArchiver.h"

namespace {

// splitmix64 (https://prng.di.unimi.it/splitmix64.c).
class Random {
 public:
  std::uint64_t below(std::uint64_t limit) {
    std::uint64_t z = state_ += 0x9e3779b97f4a7c15u;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9u;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebu;
    return (z ^ (z >> 31)) % limit;
  }

 private:
  std::uint64_t state_ = 42;
};

constexpr std::array<std::string_view, 12> folderNames{"src",     "include",  "docs",   "test",    "resources", "third_party",
                                                       "modules", "examples", "images", "scripts", "build",     "data"};
constexpr std::array<std::string_view, 12> stems{
    "main",   "index",       "README",      "parser_state", "window-controller",        "utils",
    "config", "render_pass", "Localizable", "photo",        "network_session_delegate", "types"};
constexpr std::array<std::string_view, 10> extensions{".c", ".h", ".cpp", ".txt", ".md", ".png", ".json", ".strings", ".py", ""};

std::string fileName(Random& random, std::uint64_t number) {
  std::string name(stems[random.below(stems.size())]);
  if (random.below(4) != 0) name += '_' + std::to_string(number % 1000);
  if (random.below(64) == 0) name += " \u00e9t\u00e9";
  return name += extensions[random.below(extensions.size())];
}

std::string folderName(Random& random, std::uint64_t number) {
  std::string name(folderNames[random.below(folderNames.size())]);
  return random.below(2) == 0 ? name : name + '-' + std::to_string(number % 100);
}

constexpr unsigned deepest = 8;

// Fills a folder, and the folders that it makes in it, until `left` entries are made.
void fill(DTTreeNode& folder, unsigned depth, std::size_t& left, std::uint64_t& number, Random& random) {
  const std::size_t count = 4 + random.below(24);
  for (std::size_t i = 0; i < count && left > 0; ++i) {
    const bool isFolder = depth < deepest && random.below(100) < 14;
    --left;
    ++number;
    std::string name = isFolder ? folderName(random, number) : fileName(random, number);
    const std::uint64_t size = isFolder ? 0 : random.below(1u << random.below(24));
    DTTreeNode& node = folder.appendChild(DTTreeNode(DTArchiveEntry(std::move(name), isFolder, number, size)));
    if (isFolder) fill(node, depth + 1, left, number, random);
  }
}

}  // namespace

DTTreeNode flatTree(std::size_t entries) {
  Random random;
  DTTreeNode root(DTArchiveEntry("flat.zip", true, 0, 0));
  root.reserveChildren(entries);
  for (std::uint64_t number = 1; number <= entries; ++number) {
    root.appendChild(DTTreeNode(DTArchiveEntry(fileName(random, number), false, number, random.below(1 << 20))));
  }
  return root;
}

DTTreeNode chainTree(std::size_t entries) {
  DTTreeNode innermost(DTArchiveEntry("folder", true, entries, 0));
  for (std::uint64_t number = entries; number-- > 0;) {
    DTTreeNode around(DTArchiveEntry(number == 0 ? "chain.zip" : "folder", true, number, 0));
    around.appendChild(std::move(innermost));
    innermost = std::move(around);
  }
  return innermost;
}

DTTreeNode realisticTree(std::size_t entries) {
  Random random;
  DTTreeNode root(DTArchiveEntry("sources.tar.gz", true, 0, 0));
  std::uint64_t number = 0;
  while (entries > 0) {
    --entries;
    ++number;
    DTTreeNode& top = root.appendChild(DTTreeNode(DTArchiveEntry(folderName(random, number), true, number, 0)));
    fill(top, 2, entries, number, random);
  }
  return root;
}

platform::Data archiveOf(DTTreeNode tree) {
  const auto root = std::make_shared<DTTreeNode>(std::move(tree));
  return platform::KeyedArchiver::archivedDataWithRootObject(platform::Object(root)).value_or(platform::Data());
}
