// Drawing on Linux: cairo on an image in memory, librsvg for the vector drawings. No toolkit, no display.
#pragma once

#include <string>

#include "platform/Graphics.h"

namespace platform::native {

class LinuxGraphics final : public Graphics {
 public:
  std::unique_ptr<GraphicsContext> lockFocus(Size size) override;
};

/// Writes the pixels as a PNG file, over one that is there. False when it cannot be written.
[[nodiscard]] bool writePNG(const Bitmap& bitmap, const std::string& file);

}  // namespace platform::native
