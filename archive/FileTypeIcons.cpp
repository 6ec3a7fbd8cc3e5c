// The small icons of archive entries: one an extension, made once in a process.
#include "core/DTDovetailSync.h"

using platform::Image;
using platform::ImageRef;

namespace {

constexpr platform::Size iconSize{16, 16};

// An image of that size which holds the one representation that fits it best, and no other.
ImageRef reduced(const ImageRef& source) {
  auto icon = std::make_shared<Image>();
  icon->size = iconSize;
  const auto* best = source ? source->bestRepresentationForRect(iconSize) : nullptr;
  if (best) icon->representations.push_back(*best);
  return icon;
}

}  // namespace

ImageRef DTDovetailSync::iconForFileType(std::string_view type) {
  const auto found = onceOnly_.fileTypeIcons.find(type);
  if (found != onceOnly_.fileTypeIcons.end()) return found->second;
  // By identity: a file name extension may spell the same text.
  const bool isFolder = type.data() == platform::ImageNameFolder;
  platform::Workspace& workspace = platform_.workspace;
  ImageRef icon = reduced(isFolder ? workspace.imageNamed(type) : workspace.iconForFileType(type));
  onceOnly_.fileTypeIcons.emplace(type, icon);
  return icon;
}
