// What the requests do and what their replies say, over fake services.
#include "console/Console.h"

#include "tests/ExtensionFixture.h"

using platform::JSON;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ConsoleTest : public ExtensionTest {
 protected:
  ConsoleTest() {
    fakes.fileManager.add("/watched/file.zip");
    fakes.fileManager.add("/watched/notes.txt");
    fakes.fileManager.add("/other/file.zip");
    startHost();
    const platform::Platform given = fakes.references();
    extension = DTDovetailSync::init(
        {browser, sent, given.userDefaultsSuites, given.security, given.distributedNotificationCenter, given.runningApplications,
         given.processSources, given.fileManager, given.workspace, given.mainBundle, given.log},
        onceOnly);
    browser.setDirectoryURLs({fileURL("/watched")});
    takeMessages();
  }
  ~ConsoleTest() override {  // the extension leaves its browser, which is no part of the fakes
    console.reset();
    extension.reset();
  }

  std::string perform(std::string_view line) {
    std::string text = "no reply";
    console.emplace(browser, *extension, fakes.fileManager, sent);
    console->perform(*JSON::parse(line), [&](const JSON& reply) { text = reply.text(); });
    return text;
  }
  std::vector<std::string> performAll(const std::vector<std::string>& lines) {
    std::vector<std::string> replies;
    Console one(browser, *extension, fakes.fileManager, sent);
    for (const std::string& line : lines) {
      one.perform(*JSON::parse(line), [&](const JSON& reply) { replies.push_back(reply.text()); });
    }
    return replies;
  }
  static bool isError(const std::string& reply) { return reply.starts_with(R"({"error":")"); }

  platform::native::FinderSyncBrowser browser{fakes.fileManager};
  SentRecords sent{fakes.messagePorts};
  std::optional<Console> console;
};

TEST_F(ConsoleTest, openingAWatchedFolderAsksAboutEachFileOnce) {
  EXPECT_EQ(perform(R"({"do":"open","folder":"/watched"})"), R"({"ok":true})");
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /watched/file.zip", "openArchive:portName: /watched/notes.txt"));
  EXPECT_EQ(perform(R"({"do":"open","folder":"/watched"})"), R"({"ok":true})");
  EXPECT_THAT(takeSummaries(), IsEmpty());
}

TEST_F(ConsoleTest, openingAnUnwatchedFolderAsksNothing) {
  EXPECT_EQ(perform(R"({"do":"open","folder":"/other"})"), R"({"ok":true})");
  EXPECT_THAT(takeSummaries(), IsEmpty());
}

TEST_F(ConsoleTest, theEntryPointsCalledDirectlyKnowNoRuleOfWatchedFolders) {
  EXPECT_EQ(perform(R"({"do":"begin","folder":"/other"})"), R"({"ok":true})");
  EXPECT_EQ(perform(R"({"do":"badge","file":"/watched/notes.txt"})"), R"({"ok":true})");
  EXPECT_EQ(perform(R"({"do":"end","folder":"/other"})"), R"({"ok":true})");
  EXPECT_THAT(takeSummaries(), ElementsAre("openArchive:portName: /other/file.zip", "openArchive:portName: /watched/notes.txt"));
}

TEST_F(ConsoleTest, aFolderWithoutAWindowCannotBeClosed) {
  EXPECT_TRUE(isError(perform(R"({"do":"close","folder":"/watched"})")));
  perform(R"({"do":"open","folder":"/watched"})");
  EXPECT_EQ(perform(R"({"do":"close","folder":"/watched"})"), R"({"ok":true})");
  EXPECT_TRUE(isError(perform(R"({"do":"close","folder":"/watched"})")));
}

TEST_F(ConsoleTest, whatIsNoFolderCannotBeOpened) {
  EXPECT_TRUE(isError(perform(R"({"do":"open","folder":"/watched/file.zip"})")));
  EXPECT_TRUE(isError(perform(R"({"do":"open","folder":"/gone"})")));
}

TEST_F(ConsoleTest, aBadRequestGetsAnErrorAndChangesNothing) {
  perform(R"({"do":"select","files":["/watched/file.zip"]})");
  perform(R"({"do":"target","folder":"/watched"})");
  for (const char* line : {
           R"({})",
           R"({"do":1})",
           R"({"do":"fly"})",
           R"({"do":"select"})",
           R"({"do":"select","files":"/watched"})",
           R"({"do":"select","files":["/watched/notes.txt",1]})",
           R"({"do":"select","files":[""]})",
           R"({"do":"target"})",
           R"({"do":"target","folder":1})",
           R"({"do":"open"})",
           R"({"do":"begin","folder":null})",
           R"({"do":"badge"})",
           R"({"do":"menu"})",
           R"({"do":"menu","kind":"0"})",
           R"({"do":"menu","kind":-1})",
           R"({"do":"menu","kind":4})",
           R"({"do":"choose"})",
           R"({"do":"choose","at":[]})",
           R"({"do":"wait"})",
           R"({"do":"wait","until":"rain"})",
           R"({"do":"select","files":["file:///a%00b"]})",
           R"({"do":"select","files":["a\u0000b"]})",
       }) {
    EXPECT_TRUE(isError(perform(line))) << line;
  }
  EXPECT_EQ(browser.selectedItemURLs().size(), 1u);
  EXPECT_EQ(browser.selectedItemURLs()[0].path(), "/watched/file.zip");
  EXPECT_EQ(browser.targetedURL().value().path(), "/watched");
  EXPECT_THAT(takeSummaries(), IsEmpty());
}

TEST_F(ConsoleTest, aFileIsNamedByItsPathOrItsURL) {
  perform(R"({"do":"select","files":["/watched/file.zip","file:///watched/notes%2etxt"]})");
  ASSERT_EQ(browser.selectedItemURLs().size(), 2u);
  EXPECT_EQ(browser.selectedItemURLs()[1].path(), "/watched/notes.txt");
}

TEST_F(ConsoleTest, aNameThatIsNotUTF8ArrivesAsItsBytes) {
  perform("{\"do\":\"select\",\"files\":[\"/watched/caf\\udce9.zip\"]}");
  EXPECT_EQ(browser.selectedItemURLs()[0].path(), "/watched/caf\xE9.zip");
}

TEST_F(ConsoleTest, anUnwatchedSelectionHasNoContextualMenu) {
  EXPECT_THAT(performAll({R"({"do":"select","files":["/other/file.zip"]})", R"({"do":"menu","kind":0})"}),
              ElementsAre(R"({"ok":true})", R"({"menu":null})"));
}

TEST_F(ConsoleTest, aMenuIsToldWithAllThatCanBeSeenAndSentOfItsItems) {
  const auto replies = performAll({R"({"do":"select","files":["/watched/file.zip"]})", R"({"do":"menu","kind":0})"});
  const auto reply = JSON::parse(replies[1]);
  const auto& items = *reply.value().member("menu")->member("items")->get<JSON::ArrayValue>();
  EXPECT_EQ(items[0].text(), R"({"title":"Delete\u2026","action":"delete:","tag":-203,"enabled":true,"image":null})");
  const auto& below = *items[1].member("items")->get<JSON::ArrayValue>();
  EXPECT_EQ(below[3].text(),
            R"json({"title":"Ultra Security (35 passes)","action":"delete:","tag":-208,"enabled":true,"image":null})json");
}

TEST_F(ConsoleTest, anItemIsChosenByTheTitlesOrThePositionsOnTheWayToIt) {
  EXPECT_THAT(performAll({R"({"do":"select","files":["/watched/file.zip"]})", R"({"do":"menu","kind":0})",
                          R"({"do":"choose","titles":["Compress","TAR","GZIP"]})", R"({"do":"choose","at":[0]})"}),
              ElementsAre(testing::_, testing::_, R"({"ok":true})", R"({"ok":true})"));
  EXPECT_THAT(takeSummaries(), ElementsAre("compress:", "delete:"));
}

TEST_F(ConsoleTest, whatCannotBeChosenIsRefused) {
  const auto replies = performAll({
      R"({"do":"choose","at":[0]})",  // before any menu
      R"({"do":"select","files":["/watched/file.zip"]})",
      R"({"do":"menu","kind":0})",
      R"({"do":"choose","titles":["Fly"]})",
      R"({"do":"choose","titles":["Compress"]})",
      R"({"do":"choose","titles":["Compress","TAR","GZIP","More"]})",
      R"({"do":"choose","at":[99]})",
      R"({"do":"choose","at":[-1]})",
      R"({"do":"choose","at":["0"]})",
      R"({"do":"choose","titles":["Compress"],"at":[0]})",
  });
  for (std::size_t i : {0, 3, 4, 5, 6, 7, 8, 9}) EXPECT_TRUE(isError(replies[i])) << i << ": " << replies[i];
  EXPECT_THAT(takeSummaries(), IsEmpty());
}

TEST_F(ConsoleTest, aChoiceThatSendsNothingIsNoSuccess) {
  performAll({R"({"do":"select","files":["/watched/file.zip"]})"});
  Console one(browser, *extension, fakes.fileManager, sent);
  std::vector<std::string> replies;
  const auto ask = [&](std::string_view line) {
    one.perform(*JSON::parse(line), [&](const JSON& reply) { replies.push_back(reply.text()); });
  };
  ask(R"({"do":"menu","kind":0})");
  quitHost();
  ask(R"({"do":"choose","at":[0]})");
  EXPECT_TRUE(isError(replies.back())) << replies.back();
  EXPECT_THAT(replies.back(), testing::HasSubstr("nothing was sent"));
}

TEST_F(ConsoleTest, theDisabledLineCannotBeChosen) {
  quitHost();
  const auto replies = performAll({R"({"do":"menu","kind":3})", R"({"do":"choose","at":[0]})"});
  EXPECT_EQ(replies[0],
            R"({"menu":{"items":[{"title":"Dovetail is not running","action":null,"tag":0,"enabled":false,"image":null}]}})");
  EXPECT_TRUE(isError(replies[1]));
}

TEST_F(ConsoleTest, theStateIsWhatTheExtensionHolds) {
  EXPECT_EQ(performAll({R"({"do":"open","folder":"/watched"})", R"({"do":"select","files":["/watched/file.zip"]})",
                        R"({"do":"menu","kind":0})", R"({"do":"state"})"})
                .back(),
            R"({"applicationPid":900,"portName":"G.Sync.4711","portOpen":true,"targetUrls":["file:///watched/file.zip"],)"
            R"("observedFiles":{"/watched":["/watched/file.zip","/watched/notes.txt"]},"archives":2,"archiveMenus":0})");
}

TEST_F(ConsoleTest, beforeTheFirstMenuThereAreNoTargets) {
  EXPECT_EQ(JSON::parse(perform(R"({"do":"state"})")).value().member("targetUrls")->text(), "null");
}

TEST_F(ConsoleTest, aFolderSeenByItsFilesAloneIsCalledByWhereTheyAre) {
  EXPECT_EQ(JSON::parse(performAll({R"({"do":"badge","file":"/other/file.zip"})", R"({"do":"state"})"})[1])
                ->member("observedFiles")
                ->text(),
            R"({"/other":["/other/file.zip"]})");
}

TEST_F(ConsoleTest, theToolbarButtonIsToldWithItsImage) {
  EXPECT_EQ(perform(R"({"do":"toolbar"})"),
            R"({"name":"Dovetail","toolTip":"","image":{"source":"named StatusItemImage","width":32,"height":32}})");
}

}  // namespace
