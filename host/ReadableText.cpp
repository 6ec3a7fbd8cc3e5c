#include "host/ReadableText.h"

#include <glib.h>

#include <array>
#include <cstdint>

namespace {

/// 0x80 to 0x9F; above them the charset is Latin-1, whose characters are numbered like its bytes.
constexpr std::array<char16_t, 32> windows1252{
    0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
    0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

void appendByte(std::string& out, std::uint8_t byte) {
  const gunichar character = byte < 0xA0 ? windows1252[byte - 0x80] : byte;
  char text[6];
  out.append(text, static_cast<std::size_t>(g_unichar_to_utf8(character, text)));
}

}  // namespace

std::string readableText(std::string_view bytes) {
  std::string text;
  while (!bytes.empty()) {
    const char* firstBad = nullptr;
    const bool isUTF8 = g_utf8_validate_len(bytes.data(), bytes.size(), &firstBad);
    text.append(bytes.data(), firstBad);
    if (isUTF8) break;
    bytes.remove_prefix(static_cast<std::size_t>(firstBad - bytes.data()));
    // A NUL, which the validation refuses too, is a character like any other.
    if (bytes[0] == '\0')
      text.push_back('\0');
    else
      appendByte(text, static_cast<std::uint8_t>(bytes[0]));
    bytes.remove_prefix(1);
  }
  return text;
}
