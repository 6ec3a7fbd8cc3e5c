#include "menus/SharedSettings.h"

#include "tests/ExtensionFixture.h"
#include "wire/Commands.h"

using platform::Array;
using platform::Dictionary;
using platform::Integer;
using platform::Object;
using testing::ElementsAre;
using testing::IsEmpty;

class SharedSettings : public ExtensionTest {
 protected:
  static std::vector<std::int64_t> tagsIn(const Dictionary& lists, std::string_view key) {
    std::vector<std::int64_t> tags;
    for (const Object& tag : *lists.objectForKey(key)->get<Array>()) tags.push_back(tag.get<Integer>()->signedValue());
    return tags;
  }
};

TEST_F(SharedSettings, theStoreIsOpenedOnceInAProcess) {
  startExtension();
  auto* store = extension->sharedApplicationGroupDefaults();
  ASSERT_TRUE(store);
  fakes.calls.take();
  EXPECT_EQ(extension->sharedApplicationGroupDefaults(), store);
  extension = nullptr;
  startExtension();
  EXPECT_EQ(extension->sharedApplicationGroupDefaults(), store);
  EXPECT_THAT(fakes.calls.take(), testing::Not(testing::Contains("open settings of G")));
}

TEST_F(SharedSettings, withoutTheEntitlementThereIsNoStoreForTheRestOfTheProcessAndTheMenusAreEmpty) {
  fakes.security.applicationGroups = Object();
  startExtension();
  EXPECT_EQ(extension->sharedApplicationGroupDefaults(), nullptr);
  fakes.security.applicationGroups = Object(Array{Object("G")});
  EXPECT_EQ(extension->sharedApplicationGroupDefaults(), nullptr);
  extension->setApplicationPid(hostPid);
  select({"/w/a"});
  ASSERT_TRUE(menu());
  EXPECT_THAT(menu().value().items, IsEmpty());
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(SharedSettings, anEntitlementOfEveryUnusableKindGivesNoStore) {
  for (const Object& value : {Object("G"), Object(Array()), Object(Array{Object(true), Object("G")})}) {
    OnceOnly process;
    fakes.security.applicationGroups = value;
    EXPECT_EQ(DTDovetailSync::init(fakes.references(), process)->sharedApplicationGroupDefaults(), nullptr);
  }
}

TEST_F(SharedSettings, theFirstOfTwoGroupsNamesTheSuite) {
  fakes.security.applicationGroups = Object(Array{Object("first"), Object("second")});
  startExtension();
  EXPECT_THAT(fakes.calls.take(), testing::Contains("open settings of first"));
}

TEST_F(SharedSettings, aFreshStoreReadsTheRegisteredDefaultsAndNoOthers) {
  startExtension();
  const auto* store = extension->sharedApplicationGroupDefaults();
  EXPECT_TRUE(store->boolForKey("DTMenuBarIconShown"));
  EXPECT_TRUE(store->boolForKey("DTArchiveIconsShown "));
  EXPECT_THAT(tagsIn(*store->dictionaryForKey("DTContextualMenuItems"), "DTRootMenuItems"), ElementsAre(7, 8, 9, 10, 4, 5, 1, 3));
  EXPECT_THAT(tagsIn(*store->dictionaryForKey("DTToolbarItemMenuItems"), "DTMoreMenuItems"), ElementsAre(2, 6));
  EXPECT_FALSE(store->boolForKey("DTContextualMenuItemsIconShown"));
  EXPECT_FALSE(store->boolForKey("DTToolbarItemMenuItemsIconShown"));
  EXPECT_EQ(store->arrayForKey("DTFoldersPaths"), nullptr);
  EXPECT_FALSE(store->stringForKey("DTApplicationVersion"));
}

TEST_F(SharedSettings, theArchiveIconsKeyWithoutItsSpaceFindsNothing) {
  startExtension();
  EXPECT_TRUE(extension->sharedApplicationGroupDefaults()->objectForKey("DTArchiveIconsShown").isNil());
}

TEST_F(SharedSettings, aStoredValueOfAnotherTypeReadsAsAbsent) {
  startExtension();
  fakes.userDefaultsSuites.set("G", "DTContextualMenuItems", Object("7,8"));
  fakes.userDefaultsSuites.set("G", "DTArchiveIconsShown ", Object(Array()));
  fakes.userDefaultsSuites.set("G", "DTFoldersPaths", Object(true));
  const auto* store = extension->sharedApplicationGroupDefaults();
  EXPECT_EQ(store->dictionaryForKey("DTContextualMenuItems"), nullptr);
  EXPECT_FALSE(store->boolForKey("DTArchiveIconsShown "));
  EXPECT_EQ(store->arrayForKey("DTFoldersPaths"), nullptr);
}

TEST_F(SharedSettings, aTextIsNoFlagWhateverItSays) {
  startExtension();
  const auto* store = extension->sharedApplicationGroupDefaults();
  for (const char* text : {"YES", "yes", "true", "1", ""}) {
    for (const char* key : {"DTArchiveIconsShown ", "DTContextualMenuItemsIconShown", "DTToolbarItemMenuItemsIconShown"}) {
      fakes.userDefaultsSuites.set("G", key, Object(text));
      EXPECT_FALSE(store->boolForKey(key)) << key << " " << text;
    }
  }
}

TEST_F(SharedSettings, aNumberIsNoText) {
  startExtension();
  fakes.userDefaultsSuites.set("G", "DTApplicationVersion", Object(Integer::ofSigned(1)));
  EXPECT_FALSE(extension->sharedApplicationGroupDefaults()->stringForKey("DTApplicationVersion"));
}

TEST_F(SharedSettings, theDefaultItemListsAreOneObjectWithAllTenTags) {
  const Dictionary& lists = DTExtension::defaultFinderMenuItems();
  EXPECT_EQ(&lists, &DTExtension::defaultFinderMenuItems());
  EXPECT_THAT(tagsIn(lists, "DTRootMenuItems"), ElementsAre(7, 8, 9, 10, 4, 5, 1, 3));
  EXPECT_THAT(tagsIn(lists, "DTMoreMenuItems"), ElementsAre(2, 6));
  EXPECT_THAT(tagsIn(lists, "DTOtherMenuItems"), IsEmpty());
  EXPECT_EQ(lists.entries.size(), 3u);
}

TEST_F(SharedSettings, everyTagHasItsTitle) {
  const char* titles[] = {"Permissions…", "Combined Permissions…", "Access Control List…",
                          "Rename…",      "Size Browser…",         "Checksum…",
                          "Delete…",      "Secure Delete…",        "Compress",
                          "Expand"};
  for (int tag = 1; tag <= 10; ++tag) {
    EXPECT_EQ(DTExtension::titleForMenuItemTag(Integer::ofSigned(tag), fakes.log), titles[tag - 1]);
  }
  EXPECT_THAT(fakes.log.lines, IsEmpty());
}

TEST_F(SharedSettings, aNumberThatIsNoTagHasNoTitleAndIsLogged) {
  for (const std::int64_t tag : {std::int64_t{0}, static_cast<std::int64_t>(wire::commands.size()) + 1, std::int64_t{-1}}) {
    fakes.log.lines.clear();
    EXPECT_FALSE(DTExtension::titleForMenuItemTag(Integer::ofSigned(tag), fakes.log));
    EXPECT_THAT(fakes.log.lines, ElementsAre("Should not get here!!!"));
  }
}
