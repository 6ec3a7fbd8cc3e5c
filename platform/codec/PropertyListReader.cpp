#include "platform/codec/PropertyListReader.h"

#include <algorithm>

namespace platform {

bool PropertyListItem::equals(std::string_view text) const {
  if (!isString() || count != text.size()) return false;
  if (kind == PropertyListKind::ASCIIString) return std::memcmp(bytes, text.data(), count) == 0;
  for (std::size_t i = 0; i < count; ++i) {
    if (bytes[2 * i] != 0 || bytes[2 * i + 1] != static_cast<std::uint8_t>(text[i])) return false;
  }
  return true;
}

std::optional<PropertyListReader> PropertyListReader::open(ByteView bytes) {
  PropertyListReader reader;
  if (bytes.size() < smallestLength) return std::nullopt;
  // The eighth byte is a minor version that every reader of the format leaves alone.
  if (std::memcmp(bytes.data(), "bplist0", 7) != 0) return std::nullopt;
  reader.bytes_ = bytes.data();
  if (!reader.readTrailer(bytes.size()) || !reader.hasValidOffsets()) return std::nullopt;
  return reader;
}

bool PropertyListReader::readTrailer(std::size_t length) {
  const std::size_t limit = length - trailerLength;
  const std::uint8_t* trailer = bytes_ + limit;
  offsetSize_ = trailer[6];
  referenceSize_ = trailer[7];
  count_ = number(trailer + 8, 8);
  top_ = number(trailer + 16, 8);
  const std::uint64_t table = number(trailer + 24, 8);
  if (offsetSize_ < 1 || offsetSize_ > 8 || referenceSize_ < 1 || referenceSize_ > 8) return false;
  if (table <= headerLength || table >= limit || top_ >= count_) return false;
  const std::uint64_t tableSize = limit - table;
  if (count_ > tableSize / offsetSize_ || count_ * offsetSize_ != tableSize) return false;
  table_ = bytes_ + table;
  return fits(table, offsetSize_) && fits(count_, referenceSize_);
}

// The largest of `count` numbers. Small archives, of which a tree holds one a node, have numbers of one or two bytes: plain
// loops that the compiler turns into vector instructions.
std::uint64_t PropertyListReader::largest(const std::uint8_t* at, std::size_t count, unsigned size) {
  if (size == 1) {
    std::uint8_t most = 0;
    for (std::size_t i = 0; i < count; ++i) most = std::max(most, at[i]);
    return most;
  }
  if (size == 2) {
    std::uint16_t most = 0;
    for (std::size_t i = 0; i < count; ++i) {
      most = std::max(most, static_cast<std::uint16_t>(at[2 * i] << 8 | at[2 * i + 1]));
    }
    return most;
  }
  std::uint64_t most = 0;
  for (std::size_t i = 0; i < count; ++i) most = std::max(most, number(at + i * size, size));
  return most;
}

bool PropertyListReader::hasValidOffsets() const {
  return largest(table_, count_, offsetSize_) < static_cast<std::uint64_t>(table_ - bytes_);
}

bool PropertyListReader::hasValidReferences(const PropertyListItem& container) const {
  const std::size_t pairs = container.kind == PropertyListKind::Dictionary ? 2 : 1;
  return largest(container.bytes, container.count * pairs, referenceSize_) < count_;
}

bool PropertyListReader::read(std::uint64_t object, PropertyListItem& item) const {
  const std::uint8_t* at = position(object);
  return at && readAt(at, item);
}

bool PropertyListReader::readAt(const std::uint8_t* at, PropertyListItem& item) const {
  const unsigned low = *at & 0x0f;
  const unsigned marker = *at++ >> 4;
  std::size_t unit = 1;
  switch (marker) {
    case 0x0: return readSimple(low, item);
    case 0x1: return readInteger(at, static_cast<std::size_t>(table_ - at), low, item);
    case 0x2: return readFloat(PropertyListKind::Real, low, at, item);
    case 0x3: return readFloat(PropertyListKind::Date, low, at, item);
    case 0x4: item.kind = PropertyListKind::Data; break;
    case 0x5: item.kind = PropertyListKind::ASCIIString; break;
    case 0x6: item.kind = PropertyListKind::UTF16String, unit = 2; break;
    case 0x8: return readUID(at, low, item);
    case 0xa: item.kind = PropertyListKind::Array, unit = referenceSize_; break;
    case 0xc: item.kind = PropertyListKind::Set, unit = referenceSize_; break;
    case 0xd: item.kind = PropertyListKind::Dictionary, unit = 2 * std::size_t{referenceSize_}; break;
    default: return false;
  }
  return readCounted(low, at, unit, item);
}

const std::uint8_t* PropertyListReader::readScalar(const std::uint8_t* at, PropertyListItem& item) const {
  const unsigned low = *at & 0x0f, marker = *at >> 4;
  const auto available = static_cast<std::size_t>(table_ - at - 1);
  if (marker == 0x5 && low <= available && low < 15) {
    item.kind = PropertyListKind::ASCIIString;
    item.bytes = at + 1;
    item.count = low;
    return at + 1 + low;
  }
  if (marker == 0x1) return readInteger(at + 1, available, low, item) ? at + 1 + (std::size_t{1} << low) : nullptr;
  const bool isString = marker == 0x5 || marker == 0x6;
  return isString && readAt(at, item) ? end(at, item) : nullptr;
}

const std::uint8_t* PropertyListReader::end(const std::uint8_t* at, const PropertyListItem& item) const {
  const std::size_t low = *at & 0x0f;
  switch (item.kind) {
    case PropertyListKind::Boolean: return at + 1;
    case PropertyListKind::Integer:
    case PropertyListKind::Real:
    case PropertyListKind::Date: return at + 1 + (std::size_t{1} << low);
    case PropertyListKind::UID: return at + 2 + low;
    case PropertyListKind::Data:
    case PropertyListKind::ASCIIString: return item.bytes + item.count;
    case PropertyListKind::UTF16String: return item.bytes + 2 * item.count;
    case PropertyListKind::Array:
    case PropertyListKind::Set: return item.bytes + referenceSize_ * item.count;
    case PropertyListKind::Dictionary: return item.bytes + 2 * referenceSize_ * item.count;
  }
  return at;
}

bool PropertyListReader::readSimple(unsigned low, PropertyListItem& item) const {
  if (low != 8 && low != 9) return false;
  item.kind = PropertyListKind::Boolean;
  item.value = low == 9;
  return true;
}

bool PropertyListReader::readInteger(const std::uint8_t* at, std::size_t available, unsigned low, PropertyListItem& item) const {
  if (low > 4) return false;
  const std::size_t size = std::size_t{1} << low;
  if (size > available) return false;
  item.kind = PropertyListKind::Integer;
  // Sixteen bytes are how unsigned numbers are written: the low half counts, and only eight bytes carry a sign.
  item.value = low == 4 ? number(at + 8, 8) : number(at, static_cast<unsigned>(size));
  item.isNegative = low == 3 && item.value >> 63 != 0;
  return true;
}

bool PropertyListReader::readFloat(PropertyListKind kind, unsigned low, const std::uint8_t* at, PropertyListItem& item) const {
  const bool isSingle = low == 2 && kind == PropertyListKind::Real;
  if (!isSingle && low != 3) return false;
  if (static_cast<std::size_t>(table_ - at) < (isSingle ? 4u : 8u)) return false;
  item.kind = kind;
  item.value = number(at, isSingle ? 4 : 8);
  if (isSingle) {
    const auto single = std::bit_cast<float>(static_cast<std::uint32_t>(item.value));
    item.value = std::bit_cast<std::uint64_t>(static_cast<double>(single));
  }
  return true;
}

bool PropertyListReader::readUID(const std::uint8_t* at, unsigned low, PropertyListItem& item) const {
  std::size_t size = low + 1;
  if (static_cast<std::size_t>(table_ - at) < size) return false;
  for (; size > 8; --size) {
    if (*at++ != 0) return false;
  }
  item.kind = PropertyListKind::UID;
  item.value = number(at, static_cast<unsigned>(size));
  return item.value >> 32 == 0;
}

bool PropertyListReader::readCount(const std::uint8_t*& at, std::size_t& count) const {
  const auto available = static_cast<std::size_t>(table_ - at);
  if (available == 0 || *at >> 4 != 0x1) return false;
  const unsigned width = *at & 0x0f;
  PropertyListItem number;
  if (!readInteger(at + 1, available - 1, width, number) || number.value >> 63 != 0) return false;
  count = number.value;
  at += 1 + (std::size_t{1} << width);
  return true;
}

bool PropertyListReader::readCounted(unsigned low, const std::uint8_t* at, std::size_t unit, PropertyListItem& item) const {
  item.count = low;
  if (low == 15 && !readCount(at, item.count)) return false;
  const auto available = static_cast<std::size_t>(table_ - at);
  item.bytes = at;
  return item.count <= available && item.count * unit <= available;
}

bool PropertyListReader::isText(std::uint64_t object, const PropertyListKey& text) const {
  const std::uint8_t* at = position(object);
  if (!at) return false;
  PropertyListItem item;
  return standsAt(at, text) || (read(object, item) && item.equals(text.text()));
}

bool PropertyListReader::lookUp(const PropertyListItem& dictionary, std::span<const PropertyListKey> keys,
                                std::span<std::uint64_t> values) const {
  std::fill(values.begin(), values.end(), absent);
  // Writers keep their order, so the key after the last one found is tried first.
  std::size_t next = 0;
  for (std::size_t i = 0; i < dictionary.count; ++i) {
    const std::uint64_t value = reference(dictionary, dictionary.count + i);
    const std::uint64_t key = reference(dictionary, i);
    const std::uint8_t* at = position(key);
    if (!at || value >= count_) return false;
    if (next < keys.size() && standsAt(at, keys[next])) {
      if (values[next] != absent) return false;
      values[next++] = value;
    } else if (!lookUpOne(at, value, keys, values, next)) {
      return false;
    }
  }
  return true;
}

bool PropertyListReader::lookUpOne(const std::uint8_t* key, std::uint64_t value, std::span<const PropertyListKey> keys,
                                   std::span<std::uint64_t> values, std::size_t& next) const {
  PropertyListItem item;
  const bool isShort = isShortText(key);
  if (!isShort && (!readAt(key, item) || !item.isString())) return false;
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!(isShort ? keys[i].standsAt(key) : item.equals(keys[i].text()))) continue;
    if (values[i] != absent) return false;
    values[i] = value;
    next = i + 1;
    break;
  }
  return true;
}

}  // namespace platform
