#include "platform/linux/images/IconTheme.h"

#define G_SETTINGS_ENABLE_BACKEND  // for reading without a subscription
#include <gio/gsettingsbackend.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <utility>

#include "platform/linux/OwnedGLib.h"
#include "platform/linux/images/ImageFile.h"

namespace platform::native {
namespace {

constexpr char themeGroup[] = "Icon Theme";
constexpr std::uintmax_t largestDescription = 1 << 20;  // bytes; the largest themes have a tenth of it
constexpr double largestSize = 4096;                    // points
constexpr std::size_t longestChain = 32;                // themes

bool isDirectory(const std::string& path) {
  std::error_code error;
  return std::filesystem::is_directory(path, error);
}

// A theme's name and a drawing's name are single components of a path.
bool isSingleComponent(std::string_view name) {
  return !name.empty() && name.find('/') == name.npos && !name.starts_with('.') && name.find('\0') == name.npos;
}

OwnedKeyFile openDescription(const std::string& path) {
  std::error_code error;
  const auto bytes = std::filesystem::file_size(path, error);
  if (error || bytes > largestDescription) return nullptr;
  OwnedKeyFile file(g_key_file_new());
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_NONE, nullptr)) return nullptr;
  if (!g_key_file_has_group(file.get(), themeGroup)) return nullptr;
  return file;
}

// The standard separates by commas, GLib's own lists by semicolons.
std::vector<std::string> commaList(GKeyFile* file, const char* key) {
  std::vector<std::string> items;
  const OwnedText text(g_key_file_get_string(file, themeGroup, key, nullptr));
  if (!text) return items;
  const OwnedTexts parts(g_strsplit(text.get(), ",", -1));
  for (gchar** part = parts.get(); *part; ++part) {
    if (*g_strstrip(*part)) items.emplace_back(*part);
  }
  return items;
}

double numberOr(GKeyFile* file, const std::string& group, const char* key, double otherwise) {
  GError* error = nullptr;
  const int value = g_key_file_get_integer(file, group.c_str(), key, &error);
  return OwnedError(error) ? otherwise : value;
}

bool leavesTheTheme(const std::string& directory) {
  const std::filesystem::path path(directory);
  return path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end();
}

// Each desktop keeps the choice in a schema of its own; a schema that is not installed must not be asked for.
const char* settingsSchema() {
  static constexpr std::array<std::pair<std::string_view, const char*>, 2> ownSchemas{
      {{"X-Cinnamon", "org.cinnamon.desktop.interface"}, {"MATE", "org.mate.interface"}}};
  const char* desktops = g_getenv("XDG_CURRENT_DESKTOP");
  for (const auto& [desktop, schema] : ownSchemas) {
    if (desktops && std::string_view(desktops).find(desktop) != std::string_view::npos) return schema;
  }
  return "org.gnome.desktop.interface";
}

// What the user chose, else what the schema gives. Not by a GSettings, which would listen for changes over the
// process's shared connection to the bus: the loss of that ends a process that has not said otherwise.
OwnedVariant settingsValue(GSettingsSchema* schema, const char* key) {
  const std::unique_ptr<GSettingsSchemaKey, Release<g_settings_schema_key_unref>> facts(g_settings_schema_get_key(schema, key));
  if (const char* path = g_settings_schema_get_path(schema)) {
    const OwnedObject<GSettingsBackend> backend(g_settings_backend_get_default());
    const auto read = G_SETTINGS_BACKEND_GET_CLASS(backend.get())->read;
    const std::string place = std::string(path) + key;
    const GVariantType* type = g_settings_schema_key_get_value_type(facts.get());
    OwnedVariant chosen(read(backend.get(), place.c_str(), type, FALSE));
    if (chosen && g_settings_schema_key_range_check(facts.get(), chosen.get())) return chosen;
  }
  return OwnedVariant(g_settings_schema_key_get_default_value(facts.get()));
}

}  // namespace

std::vector<std::string> iconThemeFolders() {
  std::vector<std::string> folders{std::string(g_get_home_dir()) + "/.icons", std::string(g_get_user_data_dir()) + "/icons"};
  for (const gchar* const* folder = g_get_system_data_dirs(); *folder; ++folder) {
    folders.push_back(std::string(*folder) + "/icons");
  }
  return folders;
}

std::string currentIconThemeName() {
  constexpr char key[] = "icon-theme";
  GSettingsSchemaSource* source = g_settings_schema_source_get_default();
  if (!source) return "Adwaita";
  const std::unique_ptr<GSettingsSchema, Release<g_settings_schema_unref>> schema(
      g_settings_schema_source_lookup(source, settingsSchema(), TRUE));
  if (!schema || !g_settings_schema_has_key(schema.get(), key)) return "Adwaita";
  const OwnedVariant name = settingsValue(schema.get(), key);
  const bool isText = g_variant_is_of_type(name.get(), G_VARIANT_TYPE_STRING);
  return isText ? g_variant_get_string(name.get(), nullptr) : "Adwaita";
}

IconTheme::IconTheme(std::string_view name, std::vector<std::string> themeFolders) : themeFolders_(std::move(themeFolders)) {
  std::vector<std::string> seen{"hicolor"};
  appendTheme(std::string(name), seen);
  if (chain_.empty() && name != "hicolor") appendTheme("Adwaita", seen);
  seen.clear();
  appendTheme("hicolor", seen);
}

// Depth first, as the standard's lookup goes; a theme that inherits from itself is met once.
void IconTheme::appendTheme(const std::string& name, std::vector<std::string>& seen) {
  if (seen.size() > longestChain || std::find(seen.begin(), seen.end(), name) != seen.end()) return;
  seen.push_back(name);
  Theme theme;
  if (!isSingleComponent(name) || !readTheme(name, theme)) return;
  const std::vector<std::string> parents = theme.parents;
  chain_.push_back(std::move(theme));
  for (const std::string& parent : parents) appendTheme(parent, seen);
}

bool IconTheme::readTheme(const std::string& name, Theme& theme) const {
  OwnedKeyFile description;
  for (const std::string& folder : themeFolders_) {
    if (!description) description = openDescription(folder + '/' + name + "/index.theme");
  }
  if (!description) return false;
  theme.parents = commaList(description.get(), "Inherits");
  for (const std::string& directory : commaList(description.get(), "Directories")) {
    const double size = numberOr(description.get(), directory, "Size", 0);
    if (size <= 0 || size > largestSize || leavesTheTheme(directory)) continue;
    if (numberOr(description.get(), directory, "Scale", 1) != 1) continue;
    for (const std::string& folder : themeFolders_) {
      std::string path = folder + '/' + name + '/' + directory;
      if (isDirectory(path)) theme.directories.push_back({std::move(path), size});
    }
  }
  return true;
}

ThemedIcon IconTheme::findDrawings(const Theme& theme, const std::string& name) {
  ThemedIcon icon;
  for (const Directory& directory : theme.directories) {
    for (const char* extension : {".png", ".svg"}) {
      std::string file = directory.path + '/' + name + extension;
      if (access(file.c_str(), F_OK) != 0) continue;
      if (isReadableImageFile(file)) {
        icon.representations.push_back({{directory.size, directory.size}, name, std::move(file)});
        break;
      }
      if (icon.unreadableFile.empty()) icon.unreadableFile = std::move(file);
    }
  }
  std::stable_sort(icon.representations.begin(), icon.representations.end(),
                   [](const auto& a, const auto& b) { return a.size.width < b.size.width; });
  return icon;
}

ThemedIcon IconTheme::icon(const std::vector<std::string>& names) {
  ThemedIcon result;
  for (Theme& theme : chain_) {
    for (const std::string& name : names) {
      if (!isSingleComponent(name)) continue;
      const auto [kept, isNew] = theme.icons.try_emplace(name);
      if (isNew) kept->second = findDrawings(theme, name);
      if (result.unreadableFile.empty()) result.unreadableFile = kept->second.unreadableFile;
      result.representations = kept->second.representations;
      if (!result.representations.empty()) return result;
    }
  }
  return result;
}

}  // namespace platform::native
