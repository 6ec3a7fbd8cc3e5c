#include "platform/linux/files/NearbySearch.h"

#include <algorithm>
#include <vector>

#include "platform/linux/files/DirectoryEntries.h"
#include "platform/linux/files/FileStatus.h"
#include "platform/linux/files/PathText.h"

namespace platform::native {
namespace {

constexpr int maximumEntries = 20'000;
constexpr int levelsBelow = 2;
constexpr int foldersAbove = 2;

ByteView device(const FileIdentity& identity) { return identity.bytes().first(8); }
ByteView inode(const FileIdentity& identity) { return identity.bytes().subspan(8, 8); }
ByteView birthTime(const FileIdentity& identity) { return identity.bytes().subspan(16); }

std::uint64_t bigEndian(ByteView bytes) {
  std::uint64_t number = 0;
  for (const std::uint8_t byte : bytes) number = number << 8 | byte;
  return number;
}

bool isEqual(ByteView a, ByteView b) { return std::ranges::equal(a, b); }

// Some file systems have 0 for a time that they do not know.
bool hasBirthTime(const FileIdentity& identity) {
  const std::uint64_t time = bigEndian(birthTime(identity));
  return time != 0 && time != ~std::uint64_t{0};
}

std::optional<FileIdentity> identityOf(const std::string& path) {
  const auto status = FileStatus::ofPath(path.c_str(), FileStatus::identityFields);
  return status ? std::optional(status->identity()) : std::nullopt;
}

class Search {
 public:
  explicit Search(const FileIdentity& wanted) : wanted_(wanted), wantedInode_(bigEndian(inode(wanted))) {}

  // Level by level, so that the nearest is found first.
  std::optional<std::string> below(const std::string& start) {
    const auto volume = identityOf(start);
    if (!volume) return std::nullopt;
    std::vector<std::string> folders = {start};
    for (int level = 0; level < levelsBelow; ++level) {
      std::vector<std::string> deeper;
      for (const std::string& folder : folders) {
        const auto identity = identityOf(folder);
        if (!identity || !isEqual(device(*identity), device(*volume))) continue;
        if (auto found = in(folder, deeper)) return found;
      }
      folders = std::move(deeper);
    }
    return std::nullopt;
  }

 private:
  // Only the entry of the right inode number costs a question of its own.
  std::optional<std::string> in(const std::string& folder, std::vector<std::string>& subfolders) {
    auto entries = DirectoryEntries::ofFolder(folder.c_str());
    if (!entries) return std::nullopt;
    const std::string prefix = folder.ends_with('/') ? folder : folder + '/';
    while (const auto entry = entries->next()) {
      if (entriesLeft_ == 0) return std::nullopt;
      --entriesLeft_;
      std::string path = prefix + std::string(entry->name);
      if (entry->inode == wantedInode_) {
        const auto identity = identityOf(path);
        if (identity && isSameFile(*identity, wanted_)) return path;
      }
      if (entry->isDirectory) subfolders.push_back(std::move(path));
    }
    return std::nullopt;
  }

  FileIdentity wanted_;
  std::uint64_t wantedInode_;
  int entriesLeft_ = maximumEntries;
};

std::string deepestFolderLeft(const std::string& path) {
  std::string folder = withoutLastComponent(path);
  while (folder != "/" && !identityOf(folder)) folder = withoutLastComponent(folder);
  return folder;
}

}  // namespace

bool isSameFile(const FileIdentity& a, const FileIdentity& b) {
  if (a == b) return true;
  return hasBirthTime(a) && isEqual(inode(a), inode(b)) && isEqual(birthTime(a), birthTime(b));
}

std::optional<std::string> pathNearby(const std::string& formerPath, const FileIdentity& identity) {
  Search search(identity);
  std::string start = deepestFolderLeft(formerPath);
  for (int above = 0; above <= foldersAbove; ++above, start = withoutLastComponent(start)) {
    if (auto found = search.below(start)) return found;
    if (start == "/") break;
  }
  return std::nullopt;
}

}  // namespace platform::native
