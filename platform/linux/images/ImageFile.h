// Reads image files that somebody else made (an icon theme's PNG and SVG files): bounded in bytes and in
// pixels, without a crash and without following references to other files. Main thread only; nothing is kept
// between calls.
#pragma once

#include <cairo.h>

#include <string>

#include "platform/Image.h"

namespace platform::native {

/// True when the file is a whole PNG or SVG image of sensible size (at most 4 MiB, at most 4096 pixels a
/// side): a PNG's chunks reach its end chunk, an SVG parses. False for everything else, a vanished file
/// included.
bool isReadableImageFile(const std::string& file);

/// Draws the whole surface over the rectangle of `size` at the context's origin, y downwards.
void drawSurface(cairo_t* context, cairo_surface_t* surface, Size size, cairo_filter_t filter);

/// Draws the whole file over the rectangle of `size` at the context's origin, y downwards; an SVG at the
/// context's own resolution, a PNG with `filter`. False, with nothing drawn, when the file cannot be read.
bool drawImageFile(cairo_t* context, const std::string& file, Size size, cairo_filter_t filter);

}  // namespace platform::native
