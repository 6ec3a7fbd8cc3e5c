// Files in memory. A test makes entries under absolute paths; every property read is in the log.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "platform/FileManager.h"
#include "platform/fake/CallLog.h"

namespace platform::fake {

enum class FakeKind { regular, directory, symbolicLink, alias, other };

struct FakeFile {
  FakeKind kind = FakeKind::regular;
  std::uint64_t number = 0;                               ///< Its identity.
  bool isReadable = true;                                 ///< Of a folder: whether it can be listed.
  bool isMoved = false;                                   ///< Renamed since it was made: a bookmark of it is stale.
  bool hasReference = true;                               ///< Whether a file reference URL can be made of it.
  std::map<std::string, Object, std::less<>> properties;  ///< Whatever else it has, by resource key.
  std::map<std::string, Error, std::less<>> failures;     ///< Reads that fail, by resource key.
};

class FakeFileManager final : public FileManager {
 public:
  explicit FakeFileManager(CallLog& log) : log_(log) { add("/", FakeKind::directory); }

  /// Makes an entry, and the folders above it. Its identity is new, even where an older entry is replaced.
  FakeFile& add(const std::string& path, FakeKind kind = FakeKind::regular);
  void remove(const std::string& path);
  /// Moves an entry with all below it; identities stay.
  void rename(const std::string& from, const std::string& to);
  FakeFile* find(const std::string& path);
  static FileIdentity identityOf(std::uint64_t number);
  /// How often a property of any file was read since the start; only these are counted, other calls are in the log.
  std::size_t propertyReads = 0;

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

  /// The last use of a path, as the desktop would have recorded it.
  std::map<std::string, Date, std::less<>> lastUsed;
  /// Whether calls on properties are written to the log (they are many).
  bool logsProperties = false;

 private:
  std::optional<std::string> pathOfNumber(std::uint64_t number) const;
  class Reference;

  CallLog& log_;
  std::map<std::string, FakeFile, std::less<>> files_;
  std::uint64_t nextNumber_ = 1;
};

}  // namespace platform::fake
