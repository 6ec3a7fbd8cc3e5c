#include "platform/linux/images/ImageFile.h"

#include <librsvg/rsvg.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>

#include "platform/linux/OwnedGLib.h"
#include "platform/linux/files/BoundedFile.h"

namespace platform::native {
namespace {

constexpr std::size_t largestFile = 4 << 20;
constexpr std::uint32_t largestSide = 4096;  // pixels
constexpr std::string_view pngSignature = "\x89PNG\r\n\x1a\n";

std::uint32_t bigEndian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (const char byte : bytes.substr(0, 4)) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

bool isSensibleSide(std::uint32_t pixels) { return pixels > 0 && pixels <= largestSide; }

// Portable Network Graphics, second edition, 5.3: length, type, data and checksum, from IHDR to IEND.
bool isWholePNG(std::string_view bytes) {
  if (bytes.size() < 24 || bytes.substr(12, 4) != "IHDR") return false;
  if (!isSensibleSide(bigEndian(bytes.substr(16))) || !isSensibleSide(bigEndian(bytes.substr(20)))) return false;
  bytes.remove_prefix(pngSignature.size());
  while (bytes.size() >= 12) {
    const std::size_t length = bigEndian(bytes);
    if (length > bytes.size() - 12) return false;
    if (bytes.substr(4, 4) == "IEND") return true;
    bytes.remove_prefix(length + 12);
  }
  return false;
}

// Without a base location librsvg loads nothing that the drawing refers to.
OwnedObject<RsvgHandle> parsedSVG(std::string_view bytes) {
  OwnedObject<RsvgHandle> handle(rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(bytes.data()), bytes.size(), nullptr));
  gdouble width = 0;
  gdouble height = 0;
  if (!handle || !rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height)) return handle;
  if (!(width > 0 && width <= largestSide && height > 0 && height <= largestSide)) handle.reset();
  return handle;
}

struct ByteSource {
  std::string_view rest;
};

cairo_status_t nextBytes(void* closure, unsigned char* into, unsigned int length) {
  ByteSource& source = *static_cast<ByteSource*>(closure);
  if (source.rest.size() < length) return CAIRO_STATUS_READ_ERROR;
  std::memcpy(into, source.rest.data(), length);
  source.rest.remove_prefix(length);
  return CAIRO_STATUS_SUCCESS;
}

bool drawPNG(cairo_t* context, std::string_view bytes, Size size, cairo_filter_t filter) {
  ByteSource source{bytes};
  const std::unique_ptr<cairo_surface_t, Release<cairo_surface_destroy>> surface(
      cairo_image_surface_create_from_png_stream(nextBytes, &source));
  if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS) return false;
  drawSurface(context, surface.get(), size, filter);
  return true;
}

bool drawSVG(cairo_t* context, std::string_view bytes, Size size) {
  const auto handle = parsedSVG(bytes);
  if (!handle) return false;
  const RsvgRectangle viewport{0, 0, size.width, size.height};
  cairo_push_group(context);
  cairo_reset_clip(context);  // it applies to the group as a whole, once
  const bool isDrawn = rsvg_handle_render_document(handle.get(), context, &viewport, nullptr);
  cairo_pop_group_to_source(context);
  if (isDrawn) cairo_paint(context);
  return isDrawn;
}

}  // namespace

void drawSurface(cairo_t* context, cairo_surface_t* surface, Size size, cairo_filter_t filter) {
  const int width = cairo_image_surface_get_width(surface);
  const int height = cairo_image_surface_get_height(surface);
  if (width <= 0 || height <= 0) return;
  cairo_save(context);
  cairo_scale(context, size.width / width, size.height / height);
  cairo_set_source_surface(context, surface, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(context), filter);
  // Without it an enlarged image would fade towards its edges.
  cairo_pattern_set_extend(cairo_get_source(context), CAIRO_EXTEND_PAD);
  cairo_rectangle(context, 0, 0, width, height);
  cairo_fill(context);
  cairo_restore(context);
}

bool isReadableImageFile(const std::string& file) {
  const auto bytes = contentsOfFile(file.c_str(), largestFile);
  if (!bytes) return false;
  return bytes->starts_with(pngSignature) ? isWholePNG(*bytes) : parsedSVG(*bytes) != nullptr;
}

bool drawImageFile(cairo_t* context, const std::string& file, Size size, cairo_filter_t filter) {
  const auto bytes = contentsOfFile(file.c_str(), largestFile);
  if (!bytes || !(size.width > 0 && size.height > 0)) return false;
  if (!bytes->starts_with(pngSignature)) return drawSVG(context, *bytes, size);
  return isWholePNG(*bytes) && drawPNG(context, *bytes, size, filter);
}

}  // namespace platform::native
