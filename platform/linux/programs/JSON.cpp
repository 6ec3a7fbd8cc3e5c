#include "platform/linux/programs/JSON.h"

#include <algorithm>
#include <charconv>

#include "platform/UnicodeText.h"
#include "platform/linux/programs/JSONWriter.h"

namespace platform {
namespace {

void write(JSONWriter& writer, const JSON& value) {
  if (const auto* flag = value.get<bool>()) {
    writer.flag(*flag);
  } else if (const auto* number = value.get<std::int64_t>()) {
    writer.number(*number);
  } else if (const auto* real = value.get<double>()) {
    writer.number(*real);
  } else if (const auto* string = value.get<std::string>()) {
    writer.string(*string);
  } else if (const auto* array = value.get<JSON::ArrayValue>()) {
    writer.beginArray();
    for (const JSON& element : *array) write(writer, element);
    writer.endArray();
  } else if (const auto* object = value.get<JSON::ObjectValue>()) {
    writer.beginObject();
    for (const auto& [key, member] : *object) {
      writer.key(key);
      write(writer, member);
    }
    writer.endObject();
  } else {
    writer.null();
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

std::string JSON::text() const {
  std::string text;
  JSONWriter writer(text);
  write(writer, *this);
  return text;
}

std::optional<JSON> JSON::parse(std::string_view text, std::size_t maximumDepth, bool keepsSurrogates) {
  return Parser(text, maximumDepth, keepsSurrogates).whole();
}

}  // namespace platform
