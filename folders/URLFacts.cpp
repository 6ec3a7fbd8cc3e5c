#include "folders/URLFacts.h"

namespace DTExtension {
namespace {

using platform::Date;
using platform::Error;
using platform::Object;
namespace ResourceKey = platform::ResourceKey;

template <typename Kind>
std::optional<Kind> value(FileManager& fileManager, const URL& url, std::string_view key) {
  const Object object = fileManager.resourceValueForKey(url, key, nullptr);
  const auto* found = object.get<Kind>();
  return found ? std::optional<Kind>(*found) : std::nullopt;
}

bool flag(FileManager& fileManager, const URL& url, std::string_view key) {
  return value<bool>(fileManager, url, key).value_or(false);
}

// The volume's URL is asked for and not used: the property is the file's own.
bool volumeFlag(FileManager& fileManager, const URL& url, std::string_view key) {
  static_cast<void>(fileManager.resourceValueForKey(url, ResourceKey::volumeURL, nullptr));
  return flag(fileManager, url, key);
}

// A property read whose failure counts, unlike its absence.
struct Read {
  Object value;
  std::optional<Error> failure;

  bool isTrue() const { return value.get<bool>() && *value.get<bool>(); }
};

Read read(FileManager& fileManager, const URL& url, std::string_view key) {
  Error error;
  Read result{fileManager.resourceValueForKey(url, key, &error), std::nullopt};
  if (result.value.isNil() && !error.domain.empty()) result.failure = std::move(error);
  return result;
}

Error readOnlyError(const URL& url, Error underlying) {
  const auto text = [&](std::string_view key) {
    const std::string* found = underlying.textForKey(key);
    return found ? *found : std::string();
  };
  std::string suggestion = text(platform::LocalizedDescriptionKey);
  if (const auto* older = underlying.textForKey(platform::LocalizedRecoverySuggestionErrorKey)) suggestion += " " + *older;
  underlying.setText(platform::LocalizedDescriptionKey,
                     "Failed to retrieve read only status for file at path \"" + url.path() + "\".");
  underlying.setText(platform::LocalizedRecoverySuggestionErrorKey, suggestion);
  return underlying;
}

}  // namespace

std::optional<platform::FileIdentity> identifier(FileManager& fileManager, const URL& url) {
  return fileManager.fileResourceIdentifier(url);
}

platform::ImageRef icon(FileManager& fileManager, const URL& url) { return fileManager.effectiveIcon(url); }

std::optional<std::string> name(FileManager& fileManager, const URL& url) {
  return value<std::string>(fileManager, url, ResourceKey::name);
}

std::optional<std::string> localizedName(FileManager& fileManager, const URL& url) {
  return value<std::string>(fileManager, url, ResourceKey::localizedName);
}

bool isRegularFile(FileManager& fileManager, const URL& url) { return flag(fileManager, url, ResourceKey::isRegularFile); }

bool isDirectory(FileManager& fileManager, const URL& url) { return flag(fileManager, url, ResourceKey::isDirectory); }

bool isAliasFile(FileManager& fileManager, const URL& url) { return flag(fileManager, url, ResourceKey::isAliasFile); }

bool isSymbolicLink(FileManager& fileManager, const URL& url) { return flag(fileManager, url, ResourceKey::isSymbolicLink); }

std::optional<Date> creationDate(FileManager& fileManager, const URL& url) {
  return value<Date>(fileManager, url, ResourceKey::creationDate);
}

std::optional<Date> contentModificationDate(FileManager& fileManager, const URL& url) {
  return value<Date>(fileManager, url, ResourceKey::contentModificationDate);
}

std::optional<Date> attributeModificationDate(FileManager& fileManager, const URL& url) {
  return value<Date>(fileManager, url, ResourceKey::attributeModificationDate);
}

std::optional<Date> addedToDirectoryDate(FileManager& fileManager, const URL& url) {
  return value<Date>(fileManager, url, ResourceKey::addedToDirectoryDate);
}

std::optional<Date> lastUsedDate(FileManager& fileManager, const URL& url) {
  const Object used = fileManager.metadataItemAttribute(url.path(), platform::MetadataItemLastUsedDate);
  const auto* date = used.get<Date>();
  return date ? std::optional<Date>(*date) : std::nullopt;
}

std::optional<URL> parentUrl(FileManager& fileManager, const URL& url) {
  return value<URL>(fileManager, url, ResourceKey::parentDirectoryURL);
}

bool isRootFileSystem(FileManager& fileManager, const URL& url) {
  return volumeFlag(fileManager, url, ResourceKey::volumeIsRootFileSystem);
}

bool isNameCaseSensitive(FileManager& fileManager, const URL& url) {
  return volumeFlag(fileManager, url, ResourceKey::volumeSupportsCaseSensitiveNames);
}

bool isReadOnlyAndError(FileManager& fileManager, const URL& url, std::optional<Error>* error) {
  const auto failed = [&](Error underlying) {
    if (error) *error = readOnlyError(url, std::move(underlying));
    return false;
  };
  for (const auto key : {ResourceKey::isUserImmutable, ResourceKey::isSystemImmutable}) {
    Read immutable = read(fileManager, url, key);
    if (immutable.failure) return failed(*std::move(immutable.failure));
    if (immutable.isTrue()) return true;
  }
  Read volume = read(fileManager, url, ResourceKey::volumeURL);
  if (volume.failure) return failed(*std::move(volume.failure));
  const auto* volumeURL = volume.value.get<URL>();
  Read readOnly = volumeURL ? read(fileManager, *volumeURL, ResourceKey::volumeIsReadOnly) : Read{};
  if (readOnly.failure) return failed(*std::move(readOnly.failure));
  if (error) *error = std::nullopt;
  return readOnly.isTrue();
}

bool isParentOfUrl(FileManager& fileManager, const URL& folder, const std::optional<URL>& other) {
  if (!isDirectory(fileManager, folder)) return false;
  const auto stop = parentUrl(fileManager, folder);
  for (std::optional<URL> current = other; current;) {
    if (isEqual(fileManager, *current, stop)) return false;
    auto next = parentUrl(fileManager, *current);
    if (next && isEqual(fileManager, *next, folder)) return true;
    current = std::move(next);
  }
  return false;
}

bool isEqual(FileManager& fileManager, const URL& url, const std::optional<URL>& other) {
  if (!other) return false;
  if (url.isFileURL()) {
    if (!other->isFileURL()) return false;
    const auto identity = identifier(fileManager, url);
    return identity && identity == identifier(fileManager, *other);
  }
  return url.absoluteString() == other->absoluteString();
}

bool isEqual(FileManager& fileManager, const Object& object, const Object& other) {
  const auto* url = object.get<URL>();
  const auto* otherURL = other.get<URL>();
  return url && otherURL && isEqual(fileManager, *url, std::optional<URL>(*otherURL));
}

}  // namespace DTExtension
