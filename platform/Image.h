// An image as menus and toolbars take it: a size in points and an ordered list of representations. A value that is
// shared and immutable once made; pixels are only read when something is drawn.
#pragma once

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

/// Where a representation's pixels come from: a file of the icon theme or of our own resources. `source` names the
/// drawing for people and tests (the theme's icon name, or the resource's); `file` may be empty where only a name is known.
struct ImageRepresentation {
  Size size;
  std::string source;
  std::string file;
};

struct Image {
  Size size;
  std::vector<ImageRepresentation> representations;
  bool isTemplate = false;
  std::string name;  ///< The name it was found by; empty for an image put together.

  /// The smallest representation that covers a rectangle of `size` at the origin, else the largest, or null when there
  /// is none (as the platform chooses without a graphics context and hints).
  const ImageRepresentation* bestRepresentationForRect(Size size) const;
};

using ImageRef = std::shared_ptr<const Image>;

}  // namespace platform
