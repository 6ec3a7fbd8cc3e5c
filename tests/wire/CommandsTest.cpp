#include "wire/Commands.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using wire::Offer;
using wire::Request;

namespace {

struct Row {
  std::int64_t tag;
  std::string title, name, selector;
  std::int64_t ownTag;
  Offer offer;
  Request request;
  std::size_t choices;
};

// As every host has them: a command that is added gets its line here.
const std::vector<Row> rows{
    {1, "Permissions…", "Permissions", "showPermissions:", 0, Offer::always, Request::targetsAndTag, 0},
    {2, "Combined Permissions…", "Combined Permissions", "showPermissions:", 1, Offer::severalTargets, Request::targetsAndTag, 0},
    {3, "Access Control List…", "Access Control List", "showAcl:", 0, Offer::always, Request::targets, 0},
    {4, "Rename…", "Rename", "rename:", 0, Offer::always, Request::targets, 0},
    {5, "Size Browser…", "Size Browser", "showSizeBrowser:", 0, Offer::severalTargetsOrFolder, Request::targets, 0},
    {6, "Checksum…", "Checksum", "showChecksum:", 0, Offer::someFile, Request::filesAndTag, 8},
    {7, "Delete…", "Delete", "delete:", -203, Offer::always, Request::targetsAndTag, 0},
    {8, "Secure Delete…", "Secure Delete", "delete:", -204, Offer::always, Request::targetsAndTag, 4},
    {9, "Compress", "Compress", "compress:", 0, Offer::always, Request::targetsAndTag, 7},
    {10, "Expand", "Expand", "expand:", 0, Offer::knownArchive, Request::archiveAndEntry, 0},
};

}  // namespace

TEST(Commands, eachIsTheRowThatEveryHostKnows) {
  ASSERT_EQ(wire::commands.size(), rows.size());
  for (const Row& row : rows) {
    const wire::Command* command = wire::commandWithTag(row.tag);
    ASSERT_TRUE(command) << row.title;
    EXPECT_EQ(command->title, row.title);
    EXPECT_EQ(command->name(), row.name);
    EXPECT_EQ(command->selector, row.selector);
    EXPECT_EQ(command->ownTag, row.ownTag) << row.title;
    EXPECT_EQ(command->offer, row.offer) << row.title;
    EXPECT_EQ(command->request, row.request) << row.title;
    EXPECT_EQ(command->choices.size(), row.choices) << row.title;
  }
}

TEST(Commands, aNumberThatIsNoTagHasNoRow) {
  const auto beyond = static_cast<std::int64_t>(rows.size()) + 1;
  for (const std::int64_t tag : {std::int64_t{0}, std::int64_t{-1}, beyond, INT64_MAX, INT64_MIN}) {
    EXPECT_EQ(wire::commandWithTag(tag), nullptr) << tag;
  }
}

TEST(Commands, aSelectorThatIsNoCommandsHasNoRow) {
  for (const std::string_view selector : {"", "delete", "Delete:", "setArchive:"}) {
    EXPECT_EQ(wire::commandWithSelector(selector), nullptr) << selector;
  }
}

TEST(Commands, theFlagsOfCompressionsAndTheCodesOfFormatsShareNoBit) {
  std::int64_t taken = 0;
  for (const auto table :
       {std::span<const wire::Choice>(wire::archiveFormats), std::span<const wire::Choice>(wire::compressions)}) {
    for (const wire::Choice& choice : table) {
      EXPECT_EQ(choice.tag & (choice.tag - 1), 0) << choice.title;
      EXPECT_EQ(choice.tag & taken, 0) << choice.title;
      taken |= choice.tag;
    }
  }
}
