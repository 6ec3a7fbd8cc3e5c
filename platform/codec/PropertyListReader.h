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
  Boolean,
  Integer,
  Real,
  Date,
  Data,
  ASCIIString,
  UTF16String,
  UID,
  Array,
  Set,
  Dictionary,
};

/// One object as it stands in the bytes. Valid as long as they are.
struct PropertyListItem {
  PropertyListKind kind = PropertyListKind::Boolean;
  bool isNegative = false;              ///< Of an integer.
  std::uint64_t value = 0;              ///< Boolean, UID, an integer's low 64 bits; the IEEE 754 bits of a real or date.
  const std::uint8_t* bytes = nullptr;  ///< The content of data, strings (UTF-16 is big-endian) and containers.
  std::size_t count = 0;                ///< Bytes, UTF-16 units, elements, or pairs.

  bool isString() const { return kind == PropertyListKind::ASCIIString || kind == PropertyListKind::UTF16String; }
  double real() const { return std::bit_cast<double>(value); }
  ByteView data() const { return {bytes, count}; }
  /// Whether a string item is this ASCII text, in either of its two forms.
  bool equals(std::string_view text) const;
};

/// A key to look for: ASCII text in static storage, and the 16 bytes with which it usually stands in a property list.
class PropertyListKey {
 public:
  constexpr PropertyListKey(std::string_view text) : text_(text), isShort_(text.size() < 15) {
    if (!isShort_) return;
    put(0, static_cast<std::uint8_t>(0x50 | text.size()));
    for (std::size_t i = 0; i < text.size(); ++i) put(i + 1, static_cast<std::uint8_t>(text[i]));
  }
  constexpr PropertyListKey(const char* text) : PropertyListKey(std::string_view(text)) {}

  constexpr std::string_view text() const { return text_; }
  /// Whether the key stands at `at`, where 16 bytes can be read, in the form of a short ASCII string.
  bool standsAt(const std::uint8_t* at) const {
    std::uint64_t words[2];
    std::memcpy(words, at, sizeof words);
    return isShort_ && (((words[0] ^ words_[0]) & masks_[0]) | ((words[1] ^ words_[1]) & masks_[1])) == 0;
  }
  /// Bytes from the marker to the end of a short ASCII string.
  std::size_t length() const { return 1 + text_.size(); }

 private:
  constexpr void put(std::size_t at, std::uint8_t byte) {
    const std::size_t place = std::endian::native == std::endian::little ? at % 8 : 7 - at % 8;
    words_[at / 8] |= std::uint64_t{byte} << (8 * place);
    masks_[at / 8] |= std::uint64_t{0xff} << (8 * place);
  }

  std::string_view text_;
  bool isShort_;
  std::uint64_t words_[2] = {};
  std::uint64_t masks_[2] = {};
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
  /// The quick way for a UID of up to four bytes. False for any other object.
  bool readShortUID(std::uint64_t object, std::uint32_t& uid) const {
    const std::uint8_t* at = position(object);
    if (!at || *at >> 2 != 0x80 >> 2) return false;
    const unsigned size = (*at & 3u) + 1;
    if (static_cast<std::size_t>(table_ - at) <= size) return false;
    uid = static_cast<std::uint32_t>(number(at + 1, size));
    return true;
  }
  /// Has the processor fetch an object that is looked at soon: where many stand far apart, all are on their way at once.
  void prefetch(std::uint64_t object) const { __builtin_prefetch(position(object)); }
  /// The quick way for data. False for any other object.
  bool readData(std::uint64_t object, ByteView& data) const {
    const std::uint8_t* at = position(object);
    if (!at || *at >> 4 != 0x4) return false;
    std::size_t count = *at++ & 0x0f;
    if (count == 15 && !readCount(at, count)) return false;
    data = {at, count};
    return count <= static_cast<std::size_t>(table_ - at);
  }
  /// Whether the object is this text.
  bool isText(std::uint64_t object, const PropertyListKey& text) const;
  /// Finds the values under `keys`, `absent` for a key that is not there. False when the dictionary is malformed: a key
  /// that is no string, one of `keys` twice, a reference to no object.
  bool lookUp(const PropertyListItem& dictionary, std::span<const PropertyListKey> keys, std::span<std::uint64_t> values) const;

 private:
  friend class ArchiveForm;
  friend class PropertyListShape;
  static constexpr std::size_t headerLength = 8;
  static constexpr std::size_t trailerLength = 32;
  static constexpr std::size_t smallestLength = headerLength + 1 + trailerLength;

  PropertyListReader() = default;

  /// A big-endian number of 1 to 8 bytes. Reads 8: within the bytes for all numbers that lie ahead of the trailer.
  static std::uint64_t number(const std::uint8_t* at, unsigned size) {
    std::uint64_t raw;
    std::memcpy(&raw, at, sizeof raw);
    if constexpr (std::endian::native == std::endian::little) raw = __builtin_bswap64(raw);
    return raw >> (64 - 8 * size);
  }
  /// Where an object starts; null when there is no such object. The trailer follows the last: 32 bytes can be read there.
  const std::uint8_t* position(std::uint64_t object) const {
    if (object >= count_) return nullptr;
    const std::uint64_t offset = number(table_ + object * offsetSize_, offsetSize_);
    return offset < headerLength ? nullptr : bytes_ + offset;
  }
  bool standsAt(const std::uint8_t* at, const PropertyListKey& key) const {
    return key.standsAt(at) && key.length() <= static_cast<std::size_t>(table_ - at);
  }
  static bool fits(std::uint64_t value, unsigned size) { return size == 8 || value >> (8 * size) == 0; }
  bool readTrailer(std::size_t length);
  /// `read` for an object that starts at `at`, a place ahead of the offset table.
  bool readAt(const std::uint8_t* at, PropertyListItem& item) const;
  /// `readAt` for a string or an integer, with quick ways for those of a few bytes. Where it ends; null for any other object.
  const std::uint8_t* readScalar(const std::uint8_t* at, PropertyListItem& item) const;
  /// Where the object ends that starts at `at` and was read.
  const std::uint8_t* end(const std::uint8_t* at, const PropertyListItem& item) const;
  static std::uint64_t largest(const std::uint8_t* at, std::size_t count, unsigned size);
  bool hasValidOffsets() const;
  bool lookUpOne(const std::uint8_t* key, std::uint64_t value, std::span<const PropertyListKey> keys,
                 std::span<std::uint64_t> values, std::size_t& next) const;
  /// Whether a short ASCII string stands at `at`, whole: it is a key exactly when the key stands there.
  bool isShortText(const std::uint8_t* at) const { return *at >= 0x50 && *at < 0x5f && *at - 0x50 < table_ - at; }
  bool readInteger(const std::uint8_t* at, std::size_t available, unsigned low, PropertyListItem& item) const;
  /// The count that stands behind a marker with a low half of 15.
  bool readCount(const std::uint8_t*& at, std::size_t& count) const;
  /// The content of an object of `low`, or so many, elements of `unit` bytes.
  bool readCounted(unsigned low, const std::uint8_t* at, std::size_t unit, PropertyListItem& item) const;
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
