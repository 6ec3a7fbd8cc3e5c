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

// Nothing when the folder cannot be listed to the end.
std::optional<std::vector<URL>> contentsOf(DirectoryEntries& entries, const std::string& path) {
  const URL folder = URL::fileURLWithPath(path, true);
  std::vector<URL> contents;
  while (const auto entry = entries.next()) {
    contents.push_back(folder.URLByAppendingPathComponent(entry->name, entry->isDirectory));
  }
  if (entries.hasFailed()) return std::nullopt;
  return contents;
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
  auto value = propertyOfFile(Path(url).text(), key);
  if (value) return *std::move(value);
  report(value.reason(), error);
  return {};
}

std::optional<FileIdentity> LinuxFileManager::fileResourceIdentifier(const URL& url) {
  const auto status = FileStatus::ofPath(Path(url).bytes(), FileStatus::identityFields);
  return status ? std::optional(status->identity()) : std::nullopt;
}

std::optional<FileSighting> LinuxFileManager::sightingOfFile(const URL& url) {
  const auto status = FileStatus::ofPath(Path(url).bytes(), sightingFields);
  return status ? std::optional(sighting(*status)) : std::nullopt;
}

bool LinuxFileManager::isAliasRegularFile(const URL& url) { return native::isAliasRegularFile(Path(url).bytes()); }

ImageRef LinuxFileManager::effectiveIcon(const URL& url) {
  const Path path(url);
  struct stat target;
  if (!FileStatus::ofPath(path.bytes())) return nullptr;
  if (stat(path.bytes(), &target) == 0 && S_ISDIR(target.st_mode)) return workspace_.imageNamed(ImageNameFolder);
  return workspace_.iconForFileType(extension(url.lastPathComponent()));
}

std::optional<std::vector<URL>> LinuxFileManager::contentsOfDirectoryAtURL(const URL& url) {
  const Path path(url);
  auto entries = DirectoryEntries::ofFolder(path.bytes());
  return entries ? contentsOf(*entries, path.text()) : std::nullopt;
}

// The entries are asked from the folder, so that the way to it is walked once.
void LinuxFileManager::seeEntriesOfDirectoryAtURL(const URL& url, const std::function<void(const URL&, const FileSighting&)>& see) {
  const Path path(url);
  auto entries = DirectoryEntries::ofFolder(path.bytes());
  const auto contents = entries ? contentsOf(*entries, path.text()) : std::nullopt;
  if (!contents) return;
  for (const URL& entry : *contents) {
    const std::string& whole = *entry.storedPath();
    const auto status = FileStatus::ofEntry(entries->descriptor(), whole.c_str() + whole.rfind('/') + 1, sightingFields);
    if (status) see(entry, sighting(*status));
  }
}

std::optional<URL> LinuxFileManager::URLByResolvingBookmarkData(ByteView bookmark, std::uint32_t, bool* isStale, Error* error) {
  const auto resolved = resolveBookmark(bookmark);
  if (!resolved) {
    report(resolved.reason(), error);
    return std::nullopt;
  }
  if (isStale) *isStale = resolved->isStale;
  return URL::fileURLWithPath(resolved->path, resolved->isDirectory);
}

std::optional<Data> LinuxFileManager::bookmarkDataWithURL(const URL& url, Error* error) {
  auto bookmark = bookmarkOfFile(Path(url).text());
  if (bookmark) return *std::move(bookmark);
  report(bookmark.reason(), error);
  return std::nullopt;
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
