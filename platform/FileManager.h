// Facts about files, folder listings, bookmarks and file references (Cocoa's NSURL resource values and NSFileManager).
// Every call asks the system anew; nothing is cached. Main thread only.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/FileIdentity.h"
#include "platform/Image.h"
#include "platform/Object.h"
#include "platform/URL.h"

namespace platform {

/// The platform's names of resource properties, spelled as there, so that a log of calls reads like its documentation.
namespace ResourceKey {
inline constexpr std::string_view fileResourceIdentifier = "NSURLFileResourceIdentifierKey";                      // data
inline constexpr std::string_view name = "NSURLNameKey";                                                          // string
inline constexpr std::string_view localizedName = "NSURLLocalizedNameKey";                                        // string
inline constexpr std::string_view isRegularFile = "NSURLIsRegularFileKey";                                        // boolean
inline constexpr std::string_view isDirectory = "NSURLIsDirectoryKey";                                            // boolean
inline constexpr std::string_view isAliasFile = "NSURLIsAliasFileKey";                                            // boolean
inline constexpr std::string_view isSymbolicLink = "NSURLIsSymbolicLinkKey";                                      // boolean
inline constexpr std::string_view creationDate = "NSURLCreationDateKey";                                          // date
inline constexpr std::string_view contentModificationDate = "NSURLContentModificationDateKey";                    // date
inline constexpr std::string_view attributeModificationDate = "NSURLAttributeModificationDateKey";                // date
inline constexpr std::string_view addedToDirectoryDate = "NSURLAddedToDirectoryDateKey";                          // date
inline constexpr std::string_view parentDirectoryURL = "NSURLParentDirectoryURLKey";                              // URL
inline constexpr std::string_view volumeURL = "NSURLVolumeURLKey";                                                // URL
inline constexpr std::string_view volumeIsRootFileSystem = "NSURLVolumeIsRootFileSystemKey";                      // boolean
inline constexpr std::string_view volumeSupportsCaseSensitiveNames = "NSURLVolumeSupportsCaseSensitiveNamesKey";  // boolean
inline constexpr std::string_view volumeIsReadOnly = "NSURLVolumeIsReadOnlyKey";                                  // boolean
inline constexpr std::string_view isUserImmutable = "NSURLIsUserImmutableKey";                                    // boolean
inline constexpr std::string_view isSystemImmutable = "NSURLIsSystemImmutableKey";                                // boolean
}  // namespace ResourceKey

/// The platform's metadata attribute of a file's last use.
inline constexpr std::string_view MetadataItemLastUsedDate = "kMDItemLastUsedDate";

/// The bookmark resolution option that forbids any interaction with the user (mounting, asking for a password).
inline constexpr std::uint32_t BookmarkResolutionWithoutUI = 256;

/// What one look at a file tells: `fileResourceIdentifier` and `isRegularFile`.
struct FileSighting {
  FileIdentity identity;
  bool isRegularFile = false;
};

class FileManager {
 public:
  virtual ~FileManager() = default;

  /// One resource property of the URL itself (symbolic links are not followed), of the kind noted at its key. nil when the file is
  /// gone, cannot be asked, or has no such property; `error`, unless null, is then set when the read failed and left alone
  /// when the property is merely absent (the root folder's parent). A URL that is no file URL has no properties.
  [[nodiscard]] virtual Object resourceValueForKey(const URL& url, std::string_view key, Error* error) = 0;
  /// The same as the data of `fileResourceIdentifier`, for the one property that everything leans on.
  [[nodiscard]] virtual std::optional<FileIdentity> fileResourceIdentifier(const URL& url) = 0;
  /// The two properties that every file of a watched folder is asked for, in one question; nothing without an identity.
  [[nodiscard]] virtual std::optional<FileSighting> sightingOfFile(const URL& url) = 0;
  /// `isAliasFile` for a file that is known to be a regular one.
  virtual bool isAliasRegularFile(const URL& url) = 0;
  /// The icon that the desktop would show for the file; null when the file is gone.
  [[nodiscard]] virtual ImageRef effectiveIcon(const URL& url) = 0;

  /// The direct entries of a folder, hidden ones included, in the order that the system lists them, each made from the folder's path
  /// and the entry's name. Nothing when it cannot be listed. A folder reached through a final symbolic link is listed.
  [[nodiscard]] virtual std::optional<std::vector<URL>> contentsOfDirectoryAtURL(const URL& url) = 0;
  /// Lists the same entries and then calls `see` for each in turn that has a sighting, with the one of that moment. `see` does not
  /// throw. No call when the folder cannot be listed.
  virtual void seeEntriesOfDirectoryAtURL(const URL& url,
                                          const std::function<void(const URL& entry, const FileSighting& sighting)>& see) = 0;

  /// The file that the bookmark names, or nothing with `error` set. `isStale` tells that the bookmark should be made anew, as
  /// the file was moved or renamed. `options` are those of `BookmarkResolutionWithoutUI`.
  [[nodiscard]] virtual std::optional<URL> URLByResolvingBookmarkData(ByteView bookmark, std::uint32_t options, bool* isStale,
                                                                      Error* error) = 0;
  /// A bookmark of an existing file, or nothing with `error` set.
  [[nodiscard]] virtual std::optional<Data> bookmarkDataWithURL(const URL& url, Error* error) = 0;
  /// A URL that follows the file when it is moved or renamed, or nothing when the file is gone.
  [[nodiscard]] virtual std::optional<URL> fileReferenceURL(const URL& url) = 0;

  /// An attribute of the desktop's metadata store for a path, or nil when there is none or the store has nothing of the path.
  [[nodiscard]] virtual Object metadataItemAttribute(std::string_view path, std::string_view attribute) = 0;
};

}  // namespace platform
