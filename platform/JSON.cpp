#include "platform/JSON.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace platform {
namespace {

void appendEscape(std::string& text, std::uint32_t unit) {
  static constexpr char digits[] = "0123456789abcdef";
  text += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) text += digits[(unit >> shift) & 15];
}

// The code point at `at` and its length in bytes, surrogates included; a length of 0 for a byte that starts none.
std::pair<std::uint32_t, std::size_t> codePointAt(std::string_view bytes, std::size_t at) {
  const auto byte = [&](std::size_t i) -> std::uint32_t { return static_cast<unsigned char>(bytes[i]); };
  const std::uint32_t first = byte(at);
  const std::size_t length = first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
  if (length == 0 || at + length > bytes.size()) return {0, 0};
  if (length == 1) return {first, 1};
  std::uint32_t point = first & (0x7Fu >> length);
  for (std::size_t i = at + 1; i < at + length; ++i) {
    if ((byte(i) & 0xC0) != 0x80) return {0, 0};
    point = point << 6 | (byte(i) & 0x3F);
  }
  static constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (point < smallest[length] || point > 0x10FFFF) return {0, 0};
  return {point, length};
}

void appendCodePoint(std::string& bytes, std::uint32_t point) {
  const auto tail = [&](int shift) { bytes += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
  if (point < 0x80) {
    bytes += static_cast<char>(point);
  } else if (point < 0x800) {
    bytes += static_cast<char>(0xC0 | point >> 6);
    tail(0);
  } else if (point < 0x10000) {
    bytes += static_cast<char>(0xE0 | point >> 12);
    tail(6), tail(0);
  } else {
    bytes += static_cast<char>(0xF0 | point >> 18);
    tail(12), tail(6), tail(0);
  }
}

void appendCharacter(std::string& text, std::uint32_t point) {
  switch (point) {
    case '"': text += "\\\""; return;
    case '\\': text += "\\\\"; return;
    case '\n': text += "\\n"; return;
    case '\r': text += "\\r"; return;
    case '\t': text += "\\t"; return;
    case '\b': text += "\\b"; return;
    case '\f': text += "\\f"; return;
  }
  if (point >= 0x20 && point < 0x7F) {
    text += static_cast<char>(point);
  } else if (point < 0x10000) {
    appendEscape(text, point);
  } else {
    appendEscape(text, 0xD800 + ((point - 0x10000) >> 10));
    appendEscape(text, 0xDC00 + ((point - 0x10000) & 0x3FF));
  }
}

void appendString(std::string& text, std::string_view bytes) {
  text += '"';
  for (std::size_t at = 0; at < bytes.size();) {
    const auto [point, length] = codePointAt(bytes, at);
    if (length == 0) {
      appendEscape(text, 0xDC00 + static_cast<unsigned char>(bytes[at]));
    } else {
      appendCharacter(text, point);
    }
    at += std::max<std::size_t>(length, 1);
  }
  text += '"';
}

void appendNumber(std::string& text, double number) {
  if (!std::isfinite(number)) {
    text += "null";
    return;
  }
  char buffer[32];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, number).ptr;
  text.append(buffer, end);
  if (std::string_view(buffer, end - buffer).find_first_of(".en") == std::string_view::npos) text += ".0";
}

void append(std::string& text, const JSON& value, bool isSorted) {
  if (const auto* flag = value.get<bool>()) {
    text += *flag ? "true" : "false";
  } else if (const auto* number = value.get<std::int64_t>()) {
    text += std::to_string(*number);
  } else if (const auto* real = value.get<double>()) {
    appendNumber(text, *real);
  } else if (const auto* string = value.get<std::string>()) {
    appendString(text, *string);
  } else if (const auto* array = value.get<JSON::ArrayValue>()) {
    text += '[';
    for (std::size_t i = 0; i < array->size(); ++i) {
      if (i > 0) text += ',';
      append(text, (*array)[i], isSorted);
    }
    text += ']';
  } else if (const auto* object = value.get<JSON::ObjectValue>()) {
    std::vector<const JSON::ObjectValue::value_type*> members;
    for (const auto& member : *object) members.push_back(&member);
    if (isSorted) {
      std::stable_sort(members.begin(), members.end(), [](auto* a, auto* b) { return a->first < b->first; });
    }
    text += '{';
    for (std::size_t i = 0; i < members.size(); ++i) {
      if (i > 0) text += ',';
      appendString(text, members[i]->first);
      text += ':';
      append(text, members[i]->second, isSorted);
    }
    text += '}';
  } else {
    text += "null";
  }
}

class Parser {
 public:
  Parser(std::string_view text, std::size_t maximumDepth, bool keepsSurrogates)
      : text_(text), depthLeft_(maximumDepth), keepsSurrogates_(keepsSurrogates) {}

  std::optional<JSON> whole() {
    auto value = parseValue();
    skipSpace();
    return at_ == text_.size() ? std::move(value) : std::nullopt;
  }

 private:
  void skipSpace() { at_ = std::min(text_.find_first_not_of(" \t\r\n", at_), text_.size()); }

  bool take(std::string_view expected) {
    if (!text_.substr(at_).starts_with(expected)) return false;
    at_ += expected.size();
    return true;
  }

  std::optional<JSON> parseValue() {
    skipSpace();
    if (at_ == text_.size()) return std::nullopt;
    switch (text_[at_]) {
      case '{': return nested(&Parser::parseObject);
      case '[': return nested(&Parser::parseArray);
      case '"': {
        auto string = parseString();
        if (!string) return std::nullopt;
        return JSON(*std::move(string));
      }
      default: break;
    }
    if (take("null")) return JSON();
    if (take("true")) return JSON(true);
    if (take("false")) return JSON(false);
    return parseNumber();
  }

  std::optional<JSON> nested(std::optional<JSON> (Parser::*parse)()) {
    if (depthLeft_ == 0) return std::nullopt;
    --depthLeft_;
    ++at_;
    auto value = (this->*parse)();
    ++depthLeft_;
    return value;
  }

  std::optional<JSON> parseArray() {
    JSON::ArrayValue elements;
    skipSpace();
    if (take("]")) return JSON(std::move(elements));
    while (true) {
      auto element = parseValue();
      if (!element) return std::nullopt;
      elements.push_back(*std::move(element));
      skipSpace();
      if (take("]")) return JSON(std::move(elements));
      if (!take(",")) return std::nullopt;
    }
  }

  std::optional<JSON> parseObject() {
    JSON::ObjectValue members;
    skipSpace();
    if (take("}")) return JSON(std::move(members));
    while (true) {
      skipSpace();
      auto key = parseString();
      skipSpace();
      if (!key || !take(":")) return std::nullopt;
      auto value = parseValue();
      if (!value) return std::nullopt;
      members.emplace_back(*std::move(key), *std::move(value));
      skipSpace();
      if (take("}")) return JSON(std::move(members));
      if (!take(",")) return std::nullopt;
    }
  }

  std::optional<std::string> parseString() {
    if (!take("\"")) return std::nullopt;
    std::string bytes;
    while (at_ < text_.size()) {
      const char c = text_[at_++];
      if (c == '"') return bytes;
      if (static_cast<unsigned char>(c) < 0x20) return std::nullopt;
      if (c != '\\') {
        bytes += c;
      } else if (!parseEscape(bytes)) {
        return std::nullopt;
      }
    }
    return std::nullopt;
  }

  bool parseEscape(std::string& bytes) {
    if (at_ == text_.size()) return false;
    static constexpr std::string_view letters = "\"\\/bfnrt";
    static constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const char letter = text_[at_++];
    if (const auto which = letters.find(letter); which != std::string_view::npos) {
      bytes += meanings[which];
      return true;
    }
    if (letter != 'u') return false;
    const auto unit = parseUnit();
    if (!unit) return false;
    appendUnit(bytes, *unit);
    return true;
  }

  std::optional<std::uint32_t> parseUnit() {
    if (text_.size() - at_ < 4) return std::nullopt;
    std::uint32_t unit = 0;
    const char* end = text_.data() + at_ + 4;
    if (std::from_chars(text_.data() + at_, end, unit, 16).ptr != end) return std::nullopt;
    at_ += 4;
    return unit;
  }

  void appendUnit(std::string& bytes, std::uint32_t unit) {
    if (!keepsSurrogates_ && unit >= 0xDC80 && unit <= 0xDCFF) {
      bytes += static_cast<char>(unit - 0xDC00);
      return;
    }
    const std::size_t before = at_;
    if (unit >= 0xD800 && unit < 0xDC00 && take("\\u")) {
      const auto low = parseUnit();
      if (low && *low >= 0xDC00 && *low < 0xE000) {
        appendCodePoint(bytes, 0x10000 + ((unit - 0xD800) << 10) + (*low - 0xDC00));
        return;
      }
      at_ = before;
    }
    appendCodePoint(bytes, unit);
  }

  std::optional<JSON> parseNumber() {
    const std::size_t start = at_;
    take("-");
    if (!take("0") && !takeDigits()) return std::nullopt;
    const std::size_t wholePartEnd = at_;
    if (!takeFraction() || !takeExponent()) return std::nullopt;
    const char* const first = text_.data() + start;
    const char* const last = text_.data() + at_;
    std::int64_t whole = 0;
    if (at_ == wholePartEnd && std::from_chars(first, last, whole).ec == std::errc()) return JSON(whole);
    double real = 0;
    return std::from_chars(first, last, real).ec == std::errc() ? std::optional<JSON>(real) : std::nullopt;
  }

  bool takeDigits() {
    const std::size_t start = at_;
    at_ = std::min(text_.find_first_not_of("0123456789", at_), text_.size());
    return at_ > start;
  }

  bool takeFraction() { return !take(".") || takeDigits(); }

  bool takeExponent() {
    if (!take("e") && !take("E")) return true;
    if (!take("+")) take("-");
    return takeDigits();
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t depthLeft_;
  bool keepsSurrogates_;
};

}  // namespace

const JSON* JSON::member(std::string_view key) const {
  const auto* object = get<ObjectValue>();
  if (!object) return nullptr;
  const auto found = std::find_if(object->rbegin(), object->rend(), [&](const auto& member) { return member.first == key; });
  return found == object->rend() ? nullptr : &found->second;
}

const std::string* JSON::stringMember(std::string_view key) const {
  const JSON* value = member(key);
  return value ? value->get<std::string>() : nullptr;
}

void JSON::set(std::string_view key, JSON value) {
  if (isNull()) value_ = ObjectValue();
  if (auto* object = std::get_if<ObjectValue>(&value_)) object->emplace_back(std::string(key), std::move(value));
}

std::string JSON::text(bool isSorted) const {
  std::string text;
  append(text, *this, isSorted);
  return text;
}

std::optional<JSON> JSON::parse(std::string_view text, std::size_t maximumDepth, bool keepsSurrogates) {
  return Parser(text, maximumDepth, keepsSurrogates).whole();
}

}  // namespace platform
