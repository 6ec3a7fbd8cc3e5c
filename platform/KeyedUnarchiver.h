// Reads the platform's keyed archives in all their legal variants, in place, from bytes that nobody vouches for.
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Coding.h"
#include "platform/Object.h"

namespace platform {

class KeyedUnarchiver {
 public:
  /// The root object, or nil for bytes that are no archive, are damaged, name an unknown class or exceed the bounds of
  /// docs/host-protocol.md. Time is linear in the bytes and memory bounded by a small multiple of them. Never throws.
  static Object unarchiveObjectWithData(ByteView bytes, ClassTable classes);

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
  void fail();

 private:
  friend class KeyedArchiveReader;
  KeyedUnarchiver() = default;
};

}  // namespace platform
