// The one writer of our programs' JSON (RFC 8259): values one after the other, on one line, without spaces.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace platform {

class JSONWriter {
 public:
  /// Appends one value, with all that is in it, to `text`.
  explicit JSONWriter(std::string& text) : text_(text), start_(text.size()) {}

  void null() { put("null"); }
  void flag(bool value) { put(value ? "true" : "false"); }
  void number(std::int64_t value) { put(std::to_string(value)); }
  /// With a fraction or an exponent always; null for what is no number.
  void number(double value);
  /// As `appendJSONString` (platform/JSONText.h).
  void string(std::string_view value);
  /// A value that is JSON already.
  void json(std::string_view value) { put(value); }

  void beginArray() { put("["); }
  void endArray() { text_ += ']'; }
  void beginObject() { put("{"); }
  /// Ahead of each value of an object.
  void key(std::string_view name);
  void endObject() { text_ += '}'; }

 private:
  void separate();
  void put(std::string_view value) {
    separate();
    text_ += value;
  }

  std::string& text_;
  const std::size_t start_;
};

}  // namespace platform
