// A URL as the two programs exchange it: a relative text and an optional base, immutable, cheap to copy. A file URL
// carries its path as the file system's own bytes, so a name that is not UTF-8 survives (percent-encoded in the text,
// RFC 3986 and RFC 8089). A file reference URL names a file by identity and follows it when it is moved or renamed.
// There is deliberately no operator==: URLs compare by the identity of their files (folders/URLFacts.h).
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace platform {

/// What a file reference URL holds on to. Implemented by a backend; `path` is asked anew at each use.
class FileReference {
 public:
  virtual ~FileReference() = default;
  /// The file's path of this moment, without a final slash; empty once the file is gone.
  virtual std::string path() const = 0;
};

class URL {
 public:
  /// `path` is absolute, in the file system's bytes; final slashes are dropped, `isDirectory` puts one into the text.
  static URL fileURLWithPath(std::string_view path, bool isDirectory = false);
  /// A URL that follows its file. Its path and text are those of the moment they are asked for.
  static URL fileURLWithReference(std::shared_ptr<const FileReference> reference);
  /// Any text is taken as it stands, as the wire may hold any; nothing is normalised. An absent base means an
  /// absolute URL.
  static URL URLWithString(std::string_view relativeString, std::optional<URL> baseURL = std::nullopt);

  /// True for the scheme "file" (letter case ignored), whatever the rest says.
  bool isFileURL() const;
  /// True for a URL made by `fileURLWithReference`.
  bool isFileReferenceURL() const;

  /// The decoded path without its final slash (the root folder keeps its one). Empty for a URL without a path, for a
  /// path with an encoded NUL, for a file URL of another machine and for a reference whose file is gone.
  std::string path() const;
  /// The same without a copy, valid as long as any copy of the URL lives; null for a reference, whose path is asked anew.
  const std::string* storedPath() const;
  /// The whole text; a relative URL is resolved against its base (RFC 3986, section 5.2).
  std::string absoluteString() const;
  /// As on the wire: the text given, and the base if there is one. A file URL made from a path has no base.
  std::string relativeString() const;
  std::optional<URL> baseURL() const;

  /// The last component of `path`, as bytes; "/" for the root folder.
  std::string lastPathComponent() const;
  /// The file URL of an entry of this folder.
  URL URLByAppendingPathComponent(std::string_view name, bool isDirectory = false) const;

  /// Of the path's bytes where there is a path, of the text elsewhere; the same for both texts of a folder (with and
  /// without a final slash). Of a reference, the object. Never asks the file system.
  std::size_t hash() const;
  /// Whether both were made from the very same text or path, a final slash aside. Says nothing of the files.
  bool isSameText(const URL& other) const;

 private:
  struct Storage;
  explicit URL(std::shared_ptr<const Storage> storage);

  std::shared_ptr<const Storage> storage_;
};

}  // namespace platform
