#include "platform/linux/files/FileProperties.h"

#include <cerrno>
#include <optional>

#include "platform/FileManager.h"
#include "platform/linux/OwnedGLib.h"
#include "platform/linux/files/AliasFile.h"
#include "platform/linux/files/FileStatus.h"
#include "platform/linux/files/PathText.h"
#include "platform/linux/files/Volume.h"

namespace platform::native {
namespace {

struct File {
  const std::string& path;
  FileStatus status;
};

Object asObject(const std::optional<bool>& flag) { return flag ? Object(*flag) : Object(); }

Object identity(const File& file) {
  const FileIdentity identity = file.status.identity();
  return Data(identity.bytes().begin(), identity.bytes().end());
}

// As text: a byte that is not UTF-8 shows as the replacement character.
Object name(const File& file) {
  const auto path = pathEndingInName(file.path);
  if (!path) return {};
  if (*path == "/") return "/";
  const std::string bytes(lastComponent(*path));
  const OwnedText text(g_filename_display_name(bytes.c_str()));
  return text.get();
}

// The folder that really holds the file: the text's parent, unless that is a symbolic link, which holds
// nothing.
Object parentDirectoryURL(const File& file) {
  const auto path = pathEndingInName(file.path);
  if (!path || *path == "/") return {};
  std::optional<std::string> parent = withoutLastComponent(*path);
  const auto status = FileStatus::ofPath(parent->c_str());
  if (!status) return {};
  if (status->isSymbolicLink()) parent = realPath(*parent);
  return parent ? Object(URL::fileURLWithPath(*parent, true)) : Object();
}

Object isRegularFile(const File& file) { return file.status.isRegularFile(); }
Object isDirectory(const File& file) { return file.status.isDirectory(); }
Object isSymbolicLink(const File& file) { return file.status.isSymbolicLink(); }
Object isAliasFile(const File& file) {
  return file.status.isSymbolicLink() || (file.status.isRegularFile() && isAliasRegularFile(file.path.c_str()));
}

Object creationDate(const File& file) {
  const auto date = file.status.birthDate();
  return date ? Object(*date) : Object();
}
Object contentModificationDate(const File& file) { return file.status.modificationDate(); }
Object attributeModificationDate(const File& file) { return file.status.changeDate(); }
Object addedToDirectoryDate(const File&) { return {}; }

std::optional<std::uint64_t> mountOf(const FileStatus& status) {
  const auto mount = status.mountIdentifier();
  if (!mount) errno = ENOTSUP;
  return mount;
}

Object volumeURL(const File& file) {
  const auto mount = mountOf(file.status);
  const auto point = mount ? mountPoint(*mount) : std::nullopt;
  return point ? Object(URL::fileURLWithPath(*point, true)) : Object();
}

Object volumeIsRootFileSystem(const File& file) {
  const auto root = FileStatus::ofPath("/");
  const auto mount = mountOf(file.status);
  if (!root || !mount) return {};
  return *mount == root->mountIdentifier();
}

Object volumeIsReadOnly(const File& file) { return asObject(isVolumeReadOnly(file.path.c_str())); }
Object volumeSupportsCaseSensitiveNames(const File& file) { return asObject(hasVolumeCaseSensitiveNames(file.path.c_str())); }

Object isImmutable(const File& file) { return file.status.isImmutable(); }

struct Property {
  std::string_view key;
  Object (*read)(const File&);  // nil with `errno` set on failure, nil with `errno` 0 for a property that is not there
};

constexpr Property properties[] = {
    {ResourceKey::fileResourceIdentifier, identity},
    {ResourceKey::isRegularFile, isRegularFile},
    {ResourceKey::isAliasFile, isAliasFile},
    {ResourceKey::isDirectory, isDirectory},
    {ResourceKey::isSymbolicLink, isSymbolicLink},
    {ResourceKey::parentDirectoryURL, parentDirectoryURL},
    {ResourceKey::name, name},
    {ResourceKey::localizedName, name},
    {ResourceKey::creationDate, creationDate},
    {ResourceKey::contentModificationDate, contentModificationDate},
    {ResourceKey::attributeModificationDate, attributeModificationDate},
    {ResourceKey::addedToDirectoryDate, addedToDirectoryDate},
    {ResourceKey::volumeURL, volumeURL},
    {ResourceKey::volumeIsRootFileSystem, volumeIsRootFileSystem},
    {ResourceKey::volumeSupportsCaseSensitiveNames, volumeSupportsCaseSensitiveNames},
    {ResourceKey::volumeIsReadOnly, volumeIsReadOnly},
    {ResourceKey::isUserImmutable, isImmutable},
    {ResourceKey::isSystemImmutable, isImmutable},
};

}  // namespace

Result<Object, int> propertyOfFile(const std::string& path, std::string_view key) {
  for (const Property& property : properties) {
    if (property.key != key) continue;
    const auto status = FileStatus::ofPath(path.c_str());
    if (!status) return Failure{errno};
    errno = 0;
    Object value = property.read({path, *status});
    if (value.isNil() && errno != 0) return Failure{errno};
    return value;
  }
  return Object();
}

}  // namespace platform::native
