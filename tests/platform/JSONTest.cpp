// JSON text both ways, with what no other reader of ours meets: bytes that are no text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "platform/JSONText.h"
#include "platform/linux/programs/JSON.h"

namespace {

using platform::JSON;

std::string again(std::string_view text) {
  const auto value = JSON::parse(text);
  return value ? value->text() : "no value";
}
std::string stringOf(std::string_view text) {
  const auto value = JSON::parse(text);
  return value && value->get<std::string>() ? *value->get<std::string>() : "no string";
}

TEST(JSONText, eachKindIsWrittenAndReadAgain) {
  for (const char* text : {"null", "true", "false", "0", "-1", "1.5", "\"\"", "[]", "{}", "[1,[2,{}],null]", "{\"a\":{\"b\":[]}}",
                           "9223372036854775807", "-9223372036854775808"}) {
    EXPECT_EQ(again(text), text);
  }
}

TEST(JSONText, whiteSpaceStandsAnywhereBetween) {
  EXPECT_EQ(again(" \t\r\n{ \"a\" : [ 1 , 2 ] , \"b\" : { } } \n"), "{\"a\":[1,2],\"b\":{}}");
}

TEST(JSONText, whatIsNoJSONIsRefused) {
  for (const char* text : {"",
                           " ",
                           "nul",
                           "nulll",
                           "True",
                           "[",
                           "[1",
                           "[1,",
                           "[1,]",
                           "[,1]",
                           "[1 2]",
                           "]",
                           "{",
                           "{\"a\"",
                           "{\"a\":",
                           "{\"a\":1",
                           "{\"a\":1,",
                           "{\"a\":1,}",
                           "{a:1}",
                           "{1:1}",
                           "{\"a\" 1}",
                           "\"",
                           "\"a",
                           "\"\\\"",
                           "\"\\x\"",
                           "\"\\u12\"",
                           "\"\\u12G4\"",
                           "\"\\u-123\"",
                           "\"\\u+123\"",
                           "\"\\u 123\"",
                           "\"\\u0x1\"",
                           "\"a\nb\"",
                           "\"\t\"",
                           "'a'",
                           "1 2",
                           "[]]",
                           "// c\n1",
                           "\xEF\xBB\xBF"
                           "1",
                           "NaN",
                           "Infinity",
                           "-"}) {
    EXPECT_FALSE(JSON::parse(text)) << text;
  }
}

TEST(JSONText, numbersAreOfTheStandardsForm) {
  for (const char* text :
       {"01", "-01", "+1", ".5", "1.", "1.e5", "1e", "1e+", "--1", "1-1", "1.2.3", "0x10", "1e5e5", "00", "-.5", "1_0"}) {
    EXPECT_FALSE(JSON::parse(text)) << text;
  }
  EXPECT_EQ(again("-0"), "0");
  EXPECT_EQ(again("0e0"), "0.0");
  EXPECT_EQ(again("1E2"), "100.0");
  EXPECT_EQ(again("1e+2"), "100.0");
  EXPECT_EQ(again("25e-1"), "2.5");
}

TEST(JSONText, aWholeNumberBeyondTheWidestIsReal) {
  const auto value = JSON::parse("9223372036854775808");
  ASSERT_TRUE(value && value->get<double>());
  EXPECT_EQ(*value->get<double>(), 9223372036854775808.0);
}

TEST(JSONText, aNumberThatNoRealCanHoldIsRefused) {
  EXPECT_FALSE(JSON::parse("1e999"));
  EXPECT_FALSE(JSON::parse("-1e999"));
  EXPECT_FALSE(JSON::parse(std::string(400, '9')));
}

TEST(JSONText, aRealNumberKeepsItsValueAndItsKind) {
  for (const double number : {0.1, 1e300, 5e-324, -2.0, 123456789.125, 1e21}) {
    const auto value = JSON::parse(JSON(number).text());
    ASSERT_TRUE(value && value->get<double>()) << number;
    EXPECT_EQ(*value->get<double>(), number);
  }
  EXPECT_EQ(JSON(std::numeric_limits<double>::infinity()).text(), "null");
  EXPECT_EQ(JSON(std::nan("")).text(), "null");
}

TEST(JSONText, whatIsNotASCIIIsEscaped) {
  EXPECT_EQ(JSON("caf\u00E9").text(), "\"caf\\u00e9\"");
  EXPECT_EQ(JSON("\U0001F600").text(), "\"\\ud83d\\ude00\"");
  EXPECT_EQ(JSON("\"\\/\b\f\n\r\t\x1F\x7F").text(), "\"\\\"\\\\/\\b\\f\\n\\r\\t\\u001f\\u007f\"");
  EXPECT_EQ(JSON(std::string("a\0b", 3)).text(), "\"a\\u0000b\"");
}

TEST(JSONText, escapesOfAllFormsAreRead) {
  EXPECT_EQ(stringOf("\"\\\"\\\\\\/\\b\\f\\n\\r\\t\""), "\"\\/\b\f\n\r\t");
  EXPECT_EQ(stringOf("\"\\u0041\\u00E9\\u20ac\""), "A\u00E9\u20AC");
  EXPECT_EQ(stringOf("\"\\uD83D\\uDE00\""), "\U0001F600");
  EXPECT_EQ(stringOf("\"\\uDBFF\\uDFFF\""), "\U0010FFFF");
  EXPECT_EQ(stringOf("\"caf\u00E9\""), "caf\u00E9");
}

TEST(JSONText, bytesThatAreNoTextTravelAsLoneSurrogatesAndComeBack) {
  EXPECT_EQ(JSON("caf\xE9").text(), "\"caf\\udce9\"");
  EXPECT_EQ(stringOf("\"caf\\udce9\""), "caf\xE9");
  std::string bytes;
  for (int byte = 1; byte < 256; ++byte) bytes += static_cast<char>(byte);
  EXPECT_EQ(stringOf(JSON(bytes).text()), bytes);
  for (const char* odd : {"\xC0\x80", "\xED", "\xF5\x80\x80\x80", "\xE2\x82", "\xF0\x9F\x98", "\x80\xC3"}) {
    EXPECT_EQ(stringOf(JSON(odd).text()), odd);
  }
}

TEST(JSONText, loneSurrogatesOfTheWireComeBackAsTheyWere) {
  for (const char* odd : {"\xED\xA0\x80",
                          "a\xED\xAF\xBF"
                          "b",
                          "\xED\xB0\x80", "\xED\xBF\xBF"}) {
    EXPECT_EQ(stringOf(JSON(odd).text()), odd);
  }
  EXPECT_EQ(JSON("\xED\xA0\x80").text(), "\"\\ud800\"");
  EXPECT_EQ(stringOf("\"\\ud800\\u0041\""),
            "\xED\xA0\x80"
            "A");
  EXPECT_EQ(stringOf("\"\\ud800\\ud83d\\ude00\""), "\xED\xA0\x80\U0001F600");
  EXPECT_EQ(stringOf("\"\\ud800\\uZZZZ\""), "no string");
}

TEST(JSONText, anObjectOfTextsIsWrittenAsTheProgramsWriteIt) {
  EXPECT_EQ(platform::jsonObjectOfTexts({}), "{}");
  EXPECT_EQ(platform::jsonObjectOfTexts({{"a", "b\xE9"}, {"\u00E9", "\""}}),
            JSON(JSON::ObjectValue{{"a", "b\xE9"}, {"\u00E9", "\""}}).text());
}

TEST(JSONText, nestingIsBounded) {
  const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  EXPECT_TRUE(JSON::parse(nested(512)));
  EXPECT_FALSE(JSON::parse(nested(513)));
  EXPECT_FALSE(JSON::parse(std::string(1'000'000, '[')));
  EXPECT_TRUE(JSON::parse(nested(3), 3));
  EXPECT_FALSE(JSON::parse("[{\"a\":[]}]", 2));
  EXPECT_TRUE(JSON::parse("[[],[],[]]", 2));
}

TEST(JSONText, membersStandInTheirOrder) {
  JSON object;
  object.set("b", 1);
  object.set("\u00E9", 2);
  object.set("a", JSON(JSON::ObjectValue{{"z", true}, {"y", false}}));
  object.set("\U0001F600", 3);
  object.set("\uFFFD", 4);
  EXPECT_EQ(object.text(), "{\"b\":1,\"\\u00e9\":2,\"a\":{\"z\":true,\"y\":false},\"\\ud83d\\ude00\":3,\"\\ufffd\":4}");
}

TEST(JSONText, ofEqualKeysTheLastCounts) {
  const auto value = JSON::parse("{\"a\":1,\"b\":\"x\",\"a\":\"2\"}");
  ASSERT_TRUE(value);
  ASSERT_TRUE(value->stringMember("a"));
  EXPECT_EQ(*value->stringMember("a"), "2");
  EXPECT_EQ(value->member("c"), nullptr);
  EXPECT_EQ(JSON(1).member("a"), nullptr);
  EXPECT_EQ(JSON::parse("{\"a\":1}").value().stringMember("a"), nullptr);
}

TEST(JSONText, onlyAnObjectTakesMembers) {
  JSON number(1);
  number.set("a", 2);
  EXPECT_EQ(number.text(), "1");
}

}  // namespace
