#include "host/ReadableText.h"

#include <gtest/gtest.h>

namespace {

TEST(ReadableText, whatIsUTF8Stays) {
  EXPECT_EQ(readableText(""), "");
  EXPECT_EQ(readableText("plain name.txt"), "plain name.txt");
  EXPECT_EQ(readableText("日本語 é 🗜.zip"), "日本語 é 🗜.zip");
}

TEST(ReadableText, aLatinByteIsItsLetter) {
  EXPECT_EQ(readableText("caf\xE9.txt"), "café.txt");
  EXPECT_EQ(readableText("\xA0\xFF"), "\u00A0ÿ");
}

TEST(ReadableText, aByteOfWindowsAloneIsItsSign) { EXPECT_EQ(readableText("5 \x80 \x93x\x94"), "5 € “x”"); }

TEST(ReadableText, aByteOfNoCharsetIsTheReplacementCharacter) { EXPECT_EQ(readableText("a\x81z"), "a\uFFFDz"); }

TEST(ReadableText, soundPartsBesideAStrayByteStay) { EXPECT_EQ(readableText("日本\xE9.txt"), "日本é.txt"); }

TEST(ReadableText, aSequenceCutShortIsReadByteByByte) { EXPECT_EQ(readableText("x\xE6\x97"), "xæ—"); }

TEST(ReadableText, anEncodedSurrogateIsNoUTF8) { EXPECT_EQ(readableText("\xED\xA0\xBD"), "í\u00A0½"); }

TEST(ReadableText, aZeroByteStays) { EXPECT_EQ(readableText(std::string_view("a\0\xE9", 3)), std::string_view("a\0é", 4)); }

}  // namespace
