// Menus as trees of text.
#include "console/MenuText.h"

#include <gtest/gtest.h>

using platform::JSON;

namespace {

TEST(MenuText, isATreeWithTheNumberThatChoosesEachItem) {
  const auto menu = JSON::parse(
      R"({"items":[{"title":"Rename","enabled":true},
                   {"title":"Compress","enabled":true,"items":[{"title":"TAR","enabled":true,"items":[{"title":"GZIP","enabled":true}]}]},
                   {"title":"Gone","enabled":false}]})");
  EXPECT_EQ(menuText(menu.value()),
            "    1  Rename\n"
            "    2  Compress\n"
            "        2.1  TAR\n"
            "            2.1.1  GZIP\n"
            "    3  Gone  (disabled)\n");
}

TEST(MenuText, saysWhenThereIsNoMenuOrAnEmptyOne) {
  EXPECT_EQ(menuText(JSON()), "  no menu\n");
  EXPECT_EQ(menuText(*JSON::parse(R"({"items":[]})")), "  an empty menu\n");
}

TEST(MenuText, aTitleCannotMoveTheCursorOrTurnTheWriting) {
  EXPECT_EQ(printable("a\nb\x1b[2J"), "a\uFFFDb\uFFFD[2J");
  EXPECT_EQ(printable("a\u202Egpj.exe"), "a\uFFFDgpj.exe");
  EXPECT_EQ(printable("caf\xE9"), "caf\uFFFD");
  EXPECT_EQ(printable("Grün…"), "Grün…");
  EXPECT_EQ(printable(std::string_view("a\0b", 3)), "a\uFFFDb");
}

}  // namespace
