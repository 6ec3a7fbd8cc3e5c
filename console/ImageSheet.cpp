#include "console/ImageSheet.h"

#include <cairo.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string_view>
#include <utility>
#include <vector>

#include "menus/MenuSymbols.h"
#include "platform/linux/images/Graphics.h"

using platform::Bitmap;
using platform::Image;
using platform::ImageRef;

namespace {

constexpr int panelWidth = 132;  // pixels, as all lengths here
constexpr int panelHeight = 72;
constexpr int unitWidth = 2 * panelWidth + 8;
constexpr int unitHeight = panelHeight + 20;
constexpr int unitsAcross = 4;
constexpr int margin = 4;

struct Release {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, Release>;

struct Shade {
  double background;
  double foreground;
};
constexpr Shade light{0.98, 0.16};
constexpr Shade dark{0.14, 0.93};

struct Entry {
  std::string name;
  ImageRef image;
};

class FixedVersion final : public platform::ProcessInfo {
 public:
  explicit FixedVersion(platform::OperatingSystemVersion version) : version_(version) {}
  bool isOperatingSystemAtLeastVersion(const platform::OperatingSystemVersion& version) const override {
    return version_ >= version;
  }

 private:
  platform::OperatingSystemVersion version_;
};

std::vector<Entry> catalogueEntries(platform::Workspace& workspace, platform::SymbolImages& symbolImages,
                                    platform::Graphics& graphics) {
  FixedVersion current(DTExtension::firstVersionWithSymbols);
  FixedVersion earlier({10, 15, 0});
  std::vector<Entry> entries;
  for (const DTExtension::MenuSymbol& entry : DTExtension::menuSymbols()) {
    const std::string name(entry.operation);
    entries.push_back({name + "-symbol", menuSymbolImage(entry, {workspace, symbolImages, graphics, current})});
    entries.push_back({name + "-fallback", menuSymbolImage(entry, {workspace, symbolImages, graphics, earlier})});
  }
  return entries;
}

void appendIcons(std::vector<Entry>& entries, platform::Workspace& workspace) {
  entries.push_back({"StatusItemImage", workspace.imageNamed("StatusItemImage")});
  entries.push_back({"applicationIcon", workspace.imageNamed(platform::ImageNameApplicationIcon)});
  entries.push_back({"folder", workspace.imageNamed(platform::ImageNameFolder)});
  entries.push_back({"fileType", workspace.iconForFileType("")});
  for (const char* type : {"zip", "7z", "txt", "pdf", "png", "mp3", "mp4", "html", "cpp", "ttf", "sh", "unheard-of"}) {
    entries.push_back({std::string("fileType-") + type, workspace.iconForFileType(type)});
  }
}

std::shared_ptr<const Bitmap> pixelsOf(const Image& image, double side, platform::Graphics& graphics) {
  const auto context = graphics.lockFocus({side, side});
  context->setImageInterpolation(platform::ImageInterpolation::high);
  context->drawImage(image, {{0, 0}, {side, side}}, {{0, 0}, image.size}, platform::CompositingOperation::sourceOver, 1);
  const ImageRef drawn = context->unlockFocus();
  return drawn->representations.empty() ? std::make_shared<Bitmap>() : drawn->representations.front().bitmap;
}

Surface surfaceOf(const Bitmap& bitmap) {
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height));
  unsigned char* row = cairo_image_surface_get_data(surface.get());
  const std::uint8_t* from = bitmap.bytes.data();
  for (int y = 0; y < bitmap.height; ++y, row += cairo_image_surface_get_stride(surface.get())) {
    for (int x = 0; x < bitmap.width; ++x, from += 4) {
      const std::uint32_t word = std::uint32_t{from[3]} << 24 | from[0] << 16 | from[1] << 8 | from[2];
      std::memcpy(row + 4 * x, &word, sizeof word);
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

// Of a template image only the shape counts: it is painted with the panel's own foreground.
void paint(cairo_t* sheet, const Entry& entry, double side, int scale, const Shade& shade, platform::Graphics& graphics) {
  const Surface surface = surfaceOf(*pixelsOf(*entry.image, side, graphics));
  cairo_save(sheet);
  cairo_scale(sheet, scale, scale);
  cairo_set_source_surface(sheet, surface.get(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(sheet), CAIRO_FILTER_NEAREST);
  if (entry.image->isTemplate) {
    cairo_pattern_t* const shape = cairo_pattern_reference(cairo_get_source(sheet));
    cairo_set_source_rgb(sheet, shade.foreground, shade.foreground, shade.foreground);
    cairo_mask(sheet, shape);
    cairo_pattern_destroy(shape);
  } else {
    cairo_paint(sheet);
  }
  cairo_restore(sheet);
}

void paintPanel(cairo_t* sheet, const Entry& entry, const Shade& shade, platform::Graphics& graphics) {
  cairo_set_source_rgb(sheet, shade.background, shade.background, shade.background);
  cairo_rectangle(sheet, 0, 0, panelWidth, panelHeight);
  cairo_fill(sheet);
  cairo_save(sheet);
  cairo_translate(sheet, margin, margin);
  paint(sheet, entry, 16, 4, shade, graphics);
  cairo_translate(sheet, 76, 4);
  paint(sheet, entry, 16, 1, shade, graphics);
  cairo_translate(sheet, 8, 24);
  paint(sheet, entry, 32, 1, shade, graphics);
  cairo_restore(sheet);
}

void paintUnit(cairo_t* sheet, const Entry& entry, platform::Graphics& graphics) {
  paintPanel(sheet, entry, light, graphics);
  cairo_save(sheet);
  cairo_translate(sheet, panelWidth, 0);
  paintPanel(sheet, entry, dark, graphics);
  cairo_restore(sheet);
  cairo_set_source_rgb(sheet, 0, 0, 0);
  cairo_move_to(sheet, 2, panelHeight + 13);
  cairo_show_text(sheet, entry.name.c_str());
}

bool writeSheet(const std::vector<Entry>& entries, const std::string& file, platform::Graphics& graphics) {
  const int rows = static_cast<int>((entries.size() + unitsAcross - 1) / unitsAcross);
  const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_RGB24, unitsAcross * unitWidth, rows * unitHeight));
  const std::unique_ptr<cairo_t, Release> sheet(cairo_create(surface.get()));
  cairo_set_source_rgb(sheet.get(), 1, 1, 1);
  cairo_paint(sheet.get());
  cairo_select_font_face(sheet.get(), "sans-serif", CAIRO_FONT_SLANT_NORMAL, CAIRO_FONT_WEIGHT_NORMAL);
  cairo_set_font_size(sheet.get(), 12);
  for (std::size_t i = 0; i < entries.size(); ++i) {
    cairo_save(sheet.get());
    const std::size_t column = i % unitsAcross, row = i / unitsAcross;
    cairo_translate(sheet.get(), static_cast<double>(column) * unitWidth, static_cast<double>(row) * unitHeight);
    paintUnit(sheet.get(), entries[i], graphics);
    cairo_restore(sheet.get());
  }
  return cairo_surface_write_to_png(surface.get(), file.c_str()) == CAIRO_STATUS_SUCCESS;
}

int failed(const std::string& file) {
  std::fprintf(stderr, "cannot write %s\n", file.c_str());
  return 1;
}

}  // namespace

int writeImages(const std::string& folder, platform::Workspace& workspace, platform::SymbolImages& symbolImages,
                platform::Graphics& graphics) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) return failed(folder);
  std::vector<Entry> entries = catalogueEntries(workspace, symbolImages, graphics);
  appendIcons(entries, workspace);
  for (const Entry& entry : entries) {
    const std::string file = folder + '/' + entry.name + ".png";
    if (!entry.image || !platform::native::writePNG(*pixelsOf(*entry.image, 32, graphics), file)) return failed(file);
  }
  const std::string sheet = folder + "/sheet.png";
  return writeSheet(entries, sheet, graphics) ? 0 : failed(sheet);
}
