// Writes the platform's keyed archives: one root object, binary property list, canonical form (docs/host-protocol.md).
#pragma once

#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Coding.h"
#include "platform/Object.h"

namespace platform {

class KeyedArchiver {
 public:
  /// The archive of `root`, or nothing when it cannot be written: a value without an archived form (a date or real that
  /// is no number is fine), nesting beyond `maximumDepth`, or text that is not generalised UTF-8.
  static std::optional<Data> archivedDataWithRootObject(const Object& root);

  /// For `Coding::encodeWithCoder` only: the keyed values of the object being written. Keys are static storage.
  void encodeObject(const Object& object, std::string_view key);
  void encodeBool(bool value, std::string_view key);
  /// An array of data blobs without a copy of each in between. The views must live until the archive is made.
  void encodeDataArray(const std::vector<Data>& blobs, std::string_view key);
  /// Gives the archive up: a part of the object cannot be archived.
  void fail();

 private:
  friend class KeyedArchiveWriter;
  explicit KeyedArchiver(class KeyedArchiveWriter& writer) : writer_(writer) {}
  class KeyedArchiveWriter& writer_;
};

}  // namespace platform
