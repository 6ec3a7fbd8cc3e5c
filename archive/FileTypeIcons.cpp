// The small icons of archive entries: one an extension, made once in a process.
#include "core/DTDovetailSync.h"

using platform::ImageRef;

namespace {

constexpr platform::Size iconSize{16, 16};

}  // namespace

ImageRef DTDovetailSync::iconForFileType(std::string_view type) {
  const auto found = onceOnly_.fileTypeIcons.find(type);
  if (found != onceOnly_.fileTypeIcons.end()) return found->second;
  // By identity: a file name extension may spell the same text.
  const bool isFolder = type.data() == platform::ImageNameFolder;
  platform::Workspace& workspace = platform_.workspace;
  ImageRef icon = platform::reducedImage(isFolder ? workspace.imageNamed(type) : workspace.iconForFileType(type), iconSize);
  onceOnly_.fileTypeIcons.emplace(type, icon);
  return icon;
}
