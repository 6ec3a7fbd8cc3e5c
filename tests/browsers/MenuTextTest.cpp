// Text that a menu may show, whatever a file is called.
#include "browsers/MenuText.h"

#include <glib.h>
#include <gtest/gtest.h>

#include <set>

using browsers::harmlessText;
using browsers::invisibleNumber;
using browsers::menuLabel;

TEST(MenuText, anOrdinaryNameStaysAsItIs) { EXPECT_EQ(harmlessText("Grüße 😀 & <b>.zip"), "Grüße 😀 & <b>.zip"); }

TEST(MenuText, bytesThatAreNoUTF8StandAsTheReplacementCharacter) {
  EXPECT_EQ(harmlessText("caf\xe9.txt"), "caf\uFFFD.txt");
  EXPECT_EQ(harmlessText(std::string_view("a\0b", 3)), "a\uFFFDb");
  EXPECT_TRUE(g_utf8_validate(harmlessText("\xed\xa0\x80 lone surrogate").c_str(), -1, nullptr));
}

TEST(MenuText, nothingAtAllIsSaidInWords) {
  EXPECT_EQ(harmlessText(""), "(no name)");
  EXPECT_EQ(harmlessText("\u202E"), "(no name)");
}

TEST(MenuText, lineBreaksAndControlCharactersAreSpaces) {
  EXPECT_EQ(harmlessText("a\nb\tc\rd\x1b[31m\u2028e\u0085f"), "a b c d [31m e f");
}

TEST(MenuText, marksThatTurnTheDirectionOfTextAreLeftOut) {
  EXPECT_EQ(harmlessText("\u202Efdp.exe\u202C\u2066x\u2069\u200F\u061C"), "fdp.exex");
}

TEST(MenuText, aLongTextIsShortenedInTheMiddleTo255Characters) {
  EXPECT_EQ(harmlessText(std::string(255, 'a')), std::string(255, 'a'));
  const std::string shown = harmlessText("start" + std::string(1000, 'a') + "ende");
  EXPECT_EQ(g_utf8_strlen(shown.c_str(), -1), 255);
  EXPECT_TRUE(shown.starts_with("start") && shown.ends_with("ende"));
  EXPECT_NE(shown.find("\u2026"), std::string::npos);
}

TEST(MenuText, aLongTextIsCutBetweenCharacters) {
  std::string text;
  for (int i = 0; i < 400; ++i) text += "ü";
  EXPECT_TRUE(g_utf8_validate(harmlessText(text).c_str(), -1, nullptr));
}

TEST(MenuText, theMarkOfAMnemonicIsShownInALabel) { EXPECT_EQ(menuLabel("_my_file_"), "__my__file__"); }

TEST(MenuText, invisibleNumbersDifferAndHaveNoShape) {
  std::set<std::string> numbers;
  for (std::size_t i = 0; i < 1000; ++i) numbers.insert(invisibleNumber(i));
  EXPECT_EQ(numbers.size(), 1000u);
  for (const std::string& number : numbers) {
    for (const char* next = number.c_str(); *next; next = g_utf8_next_char(next)) {
      EXPECT_TRUE(g_unichar_iszerowidth(g_utf8_get_char(next)));
    }
  }
}
