// Settings between GVariant and the programs' values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <random>

#include "platform/linux/settings/SettingsValue.h"

namespace {

using namespace platform;
using namespace platform::native;

/// A value's structure as text.
std::string shown(const Object& object) {
  if (object.isNil()) return "nil";
  if (const auto* flag = object.get<bool>()) return *flag ? "true" : "false";
  if (const auto* number = object.get<Integer>()) {
    return number->isNegative ? std::to_string(number->signedValue()) : std::to_string(number->bits);
  }
  if (const auto* number = object.get<double>()) return std::to_string(*number);
  if (const auto* text = object.get<std::string>()) return "'" + *text + "'";
  if (const auto* data = object.get<Data>()) {
    std::string text = "<";
    for (const int byte : *data) text += (text.size() > 1 ? " " : "") + std::to_string(byte);
    return text + ">";
  }
  if (const auto* array = object.get<Array>()) {
    std::string text = "[";
    for (const Object& element : *array) text += (text.size() > 1 ? ", " : "") + shown(element);
    return text + "]";
  }
  if (const auto* dictionary = object.get<Dictionary>()) {
    std::string text = "{";
    for (const auto& [key, value] : dictionary->entries) text += (text.size() > 1 ? ", " : "") + shown(key) + ": " + shown(value);
    return text + "}";
  }
  return "?";
}

std::string read(const char* text) {
  GError* error = nullptr;
  GVariant* const value = g_variant_parse(nullptr, text, nullptr, nullptr, &error);
  EXPECT_TRUE(value) << text << ": " << error->message;
  return shown(objectOfVariant(OwnedVariant(value).get()));
}

std::string written(const Object& object) {
  const OwnedVariant value = variantOfObject(object);
  return value ? OwnedText(g_variant_print(value.get(), TRUE)).get() : "null";
}

TEST(SettingsValues, eachScalarReadsAsItsKind) {
  EXPECT_EQ(read("true"), "true");
  EXPECT_EQ(read("byte 0xff"), "255");
  EXPECT_EQ(read("int16 -32768"), "-32768");
  EXPECT_EQ(read("uint16 65535"), "65535");
  EXPECT_EQ(read("-2147483648"), "-2147483648");
  EXPECT_EQ(read("uint32 4294967295"), "4294967295");
  EXPECT_EQ(read("int64 -9223372036854775808"), "-9223372036854775808");
  EXPECT_EQ(read("uint64 18446744073709551615"), "18446744073709551615");
  EXPECT_EQ(read("0.5"), "0.500000");
  EXPECT_EQ(read("'caf\u00E9'"), "'caf\u00E9'");
  EXPECT_EQ(read("objectpath '/a'"), "'/a'");
}

TEST(SettingsValues, containersReadWithAllThatIsInThem) {
  EXPECT_EQ(read("[byte 1, 0, 255]"), "<1 0 255>");
  EXPECT_EQ(read("@ay []"), "<>");
  EXPECT_EQ(read("[[byte 1], []]"), "[<1>, <>]");
  EXPECT_EQ(read("[1, 2]"), "[1, 2]");
  EXPECT_EQ(read("@av []"), "[]");
  EXPECT_EQ(read("[<1>, <'a'>, <[true]>]"), "[1, 'a', [true]]");
  EXPECT_EQ(read("{'a': <[7, 8]>, 'b': <@ai []>}"), "{'a': [7, 8], 'b': []}");
  EXPECT_EQ(read("{'a': 1}"), "{'a': 1}");
  EXPECT_EQ(read("<<'boxed'>>"), "'boxed'");
}

TEST(SettingsValues, typesWithoutAKindOfOursAreNilAndSoIsWhatHoldsThem) {
  for (const char* text :
       {"(1, 2)", "()", "just 1", "@mi nothing", "handle 1", "{1: 'a'}", "[(1, 2)]", "{'a': <(1,)>}", "<(1,)>", "[<1>, <()>]"}) {
    EXPECT_EQ(read(text), "nil") << text;
  }
  EXPECT_TRUE(objectOfVariant(nullptr).isNil());
}

OwnedVariant damaged(const char* type, const std::string& bytes) {
  GBytes* const owned = g_bytes_new(bytes.data(), bytes.size());
  OwnedVariant value(g_variant_ref_sink(g_variant_new_from_bytes(G_VARIANT_TYPE(type), owned, FALSE)));
  g_bytes_unref(owned);
  return value;
}

TEST(SettingsValues, aDamagedValueIsNil) {
  EXPECT_TRUE(objectOfVariant(damaged("s", "no end").get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("s", std::string("\xFF\0", 2)).get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("b", "\2").get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("i", "\1\2\3").get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("as", "a\xFF\xFF").get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("v", "").get()).isNil());
  EXPECT_TRUE(objectOfVariant(damaged("a{sv}", "\1\2\3\4\5").get()).isNil());
}

TEST(SettingsValues, arbitraryBytesOfAnyTypeDoNoHarm) {
  std::mt19937 random(1);
  for (int round = 0; round < 20'000; ++round) {
    const char* const types[] = {"v", "a{sv}", "aay", "av", "as", "s", "aaaai", "a{s(iv)}"};
    std::string bytes(random() % 64, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    objectOfVariant(damaged(types[random() % std::size(types)], bytes).get());
  }
}

TEST(SettingsValues, deepBoxesAreReadOrRefusedWithoutHarm) {
  GVariant* value = g_variant_new_boolean(TRUE);
  for (int level = 0; level < 60; ++level) value = g_variant_new_variant(value);
  EXPECT_EQ(shown(objectOfVariant(OwnedVariant(g_variant_ref_sink(value)).get())), "true");
}

TEST(SettingsValues, valuesAreWrittenInTheirNarrowestForm) {
  EXPECT_EQ(written(true), "true");
  EXPECT_EQ(written(Integer::ofSigned(-5)), "-5");
  EXPECT_EQ(written(Integer::ofSigned(1LL << 40)), "int64 1099511627776");
  EXPECT_EQ(written(Integer::ofUnsigned(~std::uint64_t{0})), "uint64 18446744073709551615");
  EXPECT_EQ(written(Integer::ofSigned(std::numeric_limits<std::int64_t>::min())), "int64 -9223372036854775808");
  EXPECT_EQ(written(1.5), "1.5");
  EXPECT_EQ(written("a"), "'a'");
  EXPECT_EQ(written(Data{1, 2}), "[byte 0x01, 0x02]");
  EXPECT_EQ(written(Array{Integer::ofSigned(1), Integer::ofSigned(2)}), "[1, 2]");
  EXPECT_EQ(written(Array{Integer::ofSigned(1), Integer::ofSigned(1LL << 40)}), "[int64 1, 1099511627776]");
  EXPECT_EQ(written(Array{Data{1}, Data{}}), "[[byte 0x01], []]");
  EXPECT_EQ(written(Array{"a", "b"}), "['a', 'b']");
  EXPECT_EQ(written(Array{true}), "[true]");
  EXPECT_EQ(written(Array{true, "a"}), "[<true>, <'a'>]");
  EXPECT_EQ(written(Array{Object(Array{})}), "[<@av []>]");
  Dictionary dictionary;
  dictionary.add("a", Array{Integer::ofSigned(7)});
  EXPECT_EQ(written(dictionary), "{'a': <[7]>}");
  EXPECT_EQ(written(Dictionary()), "@a{sv} {}");
}

TEST(SettingsValues, whatNoSettingCanHoldIsNotWritten) {
  Dictionary inner;
  inner.add("a", Date{1});
  Dictionary numbered;
  numbered.entries.emplace_back(Object(true), Object(true));
  Dictionary oddKey;
  oddKey.add("\xFF", true);
  for (const Object& object :
       {Object(), Object(Null()), Object(Date{1}), Object(URL::fileURLWithPath("/a")), Object("\xFF"),
        Object(std::string("a\0b", 3)), Object(Array{Object()}), Object(inner), Object(numbered), Object(oddKey)}) {
    EXPECT_EQ(written(object), "null");
  }
}

TEST(SettingsValues, whatIsWrittenReadsTheSame) {
  Dictionary dictionary;
  dictionary.add("flags", Array{true, false});
  dictionary.add("mixed", Array{"a", Integer::ofSigned(-1), 0.5, Data{0}, Dictionary()});
  const Object object = dictionary;
  EXPECT_EQ(shown(objectOfVariant(variantOfObject(object).get())), shown(object));
}

}  // namespace
