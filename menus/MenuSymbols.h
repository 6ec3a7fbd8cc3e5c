// A fixed catalogue of small images for menus and toolbars: on a system with symbol images each is a symbol,
// on an earlier one a standard image of the platform or an image of our own resources. The extension's own
// menus take none of them. Nothing is kept between calls, though the platform may share an image that has a
// name. Main thread only.
#pragma once

#include <span>
#include <string_view>

#include "platform/Graphics.h"
#include "platform/Image.h"
#include "platform/ProcessInfo.h"
#include "platform/SymbolImages.h"
#include "platform/Workspace.h"

namespace DTExtension {

/// What the catalogue asks of the system. The referents outlive it.
struct MenuSymbolSources {
  platform::Workspace& workspace;
  platform::SymbolImages& symbolImages;
  platform::Graphics& graphics;
  platform::ProcessInfo& processInfo;
};

/// From this version on the system has symbol images.
inline constexpr platform::OperatingSystemVersion firstVersionWithSymbols{11, 0, 0};

struct MenuSymbol {
  std::string_view operation;  ///< The catalogue's name for it, as "folderImage".
  std::string_view symbol;     ///< The system symbol's name.
  std::string_view fallback;   ///< A standard image's name, or that of one of our resources.
  /// People: the symbol takes a configuration, the fallback is cut to a circle and becomes a template image.
  bool isPortrait = false;
};

/// All 27, in their order.
std::span<const MenuSymbol> menuSymbols();

/// The entry of that operation, or null.
const MenuSymbol* menuSymbol(std::string_view operation);

/// The entry's image, by the running system's version; null where the platform has none of the name.
platform::ImageRef menuSymbolImage(const MenuSymbol& entry, const MenuSymbolSources& sources);

/// A new square image: the centred square of `image` inside a circle, transparent outside it.
platform::ImageRef roundedImage(const platform::Image& image, platform::Graphics& graphics);

}  // namespace DTExtension
