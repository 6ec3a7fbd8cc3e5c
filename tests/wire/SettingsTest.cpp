#include "wire/Settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "wire/Messages.h"

using testing::ElementsAre;
using testing::IsEmpty;

TEST(SettingsOfTheWire, theKeysAreThoseOfEveryHost) {
  EXPECT_EQ(wire::SettingsKey::applicationVersion, "DTApplicationVersion");
  EXPECT_EQ(wire::SettingsKey::archiveIconsShown, "DTArchiveIconsShown ");
  EXPECT_EQ(wire::SettingsKey::foldersPaths, "DTFoldersPaths");
  EXPECT_EQ(wire::SettingsKey::menuBarIconShown, "DTMenuBarIconShown");
  EXPECT_EQ(wire::contextualMenu.itemLists, "DTContextualMenuItems");
  EXPECT_EQ(wire::contextualMenu.iconShown, "DTContextualMenuItemsIconShown");
  EXPECT_EQ(wire::toolbarMenu.itemLists, "DTToolbarItemMenuItems");
  EXPECT_EQ(wire::toolbarMenu.iconShown, "DTToolbarItemMenuItemsIconShown");
}

TEST(SettingsOfTheWire, aNewUserSeesTheDefaultLayout) {
  EXPECT_EQ(wire::rootItems.key, "DTRootMenuItems");
  EXPECT_THAT(wire::rootItems.defaults, ElementsAre(7, 8, 9, 10, 4, 5, 1, 3));
  EXPECT_EQ(wire::moreItems.key, "DTMoreMenuItems");
  EXPECT_THAT(wire::moreItems.defaults, ElementsAre(2, 6));
  EXPECT_EQ(wire::otherItems.key, "DTOtherMenuItems");
  EXPECT_THAT(wire::otherItems.defaults, IsEmpty());
}

TEST(MessagesOfTheWire, theNamesAreThoseOfEveryHost) {
  EXPECT_EQ(wire::Selector::openArchive, "openArchive:portName:");
  EXPECT_EQ(wire::Selector::pingPortName, "pingPortName:");
  EXPECT_EQ(wire::Selector::setArchive, "setArchive:");
  EXPECT_EQ(wire::Selector::showError, "showError:");
  EXPECT_EQ(wire::Option::subject, "1");
  EXPECT_EQ(wire::Option::choice, "2");
  EXPECT_EQ(wire::Notification::hostRunning, "DTDovetailRunning");
  EXPECT_EQ(wire::Notification::sendFailure, "DTDovetailAppMessage");
  EXPECT_EQ(wire::errorDomain, "DTMessageErrorDomain");
  EXPECT_EQ(wire::hostPortName("G"), "G.App");
  EXPECT_EQ(wire::extensionPortName("G", 4711), "G.Sync.4711");
}
