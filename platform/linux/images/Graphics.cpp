#include "platform/linux/images/Graphics.h"

#include <cairo.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numbers>

#include "platform/linux/images/ImageFile.h"

namespace platform::native {
namespace {

constexpr double largestSide = 4096;          // points
constexpr double largestDeviation = 1 / 64.;  // pixels; with cairo's own tenth, a circle of one pixel is a square

struct Release {
  void operator()(cairo_t* context) const { cairo_destroy(context); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
using Surface = std::unique_ptr<cairo_surface_t, Release>;
using Cairo = std::unique_ptr<cairo_t, Release>;

bool isDrawable(Size size) { return size.width > 0 && size.height > 0 && size.width <= largestSide && size.height <= largestSide; }

// Cairo keeps a pixel as one native word of alpha, red, green and blue.
Surface surfaceOf(const Bitmap& bitmap) {
  Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, bitmap.width, bitmap.height));
  unsigned char* pixels = cairo_image_surface_get_data(surface.get());
  if (!pixels) return surface;
  const int stride = cairo_image_surface_get_stride(surface.get());
  const std::uint8_t* from = bitmap.bytes.data();
  for (int y = 0; y < bitmap.height; ++y) {
    for (int x = 0; x < bitmap.width; ++x, from += 4) {
      const std::uint32_t word = std::uint32_t{from[3]} << 24 | from[0] << 16 | from[1] << 8 | from[2];
      std::memcpy(pixels + y * stride + x * 4, &word, sizeof word);
    }
  }
  cairo_surface_mark_dirty(surface.get());
  return surface;
}

std::shared_ptr<const Bitmap> bitmapOf(cairo_surface_t* surface) {
  cairo_surface_flush(surface);
  auto bitmap = std::make_shared<Bitmap>();
  bitmap->width = cairo_image_surface_get_width(surface);
  bitmap->height = cairo_image_surface_get_height(surface);
  const unsigned char* pixels = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  for (int y = 0; y < bitmap->height; ++y) {
    for (int x = 0; x < bitmap->width; ++x) {
      std::uint32_t word;
      std::memcpy(&word, pixels + y * stride + x * 4, sizeof word);
      for (const int shift : {16, 8, 0, 24}) bitmap->bytes.push_back(static_cast<std::uint8_t>(word >> shift));
    }
  }
  return bitmap;
}

cairo_filter_t filterOf(ImageInterpolation interpolation) {
  switch (interpolation) {
    case ImageInterpolation::none: return CAIRO_FILTER_NEAREST;
    case ImageInterpolation::low: return CAIRO_FILTER_FAST;
    case ImageInterpolation::high: return CAIRO_FILTER_BEST;
    case ImageInterpolation::standard: break;
  }
  return CAIRO_FILTER_GOOD;
}

class CairoContext final : public GraphicsContext {
 public:
  explicit CairoContext(Size size);

  void setImageInterpolation(ImageInterpolation interpolation) override { filter_ = filterOf(interpolation); }
  void addClip(const BezierPath& path) override;
  void drawImage(const Image& image, const Rect& destination, const Rect& source, CompositingOperation operation,
                 double fraction) override;
  ImageRef unlockFocus() override;

 private:
  void drawWhole(const Image& image, Size size);
  double topOf(const Rect& rect) const { return size_.height - rect.origin.y - rect.size.height; }

  Size size_;
  Surface surface_;  // null, like the context, where there is nothing to draw on
  Cairo context_;
  cairo_filter_t filter_ = CAIRO_FILTER_GOOD;
};

CairoContext::CairoContext(Size size) : size_(size) {
  if (!isDrawable(size)) return;
  const int width = static_cast<int>(std::ceil(size.width));
  const int height = static_cast<int>(std::ceil(size.height));
  surface_.reset(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height));
  context_.reset(cairo_create(surface_.get()));
  cairo_set_tolerance(context_.get(), largestDeviation);
}

void CairoContext::addClip(const BezierPath& path) {
  cairo_t* const cairo = context_.get();
  if (!cairo) return;
  cairo_new_path(cairo);
  if (isDrawable(path.oval.size)) {
    cairo_save(cairo);
    cairo_translate(cairo, path.oval.origin.x, topOf(path.oval));
    cairo_scale(cairo, path.oval.size.width / 2, path.oval.size.height / 2);
    cairo_arc(cairo, 1, 1, 1, 0, 2 * std::numbers::pi);
    cairo_restore(cairo);
  }
  const bool isEvenOdd = path.windingRule == WindingRule::evenOdd;
  cairo_set_fill_rule(cairo, isEvenOdd ? CAIRO_FILL_RULE_EVEN_ODD : CAIRO_FILL_RULE_WINDING);
  cairo_set_antialias(cairo, CAIRO_ANTIALIAS_BEST);
  cairo_clip(cairo);
}

void CairoContext::drawImage(const Image& image, const Rect& destination, const Rect& source, CompositingOperation,
                             double fraction) {
  cairo_t* const cairo = context_.get();
  if (!cairo || !isDrawable(source.size) || !isDrawable(destination.size)) return;
  const double across = destination.size.width / source.size.width;
  const double down = destination.size.height / source.size.height;
  const double sourceTop = image.size.height - source.origin.y - source.size.height;
  cairo_save(cairo);
  cairo_rectangle(cairo, destination.origin.x, topOf(destination), destination.size.width, destination.size.height);
  cairo_clip(cairo);
  cairo_translate(cairo, destination.origin.x - source.origin.x * across, topOf(destination) - sourceTop * down);
  cairo_push_group(cairo);
  cairo_reset_clip(cairo);  // it applies to the group as a whole, once
  drawWhole(image, {image.size.width * across, image.size.height * down});
  cairo_pop_group_to_source(cairo);
  cairo_paint_with_alpha(cairo, fraction);
  cairo_restore(cairo);
}

void CairoContext::drawWhole(const Image& image, Size size) {
  const ImageRepresentation* representation = image.bestRepresentationForRect(size);
  if (!representation) return;
  if (representation->bitmap) {
    drawSurface(context_.get(), surfaceOf(*representation->bitmap).get(), size, filter_);
  } else if (!representation->file.empty()) {
    drawImageFile(context_.get(), representation->file, size, filter_);
  }
}

ImageRef CairoContext::unlockFocus() {
  auto image = std::make_shared<Image>();
  image->size = size_;
  context_.reset();
  if (surface_ && cairo_surface_status(surface_.get()) == CAIRO_STATUS_SUCCESS) {
    image->representations.push_back({.size = size_, .source = {}, .file = {}, .bitmap = bitmapOf(surface_.get())});
  }
  surface_.reset();
  return image;
}

}  // namespace

std::unique_ptr<GraphicsContext> LinuxGraphics::lockFocus(Size size) { return std::make_unique<CairoContext>(size); }

bool writePNG(const Bitmap& bitmap, const std::string& file) {
  return cairo_surface_write_to_png(surfaceOf(bitmap).get(), file.c_str()) == CAIRO_STATUS_SUCCESS;
}

}  // namespace platform::native
