#include "browsers/MenuText.h"

#include <glib.h>

#include "platform/linux/OwnedGLib.h"

namespace browsers {

using platform::native::OwnedText;

namespace {

// Marks, embeddings, overrides and isolates (Unicode Standard Annex 9), which would turn the rest of the menu's line too.
bool isDirectionMark(gunichar character) {
  return character == 0x061C || character == 0x200E || character == 0x200F || (character >= 0x202A && character <= 0x202E) ||
         (character >= 0x2066 && character <= 0x2069);
}

bool isLineBreakOrControl(gunichar character) { return g_unichar_iscntrl(character) || character == 0x2028 || character == 0x2029; }

std::string shortened(const std::string& text) {
  const glong length = g_utf8_strlen(text.data(), static_cast<gssize>(text.size()));
  if (static_cast<std::size_t>(length) <= longestLabel) return text;
  constexpr glong head = longestLabel / 2;
  constexpr glong tail = longestLabel - head - 1;
  const char* end = g_utf8_offset_to_pointer(text.data(), length - tail);
  return text.substr(0, static_cast<std::size_t>(g_utf8_offset_to_pointer(text.data(), head) - text.data())) + "\u2026" + end;
}

}  // namespace

std::string harmlessText(std::string_view text) {
  const OwnedText valid(g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
  std::string shown;
  for (const char* next = valid.get(); *next != '\0'; next = g_utf8_next_char(next)) {
    const gunichar character = g_utf8_get_char(next);
    if (isLineBreakOrControl(character)) {
      shown += ' ';
    } else if (!isDirectionMark(character)) {
      shown.append(next, static_cast<std::size_t>(g_utf8_next_char(next) - next));
    }
  }
  return shown.empty() ? "(no name)" : shortened(shown);
}

std::string menuLabel(std::string_view title) {
  std::string label;
  for (const char character : harmlessText(title)) label.append(character == '_' ? 2 : 1, character);
  return label;
}

std::string invisibleNumber(std::size_t number) {
  std::string digits;
  for (++number; number > 0; number /= 2) digits += number % 2 == 0 ? "\u200C" : "\u200B";
  return digits;
}

}  // namespace browsers
