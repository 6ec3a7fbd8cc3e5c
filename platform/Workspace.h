// Images by name and icons by file type (Cocoa's NSImage names and NSWorkspace).
#pragma once

#include <string_view>

#include "platform/Image.h"

namespace platform {

class Workspace {
 public:
  virtual ~Workspace() = default;
  /// A standard image of the platform, an image of the program's own resources, or null for an unknown name.
  [[nodiscard]] virtual ImageRef imageNamed(std::string_view name) = 0;
  /// The icon of a file name extension, in all sizes there are; the empty extension has one too. Never null.
  [[nodiscard]] virtual ImageRef iconForFileType(std::string_view extension) = 0;
};

}  // namespace platform
