// What stands behind a name on Linux: for the platform's standard images the names of the freedesktop Icon
// Naming standard, tried in their order, and a drawing of our own where the theme has none; for our own
// images that drawing. Our drawings lie in an icon theme folder, in the theme "hicolor", under the names
// given here.
#pragma once

#include <span>
#include <string_view>

namespace platform::native {

struct NamedImage {
  std::string_view name;
  std::span<const char* const> themeNames;
  std::string_view ownDrawing;  ///< Without its extension.
  double size = 16;             ///< Of the image, in points.
  bool isTemplate = false;
};

/// A standard image or one of our own resources, or null.
const NamedImage* namedImage(std::string_view name);

/// A symbol image by the platform's symbol name, or null.
const NamedImage* symbolImage(std::string_view name);

/// The icon of a file whose type has none in the theme.
inline constexpr std::string_view genericFileDrawing = "dovetail-generic-file";

}  // namespace platform::native
