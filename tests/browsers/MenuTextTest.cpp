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

TEST(MenuText, aLongTextIsShortenedInTheMiddleTo60CharactersSoThatItsEndingStays) {
  EXPECT_EQ(harmlessText(std::string(60, 'a')), std::string(60, 'a'));
  EXPECT_EQ(harmlessText("start" + std::string(1000, 'a') + ".tar.gz"),
            "start" + std::string(24, 'a') + "\u2026" + std::string(23, 'a') + ".tar.gz");
}

TEST(MenuText, aLongTextIsCutBetweenCharacters) {
  for (std::size_t letters = 0; letters < 4; ++letters) {
    std::string text(letters, 'a');
    for (int i = 0; i < 400; ++i) text += "ü";
    const std::string shown = harmlessText(text);
    EXPECT_TRUE(g_utf8_validate(shown.c_str(), -1, nullptr));
    EXPECT_EQ(g_utf8_strlen(shown.c_str(), -1), 60);
  }
}

TEST(MenuText, aMarkStaysWithItsLetterWhereALongTextIsCut) {
  const std::string accent = "\u0301", tail(30, 't');
  EXPECT_EQ(harmlessText(std::string(28, 'h') + "e" + accent + std::string(100, 'x') + tail),
            std::string(28, 'h') + "\u2026" + tail);
  EXPECT_EQ(harmlessText(std::string(100, 'h') + "e" + accent + tail.substr(1)), std::string(29, 'h') + "\u2026" + tail.substr(1));
}

TEST(MenuText, aLetterWithMarksWithoutEndIsShortenedToo) {
  std::string text = "a";
  for (int i = 0; i < 1000; ++i) text += "\u0301";
  EXPECT_LE(g_utf8_strlen(harmlessText(text).c_str(), -1), 60);
}

TEST(MenuText, aSignOfTwoColumnsCountsTwice) {
  std::string thirty, more;
  for (int i = 0; i < 30; ++i) thirty += "字";
  EXPECT_EQ(harmlessText(thirty), thirty);
  for (int i = 0; i < 300; ++i) more += "字";
  EXPECT_EQ(g_utf8_strlen(harmlessText(more).c_str(), -1), 14 + 1 + 15);
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
