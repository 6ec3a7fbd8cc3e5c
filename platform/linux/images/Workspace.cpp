#include "platform/linux/images/Workspace.h"

#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <memory>
#include <utility>

#include "platform/linux/OwnedGLib.h"
#include "platform/linux/images/ImageFile.h"

namespace platform::native {
namespace {

constexpr Size iconSize{32, 32};          // points, as the platform gives a file type's icon
constexpr std::size_t longestName = 255;  // bytes, NAME_MAX
constexpr std::string_view unknownType = "application/octet-stream";

constexpr double symbolSize = 16;      // points, of a symbol as it is drawn
constexpr double symbolTextSize = 13;  // points, of the text that it fits at the medium scale

double factorOf(SymbolScale scale) {
  switch (scale) {
    case SymbolScale::small: return 0.75;
    case SymbolScale::medium: break;
    case SymbolScale::large: return 1.25;
  }
  return 1;
}

// The folders of the theme "hicolor" that our drawings lie in, with the size that each folder stands for.
struct OwnFolder {
  const char* name;
  double size;  // points
};
constexpr std::array<OwnFolder, 7> ownFolders{{{"16x16/apps", 16},
                                               {"16x16/mimetypes", 16},
                                               {"16x16/places", 16},
                                               {"scalable/actions", 16},
                                               {"scalable/apps", 128},
                                               {"scalable/mimetypes", 128},
                                               {"scalable/places", 128}}};

std::string iconFolderBesideThisProgram() {
  Dl_info facts;
  if (!dladdr(reinterpret_cast<const void*>(&ownIconFolder), &facts) || !facts.dli_fname) return {};
  std::error_code error;
  const auto program = std::filesystem::canonical(facts.dli_fname, error);
  return error ? std::string() : (program.parent_path().parent_path() / "share/icons").string();
}

bool isExtension(std::string_view text) {
  return text.size() <= longestName && text.find_first_of(std::string_view("/.\0", 3)) == text.npos;
}

// The base name is one that no pattern of the MIME database knows.
std::string contentTypeOf(std::string_view extension) {
  if (extension.empty() || !g_utf8_validate(extension.data(), static_cast<gssize>(extension.size()), nullptr)) {
    return std::string(unknownType);
  }
  const std::string fileName = "x." + std::string(extension);
  const OwnedText type(g_content_type_guess(fileName.c_str(), nullptr, 0, nullptr));
  return type ? type.get() : std::string(unknownType);
}

// A file's icon is a picture, so the one-colour drawings that GIO names as a last resort are left out.
std::vector<std::string> themeNamesOf(const std::string& contentType) {
  std::vector<std::string> names;
  const OwnedObject<GIcon> icon(g_content_type_get_icon(contentType.c_str()));
  if (!icon || !G_IS_THEMED_ICON(icon.get())) return names;
  for (const gchar* const* name = g_themed_icon_get_names(G_THEMED_ICON(icon.get())); *name; ++name) {
    if (!std::string_view(*name).ends_with("-symbolic")) names.emplace_back(*name);
  }
  return names;
}

}  // namespace

std::string ownIconFolder() {
  std::string beside = iconFolderBesideThisProgram();
  std::error_code error;
  if (std::filesystem::exists(beside + "/hicolor/scalable/apps/dovetail-sync.svg", error)) return beside;
  return DOVETAIL_INSTALLED_ICONS;
}

LinuxWorkspace::LinuxWorkspace(Log& log) : LinuxWorkspace(log, Sources{}) {}

LinuxWorkspace::LinuxWorkspace(Log& log, Sources sources) : log_(log), sources_(std::move(sources)) {}

IconTheme& LinuxWorkspace::theme() {
  if (!theme_) {
    theme_.emplace(sources_.themeName ? *sources_.themeName : currentIconThemeName(),
                   sources_.themeFolders ? *sources_.themeFolders : iconThemeFolders());
  }
  return *theme_;
}

ImageRef LinuxWorkspace::imageNamed(std::string_view name) {
  const NamedImage* row = namedImage(name);
  return row ? imageOf(*row) : nullptr;
}

ImageRef LinuxWorkspace::imageWithSystemSymbolName(std::string_view name) {
  const NamedImage* row = symbolImage(name);
  return row ? imageOf(*row) : nullptr;
}

ImageRef LinuxWorkspace::imageWithSymbolConfiguration(const Image& image, const SymbolConfiguration& configuration) {
  const double side = symbolSize * configuration.pointSize / symbolTextSize * factorOf(configuration.scale);
  auto configured = std::make_shared<Image>(image);
  configured->size = {side, side};
  for (ImageRepresentation& each : configured->representations) each.size = configured->size;
  configured->symbolConfiguration = configuration;
  return configured;
}

ImageRef LinuxWorkspace::imageOf(const NamedImage& row) {
  ImageRef& kept = images_[row.name];
  if (kept) return kept;
  auto image = std::make_shared<Image>();
  image->size = {row.size, row.size};
  image->isTemplate = row.isTemplate;
  image->name = row.name;
  const std::vector<std::string> themeNames(row.themeNames.begin(), row.themeNames.end());
  if (!themeNames.empty()) image->representations = theme().icon(themeNames).representations;
  if (image->representations.empty()) image->representations = ownDrawings(row.ownDrawing);
  return kept = std::move(image);
}

ImageRef LinuxWorkspace::iconForFileType(std::string_view extension) {
  if (!isExtension(extension)) {
    if (!isOddExtensionLogged_) log_.line("A file type's name holds a slash or a dot or is too long: generic icon");
    isOddExtensionLogged_ = true;
    return iconForContentType(std::string(unknownType));
  }
  return iconForContentType(contentTypeOf(extension));
}

ImageRef LinuxWorkspace::iconForContentType(const std::string& contentType) {
  if (const auto kept = icons_.find(contentType); kept != icons_.end()) return kept->second;
  return icons_[contentType] = iconOfTheme(contentType);
}

ImageRef LinuxWorkspace::iconOfTheme(const std::string& contentType) {
  ThemedIcon icon = theme().icon(themeNamesOf(contentType));
  if (!icon.unreadableFile.empty()) {
    log_.line("An icon of the theme cannot be read: " + icon.unreadableFile);
  } else if (icon.representations.empty() && contentType != unknownType) {
    log_.line("The icon theme has no icon for " + contentType + ": generic icon");
  }
  auto image = std::make_shared<Image>();
  image->size = iconSize;
  image->representations = std::move(icon.representations);
  if (image->representations.empty()) image->representations = genericIcon();
  return image;
}

std::vector<ImageRepresentation> LinuxWorkspace::genericIcon() {
  // By the freedesktop icon names; the last is in every theme that has icons of files at all.
  ThemedIcon icon = theme().icon({"application-x-generic", "unknown", "text-x-generic"});
  return icon.representations.empty() ? ownDrawings(genericFileDrawing) : std::move(icon.representations);
}

std::vector<ImageRepresentation> LinuxWorkspace::ownDrawings(std::string_view drawing) {
  if (!sources_.ownFolder) sources_.ownFolder = ownIconFolder();
  std::vector<ImageRepresentation> found;
  for (const OwnFolder& folder : ownFolders) {
    std::string file = *sources_.ownFolder + "/hicolor/" + folder.name + '/' + std::string(drawing) + ".svg";
    if (access(file.c_str(), F_OK) != 0 || !isReadableImageFile(file)) continue;
    found.push_back({{folder.size, folder.size}, std::string(drawing), std::move(file)});
  }
  if (!found.empty()) return found;
  log_.line("A drawing of our own is missing: " + std::string(drawing));
  return {{{16, 16}, std::string(drawing), {}}};
}

}  // namespace platform::native
