// Plain commands become the same requests that scripts make.
#include "console/PlainLanguage.h"

#include <gtest/gtest.h>

using platform::JSON;

namespace {

std::string requestOf(std::string_view line) {
  PlainLanguage language(false);
  const auto request = language.requestOfLine(line);
  return request ? request->text() : "nothing";
}

TEST(PlainLanguage, eachCommandMakesItsRequest) {
  EXPECT_EQ(requestOf("open /a"), R"({"do":"open","folder":"/a"})");
  EXPECT_EQ(requestOf("close /a"), R"({"do":"close","folder":"/a"})");
  EXPECT_EQ(requestOf("begin /a"), R"({"do":"begin","folder":"/a"})");
  EXPECT_EQ(requestOf("end /a"), R"({"do":"end","folder":"/a"})");
  EXPECT_EQ(requestOf("badge /a/b"), R"({"do":"badge","file":"/a/b"})");
  EXPECT_EQ(requestOf("select a b"), R"({"do":"select","files":["a","b"]})");
  EXPECT_EQ(requestOf("select"), R"({"do":"select","files":[]})");
  EXPECT_EQ(requestOf("target /a"), R"({"do":"target","folder":"/a"})");
  EXPECT_EQ(requestOf("target"), R"({"do":"target","folder":null})");
  EXPECT_EQ(requestOf("menu"), R"({"do":"menu","kind":0})");
  EXPECT_EQ(requestOf("menu folder"), R"({"do":"menu","kind":1})");
  EXPECT_EQ(requestOf("menu toolbar"), R"({"do":"menu","kind":3})");
  EXPECT_EQ(requestOf("choose Compress TAR"), R"({"do":"choose","titles":["Compress","TAR"]})");
  EXPECT_EQ(requestOf("wait archive /a/b"), R"({"do":"wait","until":"archive","file":"/a/b"})");
  EXPECT_EQ(requestOf("wait folders 0"), R"({"do":"wait","until":"folders","count":0})");
  EXPECT_EQ(requestOf("state"), R"({"do":"state"})");
  EXPECT_EQ(requestOf("quit"), R"({"do":"quit"})");
}

TEST(PlainLanguage, positionsCountFromOneForPeople) {
  EXPECT_EQ(requestOf("choose 3.1.2"), R"({"do":"choose","at":[2,0,1]})");
  EXPECT_EQ(requestOf("choose 3.0"), R"({"do":"choose","titles":["3.0"]})");
  EXPECT_EQ(requestOf("choose 3."), R"({"do":"choose","titles":["3."]})");
}

TEST(PlainLanguage, namesWithSpacesStandInQuotes) {
  EXPECT_EQ(requestOf("select 'a b' \"c d\" e\\ f"), R"({"do":"select","files":["a b","c d","e f"]})");
}

TEST(PlainLanguage, anEmptyLineAsksForNothing) {
  EXPECT_EQ(requestOf(""), "nothing");
  EXPECT_EQ(requestOf("  \t"), "nothing");
}

TEST(PlainLanguage, whatIsNotUnderstoodIsAnError) {
  for (const char* line : {"select 'a", "menu moon", "menu items folder", "choose", "wait", "open a b"}) {
    EXPECT_TRUE(requestOf(line).starts_with(R"({"error")")) << line;
  }
}

TEST(PlainLanguage, helpListsEveryCommand) {
  PlainLanguage language(false);
  const std::string help = language.replyText(*language.requestOfLine("help"), JSON());
  for (const char* command : {"open", "close", "select", "target", "menu", "choose", "begin", "end", "badge", "state", "toolbar",
                              "wait", "help", "quit"}) {
    EXPECT_NE(help.find(command), std::string::npos) << command;
  }
}

TEST(PlainLanguage, errorsAndEventsAreReadable) {
  PlainLanguage language(false);
  const JSON request = *JSON::parse(R"({"do":"open"})");
  EXPECT_EQ(language.replyText(request, *JSON::parse(R"({"error":"no such folder: /a"})")), "error: no such folder: /a\n");
  EXPECT_EQ(language.replyText(request, *JSON::parse(R"({"ok":true})")), "");
  EXPECT_EQ(language.eventText(*JSON::parse(R"({"event":"log","line":"text"})")), "* log: text\n");
  EXPECT_TRUE(language.eventText(*JSON::parse(R"({"event":"noSessionBus"})")).starts_with("* no session bus can be reached"));
  EXPECT_EQ(language.eventText(*JSON::parse(R"({"event":"directoryURLs","urls":[]})")), "* no folder is watched\n");
  EXPECT_EQ(language.eventText(*JSON::parse(R"({"event":"directoryURLs","urls":["file:///a/"]})")), "* watching file:///a/\n");
}

TEST(PlainLanguage, thePromptIsForPeopleOnly) {
  EXPECT_EQ(PlainLanguage(true).prompt(), "dovetail> ");
  EXPECT_EQ(PlainLanguage(false).prompt(), "");
}

}  // namespace
