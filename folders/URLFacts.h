// What the extension asks about a file URL. Every fact is read from the system at each call; nothing is kept, nothing is
// written. A fact that cannot be read is absent or false. These belong to the category `DTExtension` of the platform's URLs.
#pragma once

#include <optional>
#include <string>

#include "platform/FileIdentity.h"
#include "platform/FileManager.h"
#include "platform/Image.h"
#include "platform/Object.h"
#include "platform/URL.h"

namespace DTExtension {

using platform::FileManager;
using platform::URL;

/// The file's identity, the same for every form of its path; absent when the file is gone or cannot be asked.
std::optional<platform::FileIdentity> identifier(FileManager& fileManager, const URL& url);
platform::ImageRef icon(FileManager& fileManager, const URL& url);
std::optional<std::string> name(FileManager& fileManager, const URL& url);
std::optional<std::string> localizedName(FileManager& fileManager, const URL& url);

bool isRegularFile(FileManager& fileManager, const URL& url);
bool isDirectory(FileManager& fileManager, const URL& url);
bool isAliasFile(FileManager& fileManager, const URL& url);
bool isSymbolicLink(FileManager& fileManager, const URL& url);

std::optional<platform::Date> creationDate(FileManager& fileManager, const URL& url);
std::optional<platform::Date> contentModificationDate(FileManager& fileManager, const URL& url);
std::optional<platform::Date> attributeModificationDate(FileManager& fileManager, const URL& url);
std::optional<platform::Date> addedToDirectoryDate(FileManager& fileManager, const URL& url);
/// When the user last opened the file, as the desktop recorded it.
std::optional<platform::Date> lastUsedDate(FileManager& fileManager, const URL& url);

/// The containing folder; absent for the file system's root folder.
std::optional<URL> parentUrl(FileManager& fileManager, const URL& url);

bool isRootFileSystem(FileManager& fileManager, const URL& url);
bool isNameCaseSensitive(FileManager& fileManager, const URL& url);

/// Whether the file is immutable or its volume read-only. When that cannot be found out the answer is false and `error`, unless
/// null, says why; when the volume was asked, `error` is cleared; for an immutable file it is left as it was.
bool isReadOnlyAndError(FileManager& fileManager, const URL& url, std::optional<platform::Error>* error);

/// Whether `folder` is a folder that holds `other`, at any depth, by the parents of `other` and never by the text of a path.
bool isParentOfUrl(FileManager& fileManager, const URL& folder, const std::optional<URL>& other);

/// The equality of URLs: file URLs are equal when their files are the same one, so two URLs of a file that is gone never are; other
/// URLs by their whole text. An absent URL, and an object that is no URL, equals nothing.
bool isEqual(FileManager& fileManager, const URL& url, const std::optional<URL>& other);
bool isEqual(FileManager& fileManager, const platform::Object& object, const platform::Object& other);

}  // namespace DTExtension
