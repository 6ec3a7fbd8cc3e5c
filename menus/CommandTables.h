// The commands and their choices, as the host application numbers them. Titles and numbers are a contract with every host.
#pragma once

#include <array>
#include <cstdint>
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

/// One choice of a submenu: its title and the tag that its action sends to the host.
struct Choice {
  std::string_view title;
  std::int64_t tag;
};

inline constexpr std::int64_t deleteTag = -203;
inline constexpr std::int64_t secureDeleteTag = -204;
inline constexpr std::int64_t combinedPermissionsTag = 1;

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
inline constexpr std::array<std::string_view, 7> archiveFormatTitles{
    "ZIP", "ZIP with Password", "7-ZIP", "XAR", "TAR", "PAX", "CPIO",
};
inline constexpr std::array<std::int64_t, 7> archiveFormatCodes{
    0x10000, 0x20000, 0x80000, 0x2000000, 0x4000000, 0x8000000, 0x10000000,
};
/// Formats from this position on are offered with a choice of compression.
inline constexpr std::size_t firstCompressibleFormat = 4;

/// A compression's flag stands beside the format's code in one tag.
inline constexpr std::array<Choice, 5> compressions{{
    {"None", 1},
    {"GZIP", 2},
    {"BZIP2", 4},
    {"XZ", 8},
    {"UNIX", 16},
}};
