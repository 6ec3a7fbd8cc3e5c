// The desktop's icon theme with all that it inherits from, read as the freedesktop Icon Theme standard
// 0.13 tells, without a toolkit and without a display. The theme's description files are read once, at
// construction; the drawings of a name are looked for once. What changes in the theme afterwards is seen by
// the next process. Main thread only.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Image.h"

namespace platform::native {

/// The folders that hold icon themes, in their order: the user's, then those of XDG_DATA_DIRS.
std::vector<std::string> iconThemeFolders();

/// The name of the theme that the desktop's settings choose, "Adwaita" where there is no such setting.
std::string currentIconThemeName();

/// What a theme has of one icon.
struct ThemedIcon {
  std::vector<ImageRepresentation> representations;  ///< Smallest first; empty when no theme has a drawing.
  std::string unreadableFile;                        ///< The first file met that is no whole image; mostly empty.
};

class IconTheme {
 public:
  /// A theme that is not installed counts as "Adwaita"; "hicolor" always ends the chain.
  IconTheme(std::string_view name, std::vector<std::string> themeFolders);

  /// The drawings of the first theme of the chain that has one of `names`, the names tried in their order
  /// within each theme; at most one for each folder of the theme, each a whole PNG or SVG file. Sizes are in
  /// points, so drawings for double resolution are left out. A name with a slash or a leading dot is in no
  /// theme.
  ThemedIcon icon(const std::vector<std::string>& names);

 private:
  struct Directory {
    std::string path;
    double size = 0;  // points
  };
  struct Theme {
    std::vector<Directory> directories;  // those that exist, of all theme folders
    std::vector<std::string> parents;
    std::map<std::string, ThemedIcon> icons;  // those asked for, found or not
  };

  void appendTheme(const std::string& name, std::vector<std::string>& seen);
  bool readTheme(const std::string& name, Theme& theme) const;
  static ThemedIcon findDrawings(const Theme& theme, const std::string& name);

  std::vector<std::string> themeFolders_;
  std::vector<Theme> chain_;
};

}  // namespace platform::native
