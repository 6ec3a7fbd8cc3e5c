#include "platform/PropertyListWriter.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "platform/UnicodeText.h"

namespace platform {
namespace {

constexpr std::size_t HeaderLength = 8;
constexpr std::size_t TrailerLength = 32;

// The smallest width of the format that holds a value: 1, 2, 4 or 8 bytes.
unsigned width(std::uint64_t value) { return value >> 8 == 0 ? 1 : value >> 16 == 0 ? 2 : value >> 32 == 0 ? 4 : 8; }

std::uint8_t* putNumber(std::uint8_t* out, std::uint64_t value, unsigned size) {
  for (unsigned i = size; i-- > 0;) *out++ = static_cast<std::uint8_t>(value >> (8 * i));
  return out;
}

std::uint64_t hashOf(ByteView bytes) {
  std::uint64_t hash = 0x9e3779b97f4a7c15u ^ bytes.size();
  const auto mix = [&](std::uint64_t word) {
    hash = (hash ^ word) * 0xff51afd7ed558ccdu;
    hash ^= hash >> 32;
  };
  for (; bytes.size() >= 8; bytes = bytes.subspan(8)) {
    std::uint64_t word;
    std::memcpy(&word, bytes.data(), 8);
    mix(word);
  }
  std::uint64_t rest = 0;
  if (!bytes.empty()) std::memcpy(&rest, bytes.data(), bytes.size());
  mix(rest);
  return hash;
}

}  // namespace

void PropertyListSize::addData(std::size_t length) {
  objects += 1;
  bytes += 1 + (length < 15 ? 0 : 1 + width(length)) + length;
}

unsigned PropertyListSize::referenceSize() const { return width(objects); }

std::size_t PropertyListSize::tablePosition() const { return HeaderLength + bytes + references * referenceSize(); }

std::size_t PropertyListSize::length() const {
  return tablePosition() + objects * width(tablePosition()) + TrailerLength;
}

void PropertyListWriter::clear() {
  encoded_.clear();
  scalars_.clear();
  placeOfScalar_.clear();
  std::fill(table_.begin(), table_.end(), none);
  scalarBytes_ = 0;
  clearPlaces();
}

void PropertyListWriter::clearPlaces() {
  if (!places_.empty()) encoded_.resize(scalarBytes_);
  std::fill(placeOfScalar_.begin(), placeOfScalar_.end(), none);
  places_.clear();
  references_.clear();
  size_ = {};
}

void PropertyListWriter::putNumber(std::uint64_t value, unsigned size) {
  const std::size_t end = encoded_.size();
  encoded_.resize(end + size);
  platform::putNumber(encoded_.data() + end, value, size);
}

void PropertyListWriter::putInteger(std::uint64_t value) {
  const unsigned size = width(value);
  encoded_.push_back(static_cast<std::uint8_t>(0x10 | std::countr_zero(size)));
  putNumber(value, size);
}

void PropertyListWriter::putMarker(unsigned kind, std::size_t count) {
  encoded_.push_back(static_cast<std::uint8_t>(kind << 4 | std::min<std::size_t>(count, 15)));
  if (count >= 15) putInteger(count);
}

std::optional<PropertyListWriter::Scalar> PropertyListWriter::string(std::string_view text) {
  const std::size_t start = encoded_.size();
  if (isASCII(text)) {
    putMarker(0x5, text.size());
    encoded_.insert(encoded_.end(), text.begin(), text.end());
    return intern(start);
  }
  Data units;
  if (!appendUTF16(text, units)) return std::nullopt;
  putMarker(0x6, units.size() / 2);
  encoded_.insert(encoded_.end(), units.begin(), units.end());
  return intern(start);
}

PropertyListWriter::Scalar PropertyListWriter::integer(Integer value) {
  const std::size_t start = encoded_.size();
  if (value.isNegative) {
    encoded_.push_back(0x13);
    putNumber(value.bits, 8);
  } else if (value.bits >> 63 != 0) {
    // Eight bytes would be read as a negative number.
    encoded_.push_back(0x14);
    putNumber(0, 8);
    putNumber(value.bits, 8);
  } else {
    putInteger(value.bits);
  }
  return intern(start);
}

PropertyListWriter::Scalar PropertyListWriter::real(double value) {
  const std::size_t start = encoded_.size();
  encoded_.push_back(0x23);
  putNumber(std::bit_cast<std::uint64_t>(value), 8);
  return intern(start);
}

PropertyListWriter::Scalar PropertyListWriter::boolean(bool value) {
  const std::size_t start = encoded_.size();
  encoded_.push_back(value ? 0x09 : 0x08);
  return intern(start);
}

PropertyListWriter::Scalar PropertyListWriter::data(ByteView bytes) {
  const std::size_t start = encoded_.size();
  putMarker(0x4, bytes.size());
  encoded_.insert(encoded_.end(), bytes.begin(), bytes.end());
  return intern(start);
}

PropertyListWriter::Scalar PropertyListWriter::intern(std::size_t start) {
  if (2 * (scalars_.size() + 1) > table_.size()) growTable();
  const Span span{start, encoded_.size() - start};
  const auto bytes = bytesOf(span);
  std::size_t at = hashOf(bytes) & (table_.size() - 1);
  for (; table_[at] != none; at = (at + 1) & (table_.size() - 1)) {
    const auto known = bytesOf(scalars_[table_[at]]);
    if (!std::equal(known.begin(), known.end(), bytes.begin(), bytes.end())) continue;
    encoded_.resize(start);
    return table_[at];
  }
  table_[at] = static_cast<std::uint32_t>(scalars_.size());
  scalars_.push_back(span);
  placeOfScalar_.push_back(none);
  scalarBytes_ = encoded_.size();
  return table_[at];
}

void PropertyListWriter::growTable() {
  table_.assign(std::max<std::size_t>(128, 2 * table_.size()), none);
  for (std::uint32_t scalar = 0; scalar < scalars_.size(); ++scalar) {
    std::size_t at = hashOf(bytesOf(scalars_[scalar])) & (table_.size() - 1);
    while (table_[at] != none) at = (at + 1) & (table_.size() - 1);
    table_[at] = scalar;
  }
}

PropertyListWriter::Reference PropertyListWriter::addPlace(std::size_t start, std::size_t referenceCount) {
  const Span encoded{start, encoded_.size() - start};
  places_.push_back({encoded, references_.size(), referenceCount, 0});
  references_.resize(references_.size() + referenceCount);
  size_.objects += 1;
  size_.references += referenceCount;
  size_.bytes += encoded.length;
  return static_cast<Reference>(places_.size() - 1);
}

PropertyListWriter::Reference PropertyListWriter::place(Scalar scalar) {
  if (placeOfScalar_[scalar] != none) return placeOfScalar_[scalar];
  const Span encoded = scalars_[scalar];
  const Reference placed = addPlace(encoded_.size(), 0);
  places_[placed].encoded = encoded;
  size_.bytes += encoded.length;
  return placeOfScalar_[scalar] = placed;
}

PropertyListWriter::Reference PropertyListWriter::placeUID(std::uint32_t uid) {
  const std::size_t start = encoded_.size();
  const unsigned size = width(uid);
  encoded_.push_back(static_cast<std::uint8_t>(0x80 | (size - 1)));
  putNumber(uid, size);
  return addPlace(start, 0);
}

PropertyListWriter::Reference PropertyListWriter::placeArray(std::size_t count) {
  const std::size_t start = encoded_.size();
  putMarker(0xa, count);
  return addPlace(start, count);
}

PropertyListWriter::Reference PropertyListWriter::placeDictionary(std::size_t count) {
  const std::size_t start = encoded_.size();
  putMarker(0xd, count);
  return addPlace(start, 2 * count);
}

PropertyListWriter::Reference PropertyListWriter::placeBlob(std::size_t length) {
  const std::size_t start = encoded_.size();
  putMarker(0x4, length);
  const Reference placed = addPlace(start, 0);
  places_[placed].blobLength = length;
  size_.bytes += length;
  return placed;
}

void PropertyListWriter::write(std::uint8_t* out, std::vector<std::uint8_t*>& blobs) const {
  static constexpr char magic[] = "bplist00";
  const std::uint8_t* const start = out;
  const unsigned referenceSize = size_.referenceSize();
  const std::size_t tablePosition = size_.tablePosition();
  const unsigned offsetSize = width(tablePosition);
  std::uint8_t* table = out + tablePosition;
  std::memcpy(out, magic, HeaderLength);
  out += HeaderLength;
  for (const Place& place : places_) {
    table = platform::putNumber(table, static_cast<std::uint64_t>(out - start), offsetSize);
    std::memcpy(out, encoded_.data() + place.encoded.start, place.encoded.length);
    out += place.encoded.length;
    for (std::size_t i = 0; i < place.referenceCount; ++i) {
      out = platform::putNumber(out, references_[place.firstReference + i], referenceSize);
    }
    if (place.blobLength > 0) blobs.push_back(out);
    out += place.blobLength;
  }
  std::memset(table, 0, TrailerLength);
  table[6] = static_cast<std::uint8_t>(offsetSize);
  table[7] = static_cast<std::uint8_t>(referenceSize);
  platform::putNumber(table + 8, places_.size(), 8);
  platform::putNumber(table + 24, tablePosition, 8);
}

std::uint64_t PropertyListWriter::hash() const { return hashOf({encoded_.data(), scalarBytes_}); }

bool PropertyListWriter::isSameAs(const PropertyListWriter& other) const {
  return encoded_ == other.encoded_ && places_ == other.places_ && references_ == other.references_;
}

}  // namespace platform
