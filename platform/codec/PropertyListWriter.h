// Writes a binary property list ("bplist00") in the form that the platform writes: scalars once each, containers never shared,
// every width the smallest of 1, 2, 4 and 8 bytes.
// Use: intern the scalars, then place every object in the order in which it shall stand, the top one first; a container is
// placed before its parts and refers to them once they are placed. Then write.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Object.h"

namespace platform {

/// What decides the length of a property list: each part of it adds up.
struct PropertyListSize {
  std::size_t objects = 0;
  std::size_t references = 0;
  std::size_t bytes = 0;  ///< Markers and contents, without references.

  /// Adds one data object of this length.
  void addData(std::size_t length);
  unsigned referenceSize() const;
  std::size_t tablePosition() const;
  std::size_t length() const;
};

/// Writes a number of so many bytes, the highest first, and answers where it ends.
inline std::uint8_t* putNumber(std::uint8_t* out, std::uint64_t value, unsigned size) {
  if (size == 1) {
    *out = static_cast<std::uint8_t>(value);
    return out + 1;
  }
  for (unsigned i = size; i-- > 0;) *out++ = static_cast<std::uint8_t>(value >> (8 * i));
  return out;
}

class PropertyListWriter {
 public:
  /// Has room for a record of an ordinary size.
  PropertyListWriter();

  using Scalar = std::uint32_t;     ///< An interned scalar: equal ones, by kind and bits, are the same.
  using Reference = std::uint32_t;  ///< A placed object's number.

  /// Empties it and keeps its storage.
  void clear();
  /// Keeps the scalars, so that all objects can be placed anew.
  void clearPlaces();

  /// Nothing for bytes that are no generalised UTF-8.
  std::optional<Scalar> string(std::string_view text);
  Scalar integer(Integer value);
  Scalar real(double value);
  Scalar boolean(bool value);
  Scalar data(ByteView bytes);
  std::size_t scalarCount() const { return scalars_.size(); }

  Reference place(Scalar scalar);
  Reference placeUID(std::uint32_t uid);
  Reference placeArray(std::size_t count);
  /// Its references are `count` keys, then `count` values.
  Reference placeDictionary(std::size_t count);
  /// Data whose content the caller puts in its place after `write`.
  Reference placeBlob(std::size_t length);
  void setReference(Reference container, std::size_t at, Reference to) { references_[places_[container].firstReference + at] = to; }

  const PropertyListSize& size() const { return size_; }
  /// Writes `size().length()` bytes. The place of each blob's content, in the order of `placeBlob`, is added to `blobs`.
  void write(std::uint8_t* out, std::vector<std::uint8_t*>& blobs) const;

  /// Of the interned scalars.
  std::uint64_t hash() const;
  /// Whether both would write the same bytes.
  bool isSameAs(const PropertyListWriter& other) const;

 private:
  friend class ArchiveForm;
  struct Span {
    std::size_t start = 0;
    std::size_t length = 0;
    friend bool operator==(const Span&, const Span&) = default;
  };
  struct Place {
    Span encoded;
    std::size_t firstReference = 0;
    std::size_t referenceCount = 0;
    std::size_t blobLength = 0;
    friend bool operator==(const Place&, const Place&) = default;
  };
  static constexpr std::uint32_t none = ~std::uint32_t{0};

  /// The bytes of an object ahead of its content: marker and count, or the whole of a number.
  class Head {
   public:
    Head() = default;
    Head(unsigned kind, std::size_t count);
    void put(unsigned byte) { bytes_[length_++] = static_cast<std::uint8_t>(byte); }
    void putNumber(std::uint64_t value, unsigned size);
    void putInteger(std::uint64_t value);
    ByteView bytes() const { return {bytes_.data(), length_}; }

   private:
    std::array<std::uint8_t, 24> bytes_;
    std::size_t length_ = 0;
  };

  Scalar intern(const Head& head, ByteView content);
  void append(ByteView bytes) { encoded_.append(reinterpret_cast<const char*>(bytes.data()), bytes.size()); }
  void growTable();
  std::size_t slotOf(ByteView head, ByteView content) const;
  ByteView bytesOf(Span span) const { return {reinterpret_cast<const std::uint8_t*>(encoded_.data()) + span.start, span.length}; }
  Reference addPlace(const Head& head, std::size_t referenceCount);
  Reference addPlace(Span encoded, std::size_t referenceCount);

  std::string encoded_;  // bytes; a string grows without being filled first
  std::vector<Span> scalars_;
  std::vector<std::uint8_t> heads_;  ///< How many bytes of each scalar are its head.
  std::vector<std::uint32_t> placeOfScalar_;
  std::vector<std::uint32_t> table_;  ///< Open addressing over `scalars_`; its size is a power of two.
  std::size_t scalarBytes_ = 0;       ///< Where `encoded_` ended before the first object was placed.
  std::vector<Place> places_;
  std::vector<Reference> references_;
  PropertyListSize size_;
};

}  // namespace platform
