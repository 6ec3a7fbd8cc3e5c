// One object of the kinds that the two programs exchange, or nothing (nil): what a keyed archive holds, what a setting
// holds, what a message carries. A value: copies are independent, but for instances of the programs' own classes, which
// are shared and immutable.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/Bytes.h"
#include "platform/IndexPath.h"
#include "platform/URL.h"

namespace platform {

class Coding;
class Object;

/// The platform's null object, which is an object and not nil.
struct Null {};

/// A whole number from -2^63 to 2^64-1. `bits` is its two's complement; `isNegative` tells -1 from 2^64-1.
struct Integer {
  std::uint64_t bits = 0;
  bool isNegative = false;

  static constexpr Integer ofSigned(std::int64_t value) { return {static_cast<std::uint64_t>(value), value < 0}; }
  static constexpr Integer ofUnsigned(std::uint64_t value) { return {value, false}; }

  /// The value modulo 2^64, as the platform's number objects answer.
  constexpr std::int64_t signedValue() const { return static_cast<std::int64_t>(bits); }
  constexpr std::uint64_t unsignedValue() const { return bits; }

  friend constexpr bool operator==(const Integer&, const Integer&) = default;
};

/// Seconds since 2001-01-01 00:00:00 UTC.
struct Date {
  double secondsSinceReferenceDate = 0;
};

struct UUID {
  std::array<std::uint8_t, 16> bytes{};
};

using Array = std::vector<Object>;

struct Set {
  std::vector<Object> members;
};

struct Dictionary {
  std::vector<std::pair<Object, Object>> entries;

  /// The value under a string key, or null. The first wins where a key stands twice.
  const Object* objectForKey(std::string_view key) const;
  /// Appends without looking for an older entry of the key.
  void add(std::string_view key, Object value);
};

/// The platform's error record. An absent `userInfo` and an empty one are the same on the wire.
struct Error {
  std::string domain;
  std::int64_t code = 0;
  Dictionary userInfo;

  /// The text under a key of the user information, or null when there is none or it is no string.
  const std::string* textForKey(std::string_view key) const;
  /// Replaces the key's value, or appends it.
  void setText(std::string_view key, std::string_view text);
};

/// The platform's keys of an error's texts; both programs and the JSON of a failed send use these values.
inline constexpr std::string_view LocalizedDescriptionKey = "NSLocalizedDescription";
inline constexpr std::string_view LocalizedRecoverySuggestionErrorKey = "NSLocalizedRecoverySuggestion";

class Object {
 public:
  using Value = std::variant<std::monostate, Null, bool, Integer, double, std::string, Data, Date, UUID, Array, Set, Dictionary,
                             URL, Error, IndexPath, std::shared_ptr<const Coding>>;

  Object() = default;  ///< nil
  Object(Null value) : value_(value) {}
  Object(bool value) : value_(value) {}
  Object(Integer value) : value_(value) {}
  Object(double value) : value_(value) {}
  /// UTF-8; a lone surrogate of the wire stands as its three-byte generalised form (WTF-8), so nothing is lost.
  Object(std::string value) : value_(std::move(value)) {}
  Object(std::string_view value) : value_(std::string(value)) {}
  Object(const char* value) : value_(std::string(value)) {}
  Object(Data value) : value_(std::move(value)) {}
  Object(Date value) : value_(value) {}
  Object(UUID value) : value_(value) {}
  Object(Array value) : value_(std::move(value)) {}
  Object(Set value) : value_(std::move(value)) {}
  Object(Dictionary value) : value_(std::move(value)) {}
  Object(URL value) : value_(std::move(value)) {}
  Object(Error value) : value_(std::move(value)) {}
  Object(IndexPath value) : value_(std::move(value)) {}
  /// A null pointer is nil.
  Object(std::shared_ptr<const Coding> value) {
    if (value) value_ = std::move(value);
  }

  bool isNil() const { return std::holds_alternative<std::monostate>(value_); }

  /// The value of that kind, or null when the object is of another kind.
  template <typename Kind>
  const Kind* get() const {
    return std::get_if<Kind>(&value_);
  }

  /// The instance when it is of that class of ours, else null.
  template <typename Class>
  std::shared_ptr<const Class> instance() const {
    const auto* coded = get<std::shared_ptr<const Coding>>();
    return coded ? std::dynamic_pointer_cast<const Class>(*coded) : nullptr;
  }

  const Value& value() const { return value_; }

 private:
  Value value_;
};

}  // namespace platform
