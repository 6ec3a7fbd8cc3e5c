#include "platform/JSONText.h"

#include "platform/UnicodeText.h"

namespace platform {
namespace {

void appendUnit(std::string& json, std::uint32_t unit) {
  static constexpr char digits[] = "0123456789abcdef";
  json += "\\u";
  for (int shift = 12; shift >= 0; shift -= 4) json += digits[(unit >> shift) & 15];
}

void appendCharacter(std::string& json, std::uint32_t point) {
  switch (point) {
    case '"': json += "\\\""; return;
    case '\\': json += "\\\\"; return;
    case '\n': json += "\\n"; return;
    case '\r': json += "\\r"; return;
    case '\t': json += "\\t"; return;
    case '\b': json += "\\b"; return;
    case '\f': json += "\\f"; return;
  }
  if (point >= 0x20 && point < 0x7F) {
    json += static_cast<char>(point);
  } else if (point < 0x10000) {
    appendUnit(json, point);
  } else {
    appendUnit(json, 0xD800 + ((point - 0x10000) >> 10));
    appendUnit(json, 0xDC00 + ((point - 0x10000) & 0x3FF));
  }
}

}  // namespace

void appendJSONString(std::string& json, std::string_view text) {
  json += '"';
  while (!text.empty()) {
    if (const auto point = takeCodePoint(text)) {
      appendCharacter(json, *point);
    } else {
      appendUnit(json, 0xDC00u + static_cast<unsigned char>(text[0]));
      text.remove_prefix(1);
    }
  }
  json += '"';
}

std::string jsonObjectOfTexts(std::initializer_list<std::pair<std::string_view, std::string_view>> members) {
  std::string json = "{";
  for (const auto& [key, text] : members) {
    if (json.size() > 1) json += ',';
    appendJSONString(json, key);
    json += ':';
    appendJSONString(json, text);
  }
  return json += '}';
}

}  // namespace platform
