// JSON text (RFC 8259) to and from values, for the lines that the programs exchange with people and scripts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace platform {

class JSON {
 public:
  using ArrayValue = std::vector<JSON>;
  using ObjectValue = std::vector<std::pair<std::string, JSON>>;  ///< In the order given; of equal keys the last counts.

  JSON() = default;  ///< null
  JSON(std::nullptr_t) {}
  JSON(bool value) : value_(value) {}
  JSON(int value) : value_(static_cast<std::int64_t>(value)) {}
  JSON(std::int64_t value) : value_(value) {}
  JSON(std::size_t value) : value_(static_cast<std::int64_t>(value)) {}
  JSON(double value) : value_(value) {}
  JSON(std::string value) : value_(std::move(value)) {}
  JSON(std::string_view value) : value_(std::string(value)) {}
  JSON(const char* value) : value_(std::string(value)) {}
  JSON(ArrayValue value) : value_(std::move(value)) {}
  JSON(ObjectValue value) : value_(std::move(value)) {}

  bool isNull() const { return std::holds_alternative<std::monostate>(value_); }
  /// The value of that kind, or null: bool, std::int64_t, double, std::string, ArrayValue, ObjectValue.
  template <typename Kind>
  const Kind* get() const {
    return std::get_if<Kind>(&value_);
  }
  /// The member of an object, or null when there is none or this is no object.
  const JSON* member(std::string_view key) const;
  /// The string member of an object, or null.
  const std::string* stringMember(std::string_view key) const;
  /// Appends a member; turns null into an object first.
  void set(std::string_view key, JSON value);

  /// One line, no spaces, members as they stand, strings as `appendJSONString` writes them (platform/JSONText.h).
  std::string text() const;
  /// The value of one text with nothing but white space around it, or nothing. Nesting is bounded to 512 (a tree given
  /// as JSON may be as deep as `maximumDepth` asks). Lone surrogates become bytes again (U+DC80 to U+DCFF) or WTF-8.
  /// `keepsSurrogates` makes them WTF-8 all, for texts in which no byte stands outside UTF-8.
  static std::optional<JSON> parse(std::string_view text, std::size_t maximumDepth = 512, bool keepsSurrogates = false);

 private:
  std::variant<std::monostate, bool, std::int64_t, double, std::string, ArrayValue, ObjectValue> value_;
};

}  // namespace platform
