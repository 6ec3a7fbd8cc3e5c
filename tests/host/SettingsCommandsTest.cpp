#include "host/SettingsCommands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "host/ItemLists.h"
#include "tests/host/HostSession.h"
#include "wire/Commands.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class SettingsProgram : public testing::Test {
 protected:
  /// Runs a command of the host to its end: its output. The status is kept.
  std::string run(std::vector<std::string> words) {
    const auto program = session.host(std::move(words));
    status = program->exitStatus();
    errors = program->errors();
    return program->output();
  }
  std::string stored(const std::string& key) { return session.run({"dconf", "read", "/org/dovetail/group/" + key})->output(); }
  std::string makeFolder(const std::string& name) {
    std::filesystem::create_directory(session.folder().path(name));
    return std::filesystem::canonical(session.folder().path(name)).string();
  }

  HostSession session;
  std::optional<int> status;
  std::string errors;
};

TEST_F(SettingsProgram, foldersAreAddedListedRemovedAndCleared) {
  const std::string one = makeFolder("one"), two = makeFolder("two \xE9");
  EXPECT_EQ(run({"folders", "add", one, two}), "");
  EXPECT_EQ(status, 0);
  EXPECT_EQ(run({"folders", "list"}), one + "\n" + two + "\n");
  EXPECT_EQ(run({"folders", "remove", one}), "");
  EXPECT_EQ(run({"folders", "list"}), two + "\n");
  EXPECT_EQ(run({"folders", "clear"}), "");
  EXPECT_EQ(run({"folders", "list"}), "");
  EXPECT_EQ(stored("DTFoldersPaths"), "");
}

TEST_F(SettingsProgram, aFolderStandsOnceHoweverItIsNamed) {
  const std::string one = makeFolder("one");
  std::filesystem::create_directory_symlink(one, session.folder().path("link"));
  run({"folders", "add", one, one + "/", session.folder().path("link"), session.folder().path("one/../one")});
  EXPECT_EQ(run({"folders", "list"}), one + "\n");
}

TEST_F(SettingsProgram, aFolderThatWasRenamedIsListedWhereItIs) {
  const std::string one = makeFolder("one");
  run({"folders", "add", one});
  std::filesystem::rename(one, one + " renamed");
  EXPECT_EQ(run({"folders", "list"}), one + " renamed\n");
}

TEST_F(SettingsProgram, aFolderThatIsGoneKeepsItsPlace) {
  const std::string one = makeFolder("one"), two = makeFolder("two");
  run({"folders", "add", one, two});
  std::filesystem::remove(one);
  EXPECT_EQ(run({"folders", "list"}), one + " (gone)\n" + two + "\n");
}

TEST_F(SettingsProgram, aFolderThatIsGoneIsRemovedByThePathThatItHad) {
  const std::string one = makeFolder("one"), two = makeFolder("two");
  std::filesystem::create_directory_symlink(session.folder().path(), session.folder().path("link"));
  run({"folders", "add", one, two});
  std::filesystem::remove(one);
  EXPECT_EQ(run({"folders", "remove", session.folder().path("link/one/")}), "");
  EXPECT_EQ(status, 0) << errors;
  EXPECT_EQ(run({"folders", "list"}), two + "\n");
  run({"folders", "remove", one});
  EXPECT_EQ(status, 1);
}

TEST_F(SettingsProgram, whatIsNoFolderIsRefusedAndNothingIsAdded) {
  const std::string one = makeFolder("one");
  run({"folders", "add", one, session.folder().file("file", "")});
  EXPECT_EQ(status, 1);
  EXPECT_THAT(errors, HasSubstr("is no folder"));
  run({"folders", "remove", one});
  EXPECT_EQ(status, 1);
  EXPECT_THAT(errors, HasSubstr("is no watched folder"));
  EXPECT_EQ(run({"folders", "list"}), "");
}

TEST_F(SettingsProgram, aLayoutIsStoredAndShownWithTheNamesOfItsCommands) {
  run({"items", "toolbar", "root=9,7", "more=10"});
  EXPECT_EQ(status, 0) << errors;
  EXPECT_EQ(run({"items", "toolbar"}),
            "root: 9 Compress, 7 Delete\nmore: 10 Expand\n"
            "other: 1 Permissions, 2 Combined Permissions, 3 Access Control List, 4 Rename, 5 Size Browser, 6 Checksum, "
            "8 Secure Delete\n");
  EXPECT_EQ(stored("DTToolbarItemMenuItems"),
            "{'DTRootMenuItems': <[9, 7]>, 'DTMoreMenuItems': <[10]>, 'DTOtherMenuItems': <[1, 2, 3, 4, 5, 6, 8]>}\n");
  EXPECT_EQ(stored("DTContextualMenuItems"), "");
}

TEST_F(SettingsProgram, aLayoutThatIsResetIsThatOfANewUserAgain) {
  const std::string fresh = run({"items", "contextual", "show"});
  EXPECT_THAT(fresh, testing::StartsWith("root: 7 Delete, 8 Secure Delete, 9 Compress, 10 Expand, "));
  run({"items", "contextual", "root="});
  EXPECT_NE(run({"items", "contextual"}), fresh);
  run({"items", "contextual", "reset"});
  EXPECT_EQ(run({"items", "contextual"}), fresh);
  EXPECT_EQ(stored("DTContextualMenuItems"), "");
}

TEST_F(SettingsProgram, theArchiveIconsKeyEndsInASpace) {
  run({"icons", "archive", "off"});
  EXPECT_EQ(stored("DTArchiveIconsShown "), "false\n");
  EXPECT_EQ(stored("DTArchiveIconsShown"), "");
}

TEST_F(SettingsProgram, eachIconFlagHasItsKey) {
  run({"icons", "contextual", "on"});
  EXPECT_EQ(stored("DTContextualMenuItemsIconShown"), "true\n");
  run({"icons", "toolbar", "on"});
  EXPECT_EQ(stored("DTToolbarItemMenuItemsIconShown"), "true\n");
}

TEST_F(SettingsProgram, allSettingsArePrintedAsOneObject) {
  const std::string one = makeFolder("one");
  run({"folders", "add", one});
  run({"items", "contextual", "root=7", "other="});
  run({"icons", "archive", "on"});
  EXPECT_EQ(run({"settings"}),
            R"({"DTApplicationVersion":null,"DTArchiveIconsShown ":true,"DTContextualMenuItems":)"
            R"({"DTRootMenuItems":[{"tag":7,"command":"Delete"}],"DTMoreMenuItems":[],"DTOtherMenuItems":[]},)"
            R"("DTContextualMenuItemsIconShown":null,"DTToolbarItemMenuItems":null,"DTToolbarItemMenuItemsIconShown":null,)"
            R"("DTFoldersPaths":[")" +
                one +
                R"("],"DTMenuBarIconShown":null})"
                "\n");
}

TEST_F(SettingsProgram, anotherGroupHasSettingsOfItsOwn) {
  run({"--group", "org.example.other", "icons", "archive", "off"});
  EXPECT_EQ(stored("DTArchiveIconsShown "), "");
  EXPECT_THAT(run({"--group", "org.example.other", "settings"}), HasSubstr(R"("DTArchiveIconsShown ":false)"));
}

TEST_F(SettingsProgram, optionsMayStandAnywhereUntilTwoDashes) {
  const std::string odd = makeFolder("--odd");
  EXPECT_EQ(run({"folders", "--group=org.example.other", "add", "--", odd, session.folder().path("-x/../--odd")}), "");
  EXPECT_EQ(status, 1);
  std::filesystem::current_path(session.folder().path());
  EXPECT_EQ(run({"folders", "--group=org.example.other", "add", "--", "--odd"}), "");
  EXPECT_EQ(status, 0) << errors;
  EXPECT_EQ(run({"--group", "org.example.other", "folders", "list"}), odd + "\n");
  EXPECT_EQ(run({"folders", "list"}), "");
}

TEST_F(SettingsProgram, wrongWordsAreRefusedWithStatusTwo) {
  const std::vector<std::vector<std::string>> wrong{{"folder"},
                                                    {"folders"},
                                                    {"folders", "add"},
                                                    {"folders", "list", "x"},
                                                    {"items"},
                                                    {"items", "menu"},
                                                    {"items", "toolbar", "root=99"},
                                                    {"items", "toolbar", "top=1"},
                                                    {"icons", "archive"},
                                                    {"icons", "archive", "yes"},
                                                    {"settings", "x"},
                                                    {"run", "x"},
                                                    {"--group"},
                                                    {"--nonsense"},
                                                    {"--identifier", "no name"}};
  for (const auto& words : wrong) {
    EXPECT_EQ(run(words), "") << testing::PrintToString(words);
    EXPECT_EQ(status, 2) << testing::PrintToString(words);
    EXPECT_THAT(errors, testing::StartsWith("dovetail-host: ")) << testing::PrintToString(words);
  }
}

TEST_F(SettingsProgram, aSettingThatCannotBeWrittenIsSaidSo) {
  session.endBus();
  run({"icons", "archive", "off"});
  EXPECT_EQ(status, 1);
  EXPECT_THAT(errors, HasSubstr("The setting cannot be written: "));
}

TEST_F(SettingsProgram, theHelpNamesEachCommand) {
  const std::string help = run({"--help"});
  EXPECT_EQ(status, 0);
  for (const char* command : {"run", "folders add", "items contextual", "icons archive", "settings"})
    EXPECT_THAT(help, HasSubstr(command));
}

TEST(ItemLists, theirStoredFormReadsBack) {
  const ItemLists items{{3, 1}, {2}, {}};
  EXPECT_EQ(ItemLists::ofObject(items.object()), items);
}

TEST(ItemLists, anythingButADictionaryIsNoLayout) {
  EXPECT_FALSE(ItemLists::ofObject(platform::Object("text")));
  EXPECT_FALSE(ItemLists::ofObject(platform::Object()));
}

TEST(ItemLists, listsThatAreNotNamedAreEmptyButTheOthersTakeWhatIsLeft) {
  const auto items = ItemLists::ofWords({"root=1,2,3,4,5,6,7"});
  ASSERT_TRUE(items);
  EXPECT_THAT(items->root, ElementsAre(1, 2, 3, 4, 5, 6, 7));
  EXPECT_THAT(items->more, testing::IsEmpty());
  std::vector<std::int64_t> left;
  for (const wire::Command& command : wire::commands)
    if (command.tag > 7) left.push_back(command.tag);
  EXPECT_EQ(items->other, left);
}

TEST(ItemLists, tagsThatAreNoneOrStandTwiceAreRefused) {
  for (const auto& words : std::vector<std::vector<std::string>>{{"root=0"},
                                                                 {"root=99"},
                                                                 {"root=-1"},
                                                                 {"root=1,"},
                                                                 {"root=,1"},
                                                                 {"root=x"},
                                                                 {"root=1 2"},
                                                                 {"root=1,1"},
                                                                 {"root=1", "more=1"},
                                                                 {"root"}}) {
    const auto lists = ItemLists::ofWords(words);
    ASSERT_FALSE(lists) << words[0];
    EXPECT_NE(lists.reason(), "");
  }
}

}  // namespace
