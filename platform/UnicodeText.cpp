#include "platform/UnicodeText.h"

#include <cstdint>
#include <cstring>

namespace platform {
namespace {

void appendUnit(Data& units, std::uint32_t unit) {
  units.push_back(static_cast<std::uint8_t>(unit >> 8));
  units.push_back(static_cast<std::uint8_t>(unit));
}

}  // namespace

void appendCodePoint(std::string& text, std::uint32_t point) {
  const auto put = [&](std::uint32_t byte) { text += static_cast<char>(byte); };
  const auto tail = [&](int shift) { put(0x80 | (point >> shift & 0x3f)); };
  if (point < 0x80) {
    put(point);
  } else if (point < 0x800) {
    put(0xc0 | point >> 6), tail(0);
  } else if (point < 0x10000) {
    put(0xe0 | point >> 12), tail(6), tail(0);
  } else {
    put(0xf0 | point >> 18), tail(12), tail(6), tail(0);
  }
}

std::optional<std::uint32_t> takeCodePoint(std::string_view& text) {
  const auto first = static_cast<std::uint8_t>(text[0]);
  const std::size_t length = first < 0x80 ? 1 : first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
  if (length == 0 || length > text.size()) return std::nullopt;
  std::uint32_t point = length == 1 ? first : first & (0x7fu >> length);
  for (std::size_t i = 1; i < length; ++i) {
    const auto byte = static_cast<std::uint8_t>(text[i]);
    if ((byte & 0xc0) != 0x80) return std::nullopt;
    point = point << 6 | (byte & 0x3f);
  }
  static constexpr std::uint32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (point < smallest[length] || point > 0x10ffff) return std::nullopt;
  text.remove_prefix(length);
  return point;
}

bool isASCII(std::string_view text) {
  std::uint64_t seen = 0;
  for (; text.size() >= sizeof seen; text.remove_prefix(sizeof seen)) {
    std::uint64_t eight;
    std::memcpy(&eight, text.data(), sizeof eight);
    seen |= eight;
  }
  for (const char c : text) seen |= static_cast<std::uint8_t>(c);
  return (seen & 0x8080808080808080u) == 0;
}

std::string textFromUTF16(ByteView units) {
  std::string text;
  text.reserve(units.size() / 2);
  const auto unit = [&](std::size_t at) -> std::uint32_t { return units[at] << 8 | units[at + 1]; };
  for (std::size_t at = 0; at + 1 < units.size(); at += 2) {
    std::uint32_t point = unit(at);
    const bool isHigh = point >= 0xd800 && point < 0xdc00;
    if (isHigh && at + 3 < units.size() && unit(at + 2) >= 0xdc00 && unit(at + 2) < 0xe000) {
      point = 0x10000 + ((point - 0xd800) << 10) + (unit(at + 2) - 0xdc00);
      at += 2;
    }
    appendCodePoint(text, point);
  }
  return text;
}

bool appendUTF16(std::string_view text, Data& units) {
  while (!text.empty()) {
    const auto point = takeCodePoint(text);
    if (!point) return false;
    if (*point < 0x10000) {
      appendUnit(units, *point);
    } else {
      appendUnit(units, 0xd800 + ((*point - 0x10000) >> 10));
      appendUnit(units, 0xdc00 + (*point & 0x3ff));
    }
  }
  return true;
}

bool isGeneralisedUTF8(std::string_view text) {
  while (!text.empty()) {
    if (!takeCodePoint(text)) return false;
  }
  return true;
}

}  // namespace platform
