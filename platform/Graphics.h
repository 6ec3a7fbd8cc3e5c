// Drawing on a new image (Cocoa's lockFocus, NSGraphicsContext and NSBezierPath). Lengths are in points, the
// origin is the lower left corner. Needs no display. Main thread only.
#pragma once

#include <memory>

#include "platform/Image.h"

namespace platform {

struct Point {
  double x = 0;
  double y = 0;

  friend bool operator==(const Point&, const Point&) = default;
};

struct Rect {
  Point origin;
  Size size;

  friend bool operator==(const Rect&, const Rect&) = default;
};

enum class ImageInterpolation { standard = 0, none = 1, low = 2, high = 3 };
enum class CompositingOperation { sourceOver = 2 };
enum class WindingRule { nonZero = 0, evenOdd = 1 };

struct BezierPath {
  Rect oval;  ///< The rectangle that the path's one oval fills.
  WindingRule windingRule = WindingRule::nonZero;

  static BezierPath bezierPathWithOvalInRect(const Rect& rect) { return {.oval = rect}; }

  friend bool operator==(const BezierPath&, const BezierPath&) = default;
};

/// One new image being drawn, transparent at first. Settings last until the drawing ends.
class GraphicsContext {
 public:
  virtual ~GraphicsContext() = default;

  virtual void setImageInterpolation(ImageInterpolation interpolation) = 0;
  /// From now on drawing also stays inside the path, its edge smoothed.
  virtual void addClip(const BezierPath& path) = 0;
  /// Draws the part `source` of the image over `destination`, at an opacity of 0 to 1. An image whose pixels
  /// cannot be read draws nothing.
  virtual void drawImage(const Image& image, const Rect& destination, const Rect& source, CompositingOperation operation,
                         double fraction) = 0;
  /// Ends the drawing; nothing may be asked of the context afterwards. The image holds one representation,
  /// drawn at one pixel a point, or none when it is empty or too large to draw (over 4096 points a side).
  virtual ImageRef unlockFocus() = 0;
};

class Graphics {
 public:
  virtual ~Graphics() = default;
  /// Begins a new image of that size. Never null.
  virtual std::unique_ptr<GraphicsContext> lockFocus(Size size) = 0;
};

}  // namespace platform
