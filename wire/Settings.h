// The settings that the host writes and the extension reads: all keys, and the menu layout of a new user. Texts are a contract with
// every host (docs/host-protocol.md).
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "wire/Commands.h"

namespace wire {

/// The extension registers the flags "DTMenuBarIconShown" and "DTArchiveIconsShown " as yes and the layouts of both menus as the
/// default one; the other keys have no default.
namespace SettingsKey {
inline constexpr std::string_view applicationVersion = "DTApplicationVersion";  ///< Text.
inline constexpr std::string_view archiveIconsShown = "DTArchiveIconsShown ";   ///< Flag; the space is part of the key.
inline constexpr std::string_view foldersPaths = "DTFoldersPaths";              ///< Array of bookmarks.
inline constexpr std::string_view menuBarIconShown = "DTMenuBarIconShown";      ///< Flag, for the host alone.
}  // namespace SettingsKey

/// The keys of one menu.
struct MenuSettings {
  std::string_view itemLists;  ///< Dictionary of the three item lists.
  std::string_view iconShown;  ///< Flag.
};

inline constexpr MenuSettings contextualMenu{"DTContextualMenuItems", "DTContextualMenuItemsIconShown"};
inline constexpr MenuSettings toolbarMenu{"DTToolbarItemMenuItems", "DTToolbarItemMenuItemsIconShown"};

inline constexpr std::array defaultRootItems{
    DTMenuItemDelete, DTMenuItemSecureDelete, DTMenuItemCompress,    DTMenuItemExpand,
    DTMenuItemRename, DTMenuItemSizeBrowser,  DTMenuItemPermissions, DTMenuItemAccessControlList,
};
inline constexpr std::array defaultMoreItems{DTMenuItemCombinedPermissions, DTMenuItemChecksum};

/// An array of tags, in the order of the menu.
struct ItemList {
  std::string_view key;
  std::span<const DTMenuItemTag> defaults;  ///< For a new user.
};

inline constexpr ItemList rootItems{"DTRootMenuItems", defaultRootItems};  ///< At the top level.
inline constexpr ItemList moreItems{"DTMoreMenuItems", defaultMoreItems};  ///< Under "More".
inline constexpr ItemList otherItems{"DTOtherMenuItems", {}};              ///< Nowhere; for the host alone.

}  // namespace wire
