// Writes the platform's keyed archives: one root object, binary property list, canonical form (docs/host-protocol.md).
#pragma once

#include <optional>
#include <span>
#include <string_view>

#include "platform/Bytes.h"
#include "platform/Object.h"
#include "platform/codec/Coding.h"

namespace platform {

class KeyedArchiveWriter;

class KeyedArchiver {
 public:
  /// The archive of `root`, or nothing when it cannot be written: nil inside a collection, nesting beyond the bounds of
  /// docs/host-protocol.md, text that is not generalised UTF-8, a class that gives up, no memory. Archives inside the
  /// archive are written straight into their place, so the time is linear in the length, however deep they stand.
  [[nodiscard]] static std::optional<Data> archivedDataWithRootObject(const Object& root);

  /// For `Coding::encodeWithCoder` only: the keyed values of the object being written. Keys are static storage.
  void encodeObject(const Object& object, std::string_view key);
  /// An instance of a class of our own that lives until the archive is made; null is nil.
  void encodeInstance(const Coding* instance, std::string_view key);
  void encodeBool(bool value, std::string_view key);
  /// An array of data, each a complete archive with one of `roots`. They live until the archive is made.
  void encodeArchives(std::span<const Coding* const> roots, std::string_view key);
  /// Gives the archive up: a part of the object cannot be archived.
  void fail();

 private:
  friend class KeyedArchiveWriter;
  explicit KeyedArchiver(KeyedArchiveWriter& writer) : writer_(writer) {}
  KeyedArchiveWriter& writer_;
};

}  // namespace platform
