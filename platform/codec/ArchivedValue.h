// One object of an archive that has a class record: the platform's own value classes and the programs' own instances.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/codec/KeyedArchiveReader.h"

namespace platform {

class ArchivedValue {
 public:
  ArchivedValue(KeyedArchiveReader& reader, const PropertyListItem& dictionary) : reader_(reader), dictionary_(dictionary) {}

  /// The name of a class of the platform's that can be read, in static storage; empty for any other.
  static std::string_view className(const PropertyListItem& name);
  /// Makes the object as one of this class, a name of the platform's or of the reader's table.
  bool decode(std::string_view name, Object& object);

 private:
  struct PlatformClass {
    std::string_view name;
    bool (ArchivedValue::*decode)(Object& object);
  };
  static const std::array<PlatformClass, 15> platformClasses;

  bool decodeArray(Object& object);
  bool decodeSet(Object& object);
  bool decodeDictionary(Object& object);
  bool decodeString(Object& object);
  bool decodeData(Object& object);
  bool decodeNull(Object& object);
  bool decodeDate(Object& object);
  bool decodeUUID(Object& object);
  bool decodeURL(Object& object);
  bool decodeError(Object& object);
  bool decodeIndexPath(Object& object);
  bool decodeInstance(const ArchivedClass& ours, Object& object);

  /// Where the dictionary's value under `key` stands; `absent` when there is none. False for a malformed dictionary.
  bool find(std::string_view key, std::uint64_t& value) const;
  /// The object under a key; nil when there is none.
  bool objectForKey(std::string_view key, Object& object);
  bool uidForKey(std::string_view key, std::uint32_t& uid) const;
  /// The inline integer under a key; 0 when there is none.
  bool integerForKey(std::string_view key, std::uint64_t& bits, bool& isNegative) const;
  bool objects(const std::vector<std::uint32_t>& uids, std::vector<Object>& objects);
  /// The inline data under either key.
  bool inlineData(std::string_view key, std::string_view otherKey, ByteView& bytes) const;
  bool indexPathData(std::uint64_t length, std::vector<std::uint64_t>& indexes);

  KeyedArchiveReader& reader_;
  PropertyListItem dictionary_;
};

}  // namespace platform
