#include "platform/URL.h"

#include <array>
#include <functional>

namespace platform {
namespace {

constexpr std::string_view fileScheme = "file:";

struct Parts {
  std::string_view scheme;  // with its colon; empty for a relative reference
  std::string_view authority;
  bool hasAuthority = false;
  std::string_view path;
  std::string_view query;     // with its question mark
  std::string_view fragment;  // with its number sign
};

bool isAlpha(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
char lowered(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool isSameIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (lowered(a[i]) != lowered(b[i])) return false;
  }
  return true;
}

std::size_t schemeLength(std::string_view text) {
  if (text.empty() || !isAlpha(text[0])) return 0;
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == ':') return i + 1;
    if (!isAlpha(text[i]) && !isDigit(text[i]) && text[i] != '+' && text[i] != '-' && text[i] != '.') return 0;
  }
  return 0;
}

// The place of the first of three characters; npos when there is none. A URL is split once for each file that is asked about:
// `find_first_of` searches the set anew for each character.
std::size_t findAny(std::string_view text, char a, char b, char c) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == a || text[i] == b || text[i] == c) return i;
  }
  return std::string_view::npos;
}

// RFC 3986, appendix B.
Parts split(std::string_view text) {
  Parts parts;
  const auto take = [&text](std::size_t length) {
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(taken.size());
    return taken;
  };
  parts.scheme = take(schemeLength(text));
  if (text.starts_with("//")) {
    take(2);
    parts.hasAuthority = true;
    parts.authority = take(findAny(text, '/', '?', '#'));
  }
  parts.path = take(findAny(text, '?', '#', '#'));
  if (text.starts_with('?')) parts.query = take(text.find('#'));
  parts.fragment = text;
  return parts;
}

// RFC 3986, section 5.2.4.
std::string withoutDotSegments(std::string_view path) {
  std::string result;
  while (!path.empty()) {
    const std::size_t end = path.find('/', path.front() == '/' ? 1 : 0);
    const std::string_view segment = path.substr(0, end);
    const std::string_view name = segment.substr(segment.starts_with('/') ? 1 : 0);
    const bool isLast = end == std::string_view::npos;
    path.remove_prefix(segment.size());
    if (name != "." && name != "..") {
      result += segment;
      continue;
    }
    if (name == "..") result.erase(result.rfind('/') == std::string::npos ? 0 : result.rfind('/'));
    if (isLast) result += '/';
  }
  return result;
}

std::string mergedPath(const Parts& base, std::string_view path) {
  if (path.starts_with('/')) return withoutDotSegments(path);
  if (base.hasAuthority && base.path.empty()) return withoutDotSegments("/" + std::string(path));
  return withoutDotSegments(std::string(base.path.substr(0, base.path.rfind('/') + 1)) += path);
}

// RFC 3986, sections 5.2.2 and 5.3.
std::string resolved(std::string_view relative, std::string_view baseText) {
  const Parts reference = split(relative);
  if (!reference.scheme.empty()) return std::string(relative);
  const Parts base = split(baseText);
  std::string text(base.scheme);
  if (reference.hasAuthority) return text += relative;
  if (base.hasAuthority) (text += "//") += base.authority;
  if (reference.path.empty()) {
    text += base.path;
    text += reference.query.empty() ? base.query : reference.query;
  } else {
    text += mergedPath(base, reference.path);
    text += reference.query;
  }
  return text += reference.fragment;
}

int hexValue(char c) {
  if (isDigit(c)) return c - '0';
  const char low = lowered(c);
  return low >= 'a' && low <= 'f' ? low - 'a' + 10 : -1;
}

// Nothing for a broken escape or an encoded NUL, which no path can hold.
std::optional<std::string> percentDecoded(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (;;) {
    const std::size_t escape = text.find('%');
    bytes += text.substr(0, escape);
    if (escape == std::string_view::npos) return bytes;
    text.remove_prefix(escape);
    if (text.size() < 3) return std::nullopt;
    const int high = hexValue(text[1]);
    const int low = hexValue(text[2]);
    if (high < 0 || low < 0 || (high == 0 && low == 0)) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
    text.remove_prefix(3);
  }
}

// The characters that RFC 3986 allows in a path, but for ";", which old readers take for a parameter.
constexpr auto standsInPath = [] {
  std::array<bool, 256> table{};
  for (const char c : std::string_view("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~!$&'()*+,=:@/")) {
    table[static_cast<unsigned char>(c)] = true;
  }
  return table;
}();

std::string fileURLText(std::string_view path, bool isDirectory) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string text = "file://";
  text.reserve(text.size() + path.size() + 8);
  std::size_t plain = 0;  // where what can stand as it is starts
  for (std::size_t i = 0; i < path.size(); ++i) {
    const auto byte = static_cast<unsigned char>(path[i]);
    if (standsInPath[byte]) continue;
    text += path.substr(plain, i - plain);
    ((text += '%') += digits[byte >> 4]) += digits[byte & 15];
    plain = i + 1;
  }
  text += path.substr(plain);
  if (isDirectory && path != "/") text += '/';
  return text;
}

std::string_view withoutFinalSlashes(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path;
}

std::string pathOfText(std::string_view text) {
  const Parts parts = split(text);
  if (!isSameIgnoringCase(parts.scheme, fileScheme)) return {};
  if (!parts.authority.empty() && !isSameIgnoringCase(parts.authority, "localhost")) return {};
  auto path = percentDecoded(parts.path);
  if (!path || !path->starts_with('/')) return {};
  path->resize(withoutFinalSlashes(*path).size());
  return *std::move(path);
}

}  // namespace

// A URL made from a path, by far the most frequent kind, keeps the path alone; its text is made when it is asked for.
struct URL::Storage {
  struct Rest {
    std::string text;
    std::optional<URL> base;
    std::shared_ptr<const FileReference> reference;
  };

  std::string path;
  bool isDirectory = false;
  std::unique_ptr<Rest> rest;

  const FileReference* reference() const { return rest ? rest->reference.get() : nullptr; }
  bool isText() const { return rest && !rest->reference; }
};

URL::URL(std::shared_ptr<const Storage> storage) : storage_(std::move(storage)) {}

URL URL::fileURLWithPath(std::string_view path, bool isDirectory) {
  auto storage = std::make_shared<Storage>();
  storage->path = withoutFinalSlashes(path);
  storage->isDirectory = isDirectory;
  return URL(std::move(storage));
}

URL URL::fileURLWithReference(std::shared_ptr<const FileReference> reference) {
  auto storage = std::make_shared<Storage>();
  storage->rest = std::make_unique<Storage::Rest>();
  storage->rest->reference = std::move(reference);
  return URL(std::move(storage));
}

URL URL::URLWithString(std::string_view relativeString, std::optional<URL> baseURL) {
  auto storage = std::make_shared<Storage>();
  storage->rest = std::make_unique<Storage::Rest>();
  storage->rest->text = relativeString;
  storage->rest->base = std::move(baseURL);
  storage->path = storage->rest->base ? pathOfText(URL(storage).absoluteString()) : pathOfText(relativeString);
  return URL(std::move(storage));
}

bool URL::isFileURL() const { return !storage_->isText() || isSameIgnoringCase(split(absoluteString()).scheme, fileScheme); }

bool URL::isFileReferenceURL() const { return storage_->reference() != nullptr; }

std::string URL::path() const { return storage_->reference() ? storage_->reference()->path() : storage_->path; }

const std::string* URL::storedPath() const { return storage_->reference() ? nullptr : &storage_->path; }

std::string URL::absoluteString() const {
  if (!storage_->isText() || !storage_->rest->base) return relativeString();
  return resolved(storage_->rest->text, storage_->rest->base->absoluteString());
}

std::string URL::relativeString() const {
  if (storage_->isText()) return storage_->rest->text;
  if (storage_->reference()) return fileURLText(storage_->reference()->path(), true);
  return fileURLText(storage_->path, storage_->isDirectory);
}

std::optional<URL> URL::baseURL() const { return storage_->rest ? storage_->rest->base : std::nullopt; }

std::string URL::lastPathComponent() const {
  const std::string whole = path();
  return whole.size() > 1 ? whole.substr(whole.rfind('/') + 1) : whole;
}

URL URL::URLByAppendingPathComponent(std::string_view name, bool isDirectory) const {
  const std::string asked = storedPath() ? std::string() : path();
  const std::string& folder = storedPath() ? *storedPath() : asked;
  auto storage = std::make_shared<Storage>();
  storage->path.reserve(folder.size() + 1 + name.size());
  storage->path += folder;
  if (!folder.ends_with('/')) storage->path += '/';
  storage->path += withoutFinalSlashes(name);
  storage->isDirectory = isDirectory;
  return URL(std::move(storage));
}

std::size_t URL::hash() const {
  if (const auto* reference = storage_->reference()) return std::hash<const void*>()(reference);
  return std::hash<std::string>()(storage_->path.empty() ? absoluteString() : storage_->path);
}

bool URL::isSameText(const URL& other) const {
  if (storage_ == other.storage_) return true;
  if (isFileReferenceURL() || other.isFileReferenceURL()) return storage_->reference() == other.storage_->reference();
  if (storage_->path.empty() || other.storage_->path.empty()) return absoluteString() == other.absoluteString();
  return storage_->path == other.storage_->path;
}

}  // namespace platform
