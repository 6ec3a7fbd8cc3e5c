#include "platform/linux/files/FileManager.h"

#include <sys/stat.h>

#include <cerrno>

#include "platform/linux/files/AliasFile.h"
#include "platform/linux/files/Bookmark.h"
#include "platform/linux/files/DirectoryEntries.h"
#include "platform/linux/files/FileProperties.h"
#include "platform/linux/files/FileReference.h"
#include "platform/linux/files/FileStatus.h"

namespace platform::native {
namespace {

// The path of a URL, copied only where the URL has to be asked for it.
class Path {
 public:
  explicit Path(const URL& url) : stored_(url.storedPath()), asked_(stored_ ? std::string() : url.path()) {}

  const std::string& text() const { return stored_ ? *stored_ : asked_; }
  const char* bytes() const { return text().c_str(); }

 private:
  const std::string* stored_;
  std::string asked_;
};

constexpr unsigned sightingFields = FileStatus::identityFields | STATX_TYPE;

FileSighting sighting(const FileStatus& status) { return {status.identity(), status.isRegularFile()}; }

// Calls `atEntry` with the open folder, the entry's name and its URL. False when the folder cannot be listed to the end.
template <typename AtEntry>
bool listFolder(const URL& url, AtEntry atEntry) {
  const Path path(url);
  auto entries = DirectoryEntries::ofFolder(path.bytes());
  if (!entries) return false;
  const URL folder = URL::fileURLWithPath(path.text(), true);
  while (const auto entry = entries->next()) {
    atEntry(entries->descriptor(), entry->name.data(), folder.URLByAppendingPathComponent(entry->name, entry->isDirectory));
  }
  return !entries->hasFailed();
}

std::string extension(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string_view::npos || dot == 0 ? std::string() : std::string(name.substr(dot + 1));
}

void report(int failure, Error* error) {
  if (error) *error = posixError(failure);
}

}  // namespace

LinuxFileManager::LinuxFileManager(Workspace& workspace, std::string recentlyUsedList)
    : workspace_(workspace), recentlyUsedList_(std::move(recentlyUsedList)) {}

Object LinuxFileManager::resourceValueForKey(const URL& url, std::string_view key, Error* error) {
  if (!url.isFileURL()) return {};
  int failure = 0;
  Object value = propertyOfFile(Path(url).text(), key, failure);
  if (failure != 0) report(failure, error);
  return value;
}

std::optional<FileIdentity> LinuxFileManager::fileResourceIdentifier(const URL& url) {
  const auto status = FileStatus::ofPath(Path(url).bytes(), FileStatus::identityFields);
  return status ? std::optional(status->identity()) : std::nullopt;
}

std::optional<FileSighting> LinuxFileManager::sightingOfFile(const URL& url) {
  const auto status = FileStatus::ofPath(Path(url).bytes(), sightingFields);
  return status ? std::optional(sighting(*status)) : std::nullopt;
}

bool LinuxFileManager::isAliasRegularFile(const URL& url) {
  return native::isAliasRegularFile(Path(url).bytes());
}

ImageRef LinuxFileManager::effectiveIcon(const URL& url) {
  const Path path(url);
  struct stat target;
  if (!FileStatus::ofPath(path.bytes())) return nullptr;
  if (stat(path.bytes(), &target) == 0 && S_ISDIR(target.st_mode))
    return workspace_.imageNamed(ImageNameFolder);
  return workspace_.iconForFileType(extension(url.lastPathComponent()));
}

std::optional<std::vector<URL>> LinuxFileManager::contentsOfDirectoryAtURL(const URL& url) {
  std::vector<URL> contents;
  const bool isListed = listFolder(url, [&](int, const char*, URL entry) { contents.push_back(std::move(entry)); });
  return isListed ? std::optional(std::move(contents)) : std::nullopt;
}

// Asked from the folder, so that the way to it is walked once.
std::optional<std::vector<SightedEntry>> LinuxFileManager::sightingsInDirectoryAtURL(const URL& url) {
  std::vector<SightedEntry> entries;
  const bool isListed = listFolder(url, [&](int folder, const char* name, URL entry) {
    const auto status = FileStatus::ofEntry(folder, name, sightingFields);
    if (status) entries.push_back({std::move(entry), sighting(*status)});
  });
  return isListed ? std::optional(std::move(entries)) : std::nullopt;
}

std::optional<URL> LinuxFileManager::URLByResolvingBookmarkData(ByteView bookmark, std::uint32_t,
                                                                bool* isStale, Error* error) {
  int failure = 0;
  const auto resolved = resolveBookmark(bookmark, failure);
  if (!resolved) {
    report(failure, error);
    return std::nullopt;
  }
  if (isStale) *isStale = resolved->isStale;
  return URL::fileURLWithPath(resolved->path, resolved->isDirectory);
}

std::optional<Data> LinuxFileManager::bookmarkDataWithURL(const URL& url, Error* error) {
  int failure = 0;
  auto bookmark = bookmarkOfFile(Path(url).text(), failure);
  if (!bookmark) report(failure, error);
  return bookmark;
}

std::optional<URL> LinuxFileManager::fileReferenceURL(const URL& url) {
  auto reference = LinuxFileReference::ofPath(Path(url).text());
  return reference ? std::optional(URL::fileURLWithReference(std::move(reference))) : std::nullopt;
}

Object LinuxFileManager::metadataItemAttribute(std::string_view path, std::string_view attribute) {
  if (attribute != MetadataItemLastUsedDate) return {};
  const auto date = lastUsedDate(recentlyUsedList_, path);
  return date ? Object(*date) : Object();
}

}  // namespace platform::native
