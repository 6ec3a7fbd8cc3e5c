// The commands, one row each: what both programs call a command, when it is offered and what a choice of it sends. Menus, requests,
// dispatch and the host's names are made from these rows. Numbers, titles and selectors are a contract with every host.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>
#include <string_view>

/// The commands by tag, as the item lists name them.
enum DTMenuItemTag : std::int64_t {
  DTMenuItemPermissions = 1,
  DTMenuItemCombinedPermissions = 2,
  DTMenuItemAccessControlList = 3,
  DTMenuItemRename = 4,
  DTMenuItemSizeBrowser = 5,
  DTMenuItemChecksum = 6,
  DTMenuItemDelete = 7,
  DTMenuItemSecureDelete = 8,
  DTMenuItemCompress = 9,
  DTMenuItemExpand = 10,
};

namespace wire {

/// What a menu has to act on for a command to stand in it.
enum class Offer {
  always,
  severalTargets,
  severalTargetsOrFolder,
  someFile,      ///< At least one target that is no folder.
  knownArchive,  ///< One target whose table of contents has come: it is the submenu, its name the title.
};

/// What a choice sends under the command's selector. Each but the first is an option: what is acted on, the choice.
enum class Request {
  targets,
  targetsAndTag,
  filesAndTag,      ///< The targets that are no folders.
  archiveAndEntry,  ///< The first target and the entry's index path.
};

/// A line of a submenu: its title and the tag that its action sends.
struct Choice {
  std::string_view title;
  std::int64_t tag;
  bool hasCompressions = false;  ///< The compressions are its own submenu.
};

struct Command {
  DTMenuItemTag tag;
  std::string_view title;
  std::string_view selector;
  std::int64_t ownTag;  ///< That its item's action sends.
  Offer offer;
  Request request;
  std::span<const Choice> choices = {};  ///< Its submenu.

  /// The title without the ellipsis that announces a window.
  constexpr std::string_view name() const {
    constexpr std::string_view ellipsis = "…";
    return title.ends_with(ellipsis) ? title.substr(0, title.size() - ellipsis.size()) : title;
  }
};

inline constexpr std::array<Choice, 4> secureDeleteLevels{{
    {"Normal Delete (Insecure)", -205},
    {"Simple Security (1 pass)", -206},
    {"Medium Security (7 passes)", -207},
    {"Ultra Security (35 passes)", -208},
}};

inline constexpr std::array<Choice, 8> checksumAlgorithms{{
    {"MD2", 1},
    {"MD4", 2},
    {"MD5", 3},
    {"SHA-1", 4},
    {"SHA-2:224", 5},
    {"SHA-2:256", 6},
    {"SHA-2:384", 7},
    {"SHA-2:512", 8},
}};

/// A format's code is a single bit; the gaps are the host's.
inline constexpr std::array<Choice, 7> archiveFormats{{
    {"ZIP", 0x10000},
    {"ZIP with Password", 0x20000},
    {"7-ZIP", 0x80000},
    {"XAR", 0x2000000},
    {"TAR", 0x4000000, true},
    {"PAX", 0x8000000, true},
    {"CPIO", 0x10000000, true},
}};

/// A compression's flag stands beside the format's code in one tag.
inline constexpr std::array<Choice, 5> compressions{{
    {"None", 1},
    {"GZIP", 2},
    {"BZIP2", 4},
    {"XZ", 8},
    {"UNIX", 16},
}};

// clang-format off
inline constexpr std::array commands{
    Command{DTMenuItemPermissions, "Permissions…", "showPermissions:", 0, Offer::always, Request::targetsAndTag},
    Command{DTMenuItemCombinedPermissions, "Combined Permissions…", "showPermissions:", 1, Offer::severalTargets, Request::targetsAndTag},
    Command{DTMenuItemAccessControlList, "Access Control List…", "showAcl:", 0, Offer::always, Request::targets},
    Command{DTMenuItemRename, "Rename…", "rename:", 0, Offer::always, Request::targets},
    Command{DTMenuItemSizeBrowser, "Size Browser…", "showSizeBrowser:", 0, Offer::severalTargetsOrFolder, Request::targets},
    Command{DTMenuItemChecksum, "Checksum…", "showChecksum:", 0, Offer::someFile, Request::filesAndTag, checksumAlgorithms},
    Command{DTMenuItemDelete, "Delete…", "delete:", -203, Offer::always, Request::targetsAndTag},
    Command{DTMenuItemSecureDelete, "Secure Delete…", "delete:", -204, Offer::always, Request::targetsAndTag, secureDeleteLevels},
    Command{DTMenuItemCompress, "Compress", "compress:", 0, Offer::always, Request::targetsAndTag, archiveFormats},
    Command{DTMenuItemExpand, "Expand", "expand:", 0, Offer::knownArchive, Request::archiveAndEntry},
};
// clang-format on

/// Null for a number that is no tag.
constexpr const Command* commandWithTag(std::int64_t tag) {
  const auto* found = std::ranges::find(commands, tag, &Command::tag);
  return found == commands.end() ? nullptr : found;
}

/// The first of the commands that share the selector, or null.
constexpr const Command* commandWithSelector(std::string_view selector) {
  const auto* found = std::ranges::find(commands, selector, &Command::selector);
  return found == commands.end() ? nullptr : found;
}

// The host tells commands of one selector apart by the tag alone.
static_assert(std::ranges::all_of(commands, [](const Command& command) {
  return commandWithTag(command.tag) == &command && commandWithSelector(command.selector)->request == command.request;
}));

/// The action of an archive's item and of the entries below it.
inline constexpr std::string_view expandAction = commandWithTag(DTMenuItemExpand)->selector;

}  // namespace wire
