// Looks at a binary property list ("bplist00") in place: nothing is copied and nothing allocated, whatever the bytes claim.
// What is looked at is checked: a damaged object that nobody asks for does no harm. Never recurses.
// Outside source of the format: the open-source CFBinaryPList.c of the platform's maker; Python's plistlib agrees.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

#include "platform/Bytes.h"

namespace platform {

enum class PropertyListKind : std::uint8_t {
  Boolean, Integer, Real, Date, Data, ASCIIString, UTF16String, UID, Array, Set, Dictionary,
};

/// One object as it stands in the bytes. Valid as long as they are.
struct PropertyListItem {
  PropertyListKind kind = PropertyListKind::Boolean;
  bool isNegative = false;              ///< Of an integer.
  std::uint64_t value = 0;              ///< Boolean, UID, an integer's low 64 bits; the IEEE 754 bits of a real or date.
  const std::uint8_t* bytes = nullptr;  ///< The content of data, strings (UTF-16 is big-endian) and containers.
  std::size_t count = 0;                ///< Bytes, UTF-16 units, elements, or pairs.

  bool isString() const {
    return kind == PropertyListKind::ASCIIString || kind == PropertyListKind::UTF16String;
  }
  double real() const { return std::bit_cast<double>(value); }
  ByteView data() const { return {bytes, count}; }
  /// Whether a string item is this ASCII text, in either of its two forms.
  bool equals(std::string_view text) const;
};

class PropertyListReader {
 public:
  static constexpr std::uint64_t absent = ~std::uint64_t{0};

  /// Nothing when the magic, the trailer, the length or any offset is wrong. Linear in the number of objects.
  static std::optional<PropertyListReader> open(ByteView bytes);

  std::uint64_t objectCount() const { return count_; }
  std::uint64_t topObject() const { return top_; }
  /// What `open` has looked at: the size of the offset table.
  std::size_t tableSize() const { return count_ * offsetSize_; }

  /// False when there is no such object, or none that is legal and complete.
  bool read(std::uint64_t object, PropertyListItem& item) const;
  /// The object that element `at` of a container refers to. A dictionary's keys come before its values.
  std::uint64_t reference(const PropertyListItem& container, std::size_t at) const {
    return number(container.bytes + at * referenceSize_, referenceSize_);
  }
  /// Whether every reference of a container names an object.
  bool hasValidReferences(const PropertyListItem& container) const;
  /// Finds the values under `keys`, `absent` for a key that is not there. False when the dictionary is malformed: a key
  /// that is no string, one of `keys` twice, a reference to no object.
  bool lookUp(const PropertyListItem& dictionary, std::span<const std::string_view> keys,
              std::span<std::uint64_t> values) const;

 private:
  PropertyListReader() = default;

  /// A big-endian number of 1 to 8 bytes. Reads 8: within the bytes for all numbers that lie ahead of the trailer.
  static std::uint64_t number(const std::uint8_t* at, unsigned size) {
    std::uint64_t raw;
    std::memcpy(&raw, at, sizeof raw);
    if constexpr (std::endian::native == std::endian::little) raw = __builtin_bswap64(raw);
    return raw >> (64 - 8 * size);
  }
  bool readTrailer(std::size_t length);
  bool hasValidOffsets() const;
  bool readInteger(const std::uint8_t* at, std::size_t available, unsigned low, PropertyListItem& item) const;
  bool readCount(unsigned low, const std::uint8_t*& at, PropertyListItem& item) const;
  bool readCounted(PropertyListKind kind, unsigned low, const std::uint8_t* at, std::size_t unit,
                   PropertyListItem& item) const;
  bool readSimple(unsigned low, PropertyListItem& item) const;
  bool readFloat(PropertyListKind kind, unsigned low, const std::uint8_t* at, PropertyListItem& item) const;
  bool readUID(const std::uint8_t* at, unsigned low, PropertyListItem& item) const;

  const std::uint8_t* bytes_ = nullptr;
  const std::uint8_t* table_ = nullptr;
  std::uint64_t count_ = 0;
  std::uint64_t top_ = 0;
  unsigned offsetSize_ = 0;
  unsigned referenceSize_ = 0;
};

}  // namespace platform
