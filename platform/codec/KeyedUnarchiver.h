// Reads the platform's keyed archives in all their legal variants, in place, from bytes that nobody vouches for.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Object.h"
#include "platform/codec/Coding.h"
#include "platform/codec/KeyedArchiveReader.h"

namespace platform {

class KeyedUnarchiver {
 public:
  /// The root object, or nil for bytes that are no archive, are damaged, name an unknown class or exceed the bounds of
  /// docs/host-protocol.md. Time is linear in the bytes and memory bounded by a small multiple of them. Never throws.
  [[nodiscard]] static Object unarchiveObjectWithData(ByteView bytes, ClassTable classes);
  /// The same, but nothing for bytes that are refused, so that an archive of nil can be told from them.
  [[nodiscard]] static std::optional<Object> unarchivedObjectWithData(ByteView bytes, ClassTable classes);
  /// The same on an account that several archives share: those of a tree, each inside its parent's. The root object alone,
  /// whatever it keeps as data; may throw `std::bad_alloc`.
  [[nodiscard]] static std::optional<Object> unarchivedObjectWithData(ByteView bytes, ClassTable classes, DecodeBudget& budget);

  /// For `InitWithCoder` only: the keyed values of the object being read.
  bool containsValueForKey(std::string_view key) const;
  /// nil when the key is absent or holds nil.
  Object decodeObjectForKey(std::string_view key);
  /// False when absent. Anything but a boolean refuses the archive.
  bool decodeBoolForKey(std::string_view key);
  /// The elements of an array of data blobs, as views into the archive's bytes; nothing when the key is absent, nil or
  /// holds anything but an array. An element that is no data is an empty view, so that positions hold.
  std::optional<std::vector<ByteView>> decodeDataArrayForKey(std::string_view key);
  /// Refuses the whole archive.
  void fail() { hasFailed_ = true; }

  /// For classes that come in great number: the archive and the object's dictionary, looked at in place.
  KeyedArchiveReader& reader() { return reader_; }
  const PropertyListItem& dictionary() const { return dictionary_; }

 private:
  friend class ArchivedValue;
  KeyedUnarchiver(KeyedArchiveReader& reader, const PropertyListItem& dictionary) : reader_(reader), dictionary_(dictionary) {}

  bool hasFailed() const { return hasFailed_; }
  std::uint64_t find(std::string_view key) const;
  std::uint32_t uidForKey(std::string_view key);

  KeyedArchiveReader& reader_;
  PropertyListItem dictionary_;
  bool hasFailed_ = false;
};

}  // namespace platform
