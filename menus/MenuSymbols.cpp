#include "menus/MenuSymbols.h"

#include <algorithm>
#include <memory>

using platform::Image;
using platform::ImageRef;

namespace DTExtension {
namespace {

constexpr platform::SymbolConfiguration portraitConfiguration{
    .pointSize = 13.0, .weight = platform::FontWeightRegular, .scale = platform::SymbolScale::large};

constexpr MenuSymbol table[] = {
    {"generalImage", "gearshape", "GeneralImage"},
    {"folderImage", "folder", platform::ImageNameFolder},
    {"archiveImage", "shippingbox", "ArchiveImage"},
    {"menuImage", "filemenu.and.cursorarrow", "MenuImage"},
    {"keyboardImage", "keyboard", "KeyboardImage"},
    {"updateImage", "arrow.triangle.2.circlepath.circle", "UpdateImage"},
    {"terminalImage", "terminal", "TerminalImage"},
    {"playImage", "play.circle.fill", "PlayImage"},
    {"pauseImage", "pause.circle.fill", "PauseImage"},
    // The filled cross in a circle here, the bare cross at xmarkImage: two different actions.
    {"stopImage", "xmark.circle.fill", platform::ImageNameStopProgressFreestandingTemplate},
    {"settingsImage", "ellipsis.circle", platform::ImageNameActionTemplate},
    {"userImage", "person.circle", platform::ImageNameUser, true},
    {"groupImage", "person.2.circle", platform::ImageNameUserGroup, true},
    {"plusImage", "plus", platform::ImageNameAddTemplate},
    {"minusImage", "minus", platform::ImageNameRemoveTemplate},
    {"checkmarkImage", "checkmark", platform::ImageNameMenuOnStateTemplate},
    {"xmarkImage", "xmark", platform::ImageNameStopProgressTemplate},
    {"alertCautionImage", "exclamationmark.triangle", platform::ImageNameCaution},
    {"backImage", "chevron.backward", platform::ImageNameGoLeftTemplate},
    {"forwardImage", "chevron.forward", platform::ImageNameGoRightTemplate},
    {"dualPaneImage", "rectangle.split.2x1", "DualPaneImage"},
    {"trashImage", "trash", "TrashImage"},
    {"rulerImage", "ruler", "RulerImage"},
    {"discImage", "opticaldisc", "DiscImage"},
    {"base10Image", "10.square", "Base10Image"},
    {"base2Image", "2.square", "Base2Image"},
    {"swapImage", "arrow.left.arrow.right", "SwapImage"},
};

ImageRef symbolImage(const MenuSymbol& entry, platform::SymbolImages& symbolImages) {
  ImageRef symbol = symbolImages.imageWithSystemSymbolName(entry.symbol);
  if (!symbol || !entry.isPortrait) return symbol;
  return symbolImages.imageWithSymbolConfiguration(*symbol, portraitConfiguration);
}

ImageRef fallbackImage(const MenuSymbol& entry, const MenuSymbolSources& sources) {
  ImageRef named = sources.workspace.imageNamed(entry.fallback);
  if (!named || !entry.isPortrait) return named;
  auto portrait = std::make_shared<Image>(*roundedImage(*named, sources.graphics));
  portrait->isTemplate = true;
  return portrait;
}

}  // namespace

std::span<const MenuSymbol> menuSymbols() { return table; }

const MenuSymbol* menuSymbol(std::string_view operation) {
  const auto entry = std::ranges::find(table, operation, &MenuSymbol::operation);
  return entry == std::end(table) ? nullptr : entry;
}

ImageRef menuSymbolImage(const MenuSymbol& entry, const MenuSymbolSources& sources) {
  const bool hasSymbols = sources.processInfo.isOperatingSystemAtLeastVersion(firstVersionWithSymbols);
  return hasSymbols ? symbolImage(entry, sources.symbolImages) : fallbackImage(entry, sources);
}

ImageRef roundedImage(const Image& image, platform::Graphics& graphics) {
  const double side = std::min(image.size.width, image.size.height);
  const platform::Rect destination{{0, 0}, {side, side}};
  const platform::Rect source{{(image.size.width - side) * 0.5, (image.size.height - side) * 0.5}, {side, side}};

  const auto context = graphics.lockFocus({side, side});
  context->setImageInterpolation(platform::ImageInterpolation::high);
  platform::BezierPath circle = platform::BezierPath::bezierPathWithOvalInRect(destination);
  circle.windingRule = platform::WindingRule::evenOdd;
  context->addClip(circle);
  context->drawImage(image, destination, source, platform::CompositingOperation::sourceOver, 1.0);
  return context->unlockFocus();
}

}  // namespace DTExtension
