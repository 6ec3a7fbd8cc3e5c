// The system's symbol images (Cocoa's NSImage imageWithSystemSymbolName: and imageWithSymbolConfiguration:).
// Main thread only.
#pragma once

#include <string_view>

#include "platform/Image.h"

namespace platform {

class SymbolImages {
 public:
  virtual ~SymbolImages() = default;
  /// The symbol of that name without a configuration and without an accessibility description; null for an
  /// unknown name.
  [[nodiscard]] virtual ImageRef imageWithSystemSymbolName(std::string_view name) = 0;
  /// A new image of the same symbol that carries the configuration and has the size that follows from it.
  [[nodiscard]] virtual ImageRef imageWithSymbolConfiguration(const Image& image, const SymbolConfiguration& configuration) = 0;
};

}  // namespace platform
