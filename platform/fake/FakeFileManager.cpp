#include "platform/fake/FakeFileManager.h"

#include <cerrno>
#include <charconv>

namespace platform::fake {
namespace {

constexpr std::string_view bookmarkPrefix = "bookmark of file ";

Error missingFile() {
  Error error{"NSPOSIXErrorDomain", ENOENT, {}};
  error.setText(LocalizedDescriptionKey, "No such file or directory");
  return error;
}

bool isTrue(const Object& flag) { return flag.get<bool>() && *flag.get<bool>(); }

std::string parentPath(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  return slash == 0 ? "/" : std::string(path.substr(0, slash));
}

// The way that a real system walks a path: repeated and final slashes count for nothing.
std::string walked(std::string_view path) {
  std::string result;
  for (const char c : path) {
    if (c != '/' || !result.ends_with('/')) result += c;
  }
  if (result.size() > 1 && result.ends_with('/')) result.pop_back();
  return result;
}

}  // namespace

class FakeFileManager::Reference final : public FileReference {
 public:
  Reference(const FakeFileManager& files, std::uint64_t number) : files_(files), number_(number) {}
  std::string path() const override { return files_.pathOfNumber(number_).value_or(""); }

 private:
  const FakeFileManager& files_;
  std::uint64_t number_;
};

FakeFile& FakeFileManager::add(const std::string& path, FakeKind kind) {
  if (path != "/" && !files_.contains(parentPath(path))) add(parentPath(path), FakeKind::directory);
  FakeFile file;
  file.kind = kind;
  file.number = nextNumber_++;
  return files_.insert_or_assign(path, std::move(file)).first->second;
}

void FakeFileManager::remove(const std::string& path) {
  std::erase_if(files_, [&](const auto& file) { return file.first == path || file.first.starts_with(path + "/"); });
}

void FakeFileManager::rename(const std::string& from, const std::string& to) {
  std::map<std::string, FakeFile, std::less<>> moved;
  for (auto& [path, file] : files_) {
    if (path == from || path.starts_with(from + "/")) moved[to + path.substr(from.size())] = std::move(file);
  }
  for (auto& [path, file] : moved) file.isMoved = true;
  remove(from);
  files_.merge(moved);
}

FakeFile* FakeFileManager::find(const std::string& path) {
  const auto found = files_.find(walked(path));
  return found == files_.end() ? nullptr : &found->second;
}

FileIdentity FakeFileManager::identityOf(std::uint64_t number) {
  Data bytes(8);
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<std::uint8_t>(number >> (56 - 8 * i));
  return *FileIdentity::withBytes(bytes);
}

std::optional<std::string> FakeFileManager::pathOfNumber(std::uint64_t number) const {
  for (const auto& [path, file] : files_) {
    if (file.number == number) return path;
  }
  return std::nullopt;
}

Object FakeFileManager::resourceValueForKey(const URL& url, std::string_view key, Error* error) {
  ++propertyReads;
  const std::string path = walked(url.path());
  if (logsProperties) log_.add("read " + std::string(key) + " of " + path);
  const FakeFile* file = url.isFileURL() ? find(path) : nullptr;
  if (!file) {
    if (error) *error = missingFile();
    return {};
  }
  if (const auto failure = file->failures.find(key); failure != file->failures.end()) {
    if (error) *error = failure->second;
    return {};
  }
  if (const auto property = file->properties.find(key); property != file->properties.end()) return property->second;
  if (key == ResourceKey::fileResourceIdentifier) {
    const FileIdentity identity = identityOf(file->number);
    return Data(identity.bytes().begin(), identity.bytes().end());
  }
  if (key == ResourceKey::isRegularFile) return file->kind == FakeKind::regular || file->kind == FakeKind::alias;
  if (key == ResourceKey::isDirectory) return file->kind == FakeKind::directory;
  if (key == ResourceKey::isSymbolicLink) return file->kind == FakeKind::symbolicLink;
  if (key == ResourceKey::isAliasFile) return file->kind == FakeKind::alias || file->kind == FakeKind::symbolicLink;
  if (key == ResourceKey::name) return url.lastPathComponent();
  if (key == ResourceKey::parentDirectoryURL && path != "/") return URL::fileURLWithPath(parentPath(path), true);
  if (key == ResourceKey::volumeURL) return URL::fileURLWithPath("/", true);
  if (key == ResourceKey::isUserImmutable || key == ResourceKey::isSystemImmutable) return false;
  if (key == ResourceKey::volumeIsReadOnly) return false;
  return {};
}

std::optional<FileIdentity> FakeFileManager::fileResourceIdentifier(const URL& url) {
  const Object value = resourceValueForKey(url, ResourceKey::fileResourceIdentifier, nullptr);
  const auto* bytes = value.get<Data>();
  return bytes ? FileIdentity::withBytes(*bytes) : std::nullopt;
}

std::optional<FileSighting> FakeFileManager::sightingOfFile(const URL& url) {
  const auto identity = fileResourceIdentifier(url);
  if (!identity) return std::nullopt;
  return FileSighting{*identity, isTrue(resourceValueForKey(url, ResourceKey::isRegularFile, nullptr))};
}

bool FakeFileManager::isAliasRegularFile(const URL& url) {
  return isTrue(resourceValueForKey(url, ResourceKey::isAliasFile, nullptr));
}

ImageRef FakeFileManager::effectiveIcon(const URL& url) {
  if (!find(url.path())) return nullptr;
  auto icon = std::make_shared<Image>();
  icon->name = "icon of " + url.path();
  return icon;
}

std::optional<std::vector<URL>> FakeFileManager::contentsOfDirectoryAtURL(const URL& url) {
  const std::string path = walked(url.path());
  log_.add("list " + path);
  const FakeFile* folder = find(path);
  if (!folder || folder->kind != FakeKind::directory || !folder->isReadable) return std::nullopt;
  std::vector<URL> entries;
  for (const auto& [entry, file] : files_) {
    if (entry != "/" && parentPath(entry) == path) {
      entries.push_back(URL::fileURLWithPath(entry, file.kind == FakeKind::directory));
    }
  }
  return entries;
}

void FakeFileManager::seeEntriesOfDirectoryAtURL(const URL& url, const std::function<void(const URL&, const FileSighting&)>& see) {
  const auto entries = contentsOfDirectoryAtURL(url);
  if (!entries) return;
  for (const URL& entry : *entries) {
    if (const auto sighting = sightingOfFile(entry)) see(entry, *sighting);
  }
}

std::optional<URL> FakeFileManager::URLByResolvingBookmarkData(ByteView bookmark, std::uint32_t options, bool* isStale,
                                                               Error* error) {
  const std::string text(bookmark.begin(), bookmark.end());
  log_.add("resolve \"" + text + "\" with options " + std::to_string(options));
  std::uint64_t number = 0;
  const std::string_view digits = std::string_view(text).substr(std::min(text.size(), bookmarkPrefix.size()));
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  const auto path = text.starts_with(bookmarkPrefix) ? pathOfNumber(number) : std::nullopt;
  if (!path) {
    *error = missingFile();
    return std::nullopt;
  }
  *isStale = find(*path)->isMoved;
  return URL::fileURLWithPath(*path, true);
}

std::optional<Data> FakeFileManager::bookmarkDataWithURL(const URL& url, Error* error) {
  const FakeFile* file = find(url.path());
  if (!file) {
    *error = missingFile();
    return std::nullopt;
  }
  const std::string text = std::string(bookmarkPrefix) + std::to_string(file->number);
  return Data(text.begin(), text.end());
}

std::optional<URL> FakeFileManager::fileReferenceURL(const URL& url) {
  const FakeFile* file = find(url.path());
  if (!file || !file->hasReference) return std::nullopt;
  return URL::fileURLWithReference(std::make_shared<Reference>(*this, file->number));
}

Object FakeFileManager::metadataItemAttribute(std::string_view path, std::string_view attribute) {
  log_.add("metadata " + std::string(attribute) + " of " + std::string(path));
  const auto found = lastUsed.find(path);
  return found == lastUsed.end() ? Object() : Object(found->second);
}

}  // namespace platform::fake
