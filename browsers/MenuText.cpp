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

// Marks without a width count as well: there is no end to how many a stranger puts on one letter.
std::size_t columns(const char* character) { return g_unichar_iswide(g_utf8_get_char(character)) ? 2 : 1; }

bool isPartOfEarlier(const char* character) { return g_unichar_iszerowidth(g_utf8_get_char(character)); }

const char* endOfHead(const std::string& text, std::size_t room) {
  const char* end = text.c_str();
  for (std::size_t left = room; left >= columns(end); end = g_utf8_next_char(end)) left -= columns(end);
  const char* whole = end;
  while (whole > text.c_str() && isPartOfEarlier(whole)) whole = g_utf8_prev_char(whole);
  return whole > text.c_str() ? whole : end;
}

const char* startOfTail(const std::string& text, std::size_t room) {
  const char* start = text.c_str() + text.size();
  for (const char* earlier = g_utf8_prev_char(start); room >= columns(earlier); earlier = g_utf8_prev_char(earlier)) {
    room -= columns(earlier);
    start = earlier;
  }
  while (isPartOfEarlier(start)) start = g_utf8_next_char(start);
  return start;
}

bool isTooLong(const std::string& text) {
  std::size_t length = 0;
  for (const char* next = text.c_str(); *next != '\0' && length <= longestLabel; next = g_utf8_next_char(next))
    length += columns(next);
  return length > longestLabel;
}

// The ellipsis takes a column.
std::string shortened(const std::string& text) {
  if (!isTooLong(text)) return text;
  constexpr std::size_t tail = longestLabel / 2;
  return std::string(text.c_str(), endOfHead(text, longestLabel - 1 - tail)) + "\u2026" + startOfTail(text, tail);
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
