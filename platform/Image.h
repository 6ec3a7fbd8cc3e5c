// An image as menus and toolbars take it: a size in points and an ordered list of representations. A value that is
// shared and immutable once made; pixels are only read when something is drawn.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/ImageNames.h"

namespace platform {

struct Size {
  double width = 0;
  double height = 0;

  friend bool operator==(const Size&, const Size&) = default;
};

/// Pixels in memory: rows from the top, four bytes a pixel (red, green, blue, alpha), colours multiplied by alpha.
struct Bitmap {
  int width = 0;   ///< pixels
  int height = 0;  ///< pixels
  std::vector<std::uint8_t> bytes;
};

/// Where a representation's pixels come from: a file of the icon theme or of our own resources, or what was drawn in
/// memory. `source` names the drawing for people and tests (the theme's icon name, or the resource's); `file` may be
/// empty where only a name is known.
struct ImageRepresentation {
  Size size;  ///< points
  std::string source;
  std::string file;
  std::shared_ptr<const Bitmap> bitmap = nullptr;
};

enum class SymbolScale { small = 1, medium = 2, large = 3 };

inline constexpr double FontWeightRegular = 0;

/// How a symbol image is fitted to the text that it stands beside.
struct SymbolConfiguration {
  double pointSize = 0;
  double weight = FontWeightRegular;
  SymbolScale scale = SymbolScale::medium;

  friend bool operator==(const SymbolConfiguration&, const SymbolConfiguration&) = default;
};

struct Image {
  Size size;
  std::vector<ImageRepresentation> representations;
  bool isTemplate = false;  ///< Only its shape counts; whoever shows it chooses the colour.
  std::string name;         ///< The name it was found by; empty for an image put together.
  std::optional<SymbolConfiguration> symbolConfiguration = std::nullopt;

  /// The smallest representation that covers a rectangle of `wanted` at the origin, else the largest, or null when there
  /// is none (as the platform chooses without a graphics context and hints).
  const ImageRepresentation* bestRepresentationForRect(Size wanted) const;
};

using ImageRef = std::shared_ptr<const Image>;

/// A new image of that size which holds the one representation of `source` that fits it best, and no other; an empty one for null.
ImageRef reducedImage(const ImageRef& source, Size size);

}  // namespace platform
