#include "platform/codec/PropertyListWriter.h"

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

std::uint64_t wordAt(const std::uint8_t* at) {
  std::uint64_t word;
  std::memcpy(&word, at, sizeof word);
  return word;
}

class Hash {
 public:
  void mix(std::uint64_t word) {
    hash_ = (hash_ ^ word) * 0xff51afd7ed558ccdu;
    hash_ ^= hash_ >> 32;
  }
  void mix(ByteView bytes) {
    mix(bytes.size());
    if (bytes.size() < 8) return mix(shortWord(bytes));
    for (std::size_t at = 0; at + 8 < bytes.size(); at += 8) mix(wordAt(bytes.data() + at));
    mix(wordAt(bytes.data() + bytes.size() - 8));
  }
  std::uint64_t value() const { return hash_; }

 private:
  static std::uint64_t shortWord(ByteView bytes) {
    std::uint64_t word = 0;
    for (const std::uint8_t byte : bytes) word = word << 8 | byte;
    return word;
  }

  std::uint64_t hash_ = 0x9e3779b97f4a7c15u;
};

ByteView bytesOfText(std::string_view text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }

}  // namespace

void PropertyListSize::addData(std::size_t length) {
  objects += 1;
  bytes += 1 + (length < 15 ? 0 : 1 + width(length)) + length;
}

unsigned PropertyListSize::referenceSize() const { return width(objects); }

std::size_t PropertyListSize::tablePosition() const { return HeaderLength + bytes + references * referenceSize(); }

std::size_t PropertyListSize::length() const { return tablePosition() + objects * width(tablePosition()) + TrailerLength; }

PropertyListWriter::PropertyListWriter() {
  constexpr std::size_t scalars = 64, places = 128, bytes = 1024;
  encoded_.reserve(bytes);
  scalars_.reserve(scalars);
  placeOfScalar_.reserve(scalars);
  table_.assign(2 * scalars, none);
  places_.reserve(places);
  references_.reserve(places);
}

void PropertyListWriter::clear() {
  encoded_.clear();
  scalars_.clear();
  heads_.clear();
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

PropertyListWriter::Head::Head(unsigned kind, std::size_t count) {
  put(kind << 4 | static_cast<unsigned>(std::min<std::size_t>(count, 15)));
  if (count >= 15) putInteger(count);
}

void PropertyListWriter::Head::putNumber(std::uint64_t value, unsigned size) {
  platform::putNumber(bytes_.data() + length_, value, size);
  length_ += size;
}

void PropertyListWriter::Head::putInteger(std::uint64_t value) {
  const unsigned size = width(value);
  put(0x10u | static_cast<unsigned>(std::countr_zero(size)));
  putNumber(value, size);
}

std::optional<PropertyListWriter::Scalar> PropertyListWriter::string(std::string_view text) {
  if (isASCII(text)) return intern(Head(0x5, text.size()), bytesOfText(text));
  Data units;
  if (!appendUTF16(text, units)) return std::nullopt;
  return intern(Head(0x6, units.size() / 2), units);
}

PropertyListWriter::Scalar PropertyListWriter::integer(Integer value) {
  Head head;
  if (value.isNegative) {
    head.put(0x13);
    head.putNumber(value.bits, 8);
  } else if (value.bits >> 63 != 0) {
    // Eight bytes would be read as a negative number.
    head.put(0x14);
    head.putNumber(0, 8);
    head.putNumber(value.bits, 8);
  } else {
    head.putInteger(value.bits);
  }
  return intern(head, {});
}

PropertyListWriter::Scalar PropertyListWriter::real(double value) {
  Head head;
  head.put(0x23);
  head.putNumber(std::bit_cast<std::uint64_t>(value), 8);
  return intern(head, {});
}

PropertyListWriter::Scalar PropertyListWriter::boolean(bool value) {
  Head head;
  head.put(value ? 0x09 : 0x08);
  return intern(head, {});
}

PropertyListWriter::Scalar PropertyListWriter::data(ByteView bytes) { return intern(Head(0x4, bytes.size()), bytes); }

// Where the scalar of that form is noted in the table, or the free place for it.
std::size_t PropertyListWriter::slotOf(ByteView head, ByteView content) const {
  Hash hash;
  hash.mix(head.front());
  hash.mix(content.empty() ? head : content);
  std::size_t at = hash.value() & (table_.size() - 1);
  for (; table_[at] != none; at = (at + 1) & (table_.size() - 1)) {
    const ByteView known = bytesOf(scalars_[table_[at]]);
    if (known.size() != head.size() + content.size() || !std::equal(head.begin(), head.end(), known.begin())) continue;
    if (content.empty() || std::memcmp(known.data() + head.size(), content.data(), content.size()) == 0) break;
  }
  return at;
}

PropertyListWriter::Scalar PropertyListWriter::intern(const Head& head, ByteView content) {
  if (2 * (scalars_.size() + 1) > table_.size()) growTable();
  Scalar& scalar = table_[slotOf(head.bytes(), content)];
  if (scalar != none) return scalar;
  scalar = static_cast<Scalar>(scalars_.size());
  heads_.push_back(static_cast<std::uint8_t>(head.bytes().size()));
  scalars_.push_back({encoded_.size(), head.bytes().size() + content.size()});
  placeOfScalar_.push_back(none);
  append(head.bytes());
  append(content);
  scalarBytes_ = encoded_.size();
  return scalar;
}

void PropertyListWriter::growTable() {
  table_.assign(2 * table_.size(), none);
  for (Scalar scalar = 0; scalar < scalars_.size(); ++scalar) {
    const ByteView bytes = bytesOf(scalars_[scalar]);
    table_[slotOf(bytes.first(heads_[scalar]), bytes.subspan(heads_[scalar]))] = scalar;
  }
}

PropertyListWriter::Reference PropertyListWriter::addPlace(const Head& head, std::size_t referenceCount) {
  const Span encoded{encoded_.size(), head.bytes().size()};
  append(head.bytes());
  return addPlace(encoded, referenceCount);
}

PropertyListWriter::Reference PropertyListWriter::addPlace(Span encoded, std::size_t referenceCount) {
  places_.push_back({encoded, references_.size(), referenceCount, 0});
  references_.resize(references_.size() + referenceCount);
  size_.objects += 1;
  size_.references += referenceCount;
  size_.bytes += encoded.length;
  return static_cast<Reference>(places_.size() - 1);
}

PropertyListWriter::Reference PropertyListWriter::place(Scalar scalar) {
  Reference& placed = placeOfScalar_[scalar];
  if (placed == none) placed = addPlace(scalars_[scalar], 0);
  return placed;
}

PropertyListWriter::Reference PropertyListWriter::placeUID(std::uint32_t uid) {
  const unsigned size = width(uid);
  Head head;
  head.put(0x80 | (size - 1));
  head.putNumber(uid, size);
  return addPlace(head, 0);
}

PropertyListWriter::Reference PropertyListWriter::placeArray(std::size_t count) { return addPlace(Head(0xa, count), count); }

PropertyListWriter::Reference PropertyListWriter::placeDictionary(std::size_t count) {
  return addPlace(Head(0xd, count), 2 * count);
}

PropertyListWriter::Reference PropertyListWriter::placeBlob(std::size_t length) {
  const Reference placed = addPlace(Head(0x4, length), 0);
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
    const Reference* references = references_.data() + place.firstReference;
    for (std::size_t i = 0; i < place.referenceCount; ++i) out = putNumber(out, references[i], referenceSize);
    if (place.blobLength > 0) blobs.push_back(out);
    out += place.blobLength;
  }
  std::memset(table, 0, TrailerLength);
  table[6] = static_cast<std::uint8_t>(offsetSize);
  table[7] = static_cast<std::uint8_t>(referenceSize);
  platform::putNumber(table + 8, places_.size(), 8);
  platform::putNumber(table + 24, tablePosition, 8);
}

std::uint64_t PropertyListWriter::hash() const {
  Hash hash;
  hash.mix(bytesOf({0, scalarBytes_}));
  return hash.value();
}

bool PropertyListWriter::isSameAs(const PropertyListWriter& other) const {
  return encoded_ == other.encoded_ && places_ == other.places_ && references_ == other.references_;
}

}  // namespace platform
