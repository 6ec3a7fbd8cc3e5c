// Facts about files on Linux: statx(2) and its relatives, /proc/self/mountinfo, the desktop's recently used list. Nothing is cached,
// nothing written; each failure is the kernel's errno as an error. What Linux has no equal of: a date of being added to a folder
// (always nil), and a second immutable flag (the one there is answers for both the user's and the system's).
#pragma once

#include <string>

#include "platform/FileManager.h"
#include "platform/Workspace.h"
#include "platform/linux/files/RecentlyUsed.h"

namespace platform::native {

class LinuxFileManager : public FileManager {
 public:
  /// The workspace draws the icons and outlives the file manager.
  explicit LinuxFileManager(Workspace& workspace, std::string recentlyUsedList = recentlyUsedListPath());

  Object resourceValueForKey(const URL& url, std::string_view key, Error* error) override;
  std::optional<FileIdentity> fileResourceIdentifier(const URL& url) override;
  std::optional<FileSighting> sightingOfFile(const URL& url) override;
  bool isAliasRegularFile(const URL& url) override;
  ImageRef effectiveIcon(const URL& url) override;
  std::optional<std::vector<URL>> contentsOfDirectoryAtURL(const URL& url) override;
  void seeEntriesOfDirectoryAtURL(const URL& url,
                                  const std::function<void(const URL& entry, const FileSighting& sighting)>& see) override;
  std::optional<URL> URLByResolvingBookmarkData(ByteView bookmark, std::uint32_t options, bool* isStale, Error* error) override;
  std::optional<Data> bookmarkDataWithURL(const URL& url, Error* error) override;
  std::optional<URL> fileReferenceURL(const URL& url) override;
  Object metadataItemAttribute(std::string_view path, std::string_view attribute) override;

 private:
  Workspace& workspace_;
  std::string recentlyUsedList_;
};

}  // namespace platform::native
