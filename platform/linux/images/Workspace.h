// Images by name and icons by file type on Linux: the shared MIME database tells a file name's type, the
// current icon theme has its drawing, and where it has none one of our own stands in. The theme and its
// settings are read at the first question and kept until the process ends. No toolkit, no display. Main
// thread only.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Log.h"
#include "platform/SymbolImages.h"
#include "platform/Workspace.h"
#include "platform/linux/images/IconTheme.h"
#include "platform/linux/images/ImageTable.h"

namespace platform::native {

/// The folder of icon themes that holds our own drawings: the one beside the running program or plugin
/// (../share/icons, as in a build folder or a prefix), else the one of the installation.
std::string ownIconFolder();

class LinuxWorkspace final : public Workspace, public SymbolImages {
 public:
  /// Where the icons come from. Absent parts are the desktop's own, asked for at the first question.
  struct Sources {
    std::optional<std::string> themeName;
    std::optional<std::vector<std::string>> themeFolders;
    std::optional<std::string> ownFolder;
  };

  explicit LinuxWorkspace(Log& log);
  LinuxWorkspace(Log& log, Sources sources);

  ImageRef imageNamed(std::string_view name) override;
  ImageRef iconForFileType(std::string_view extension) override;
  ImageRef imageWithSystemSymbolName(std::string_view name) override;
  /// Our symbols fill 16 points beside text of 13 points at the medium scale; the weight is always regular.
  ImageRef imageWithSymbolConfiguration(const Image& image, const SymbolConfiguration& configuration) override;

 private:
  IconTheme& theme();
  ImageRef imageOf(const NamedImage& row);
  ImageRef iconForContentType(const std::string& contentType);
  ImageRef iconOfTheme(const std::string& contentType);
  std::vector<ImageRepresentation> genericIcon();
  std::vector<ImageRepresentation> ownDrawings(std::string_view drawing);

  Log& log_;
  Sources sources_;
  std::optional<IconTheme> theme_;
  std::map<std::string_view, ImageRef> images_;  // by the name in the table
  std::map<std::string, ImageRef> icons_;        // by content type
  bool isOddExtensionLogged_ = false;
};

}  // namespace platform::native
