#include "console/MenuText.h"

#include <glib.h>

#include <algorithm>

using platform::JSON;

namespace {

constexpr std::string_view replacement = "\xEF\xBF\xBD";

// The direction marks of Unicode's bidirectional algorithm (UAX 9, section 2) and the ends of lines and paragraphs.
bool isHarmless(gunichar character) {
  const bool isDirection = character == 0x061C || (character >= 0x200E && character <= 0x200F) ||
                           (character >= 0x2028 && character <= 0x202E) || (character >= 0x2066 && character <= 0x2069);
  return g_unichar_type(character) != G_UNICODE_CONTROL && !isDirection;
}

void appendItems(std::string& text, const JSON::ArrayValue& items, const std::string& number) {
  const std::string indent(4 * (1 + static_cast<std::size_t>(std::ranges::count(number, '.'))), ' ');
  for (std::size_t i = 0; i < items.size(); ++i) {
    const std::string own = number + std::to_string(i + 1);
    const bool* isEnabled = items[i].member("enabled")->get<bool>();
    text += indent + own + "  " + printable(*items[i].stringMember("title")) + (*isEnabled ? "" : "  (disabled)") + "\n";
    if (const JSON* below = items[i].member("items")) appendItems(text, *below->get<JSON::ArrayValue>(), own + ".");
  }
}

}  // namespace

std::string menuText(const JSON& menu) {
  const JSON* items = menu.member("items");
  if (!items) return "  no menu\n";
  const auto& list = *items->get<JSON::ArrayValue>();
  if (list.empty()) return "  an empty menu\n";
  std::string text;
  appendItems(text, list, "");
  return text;
}

std::string printable(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const gunichar character = g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
    const bool isCharacter = character < 0x110000;
    const std::size_t length = isCharacter ? static_cast<std::size_t>(g_unichar_to_utf8(character, nullptr)) : 1;
    result += isCharacter && isHarmless(character) ? text.substr(0, length) : replacement;
    text.remove_prefix(length);
  }
  return result;
}
