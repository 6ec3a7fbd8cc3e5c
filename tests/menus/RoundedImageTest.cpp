// The pixels that a rounded image really has, drawn by the Linux backend.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <memory>

#include "menus/MenuSymbols.h"
#include "platform/linux/images/Graphics.h"

namespace {

using platform::Bitmap;
using platform::Image;
using platform::ImageRef;

struct Pixel {
  int red = 0, green = 0, blue = 0, alpha = 0;
  friend bool operator==(const Pixel&, const Pixel&) = default;
  friend std::ostream& operator<<(std::ostream& out, const Pixel& p) {
    return out << p.red << ' ' << p.green << ' ' << p.blue << ' ' << p.alpha;
  }
};

// Column x is x * 4 red, row y (from the top) is y * 4 green; all opaque.
Image grid(int width, int height) {
  auto bitmap = std::make_shared<Bitmap>(Bitmap{width, height, {}});
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      for (const int value : {x * 4, y * 4, 200, 255}) bitmap->bytes.push_back(static_cast<std::uint8_t>(value));
    }
  }
  const platform::Size size{static_cast<double>(width), static_cast<double>(height)};
  return {.size = size, .representations = {{size, "grid", {}, bitmap}}, .name = {}};
}

Pixel pixel(const ImageRef& image, int x, int y) {
  const Bitmap& bitmap = *image->representations.at(0).bitmap;
  const auto* at = bitmap.bytes.data() + 4 * (y * bitmap.width + x);
  return {at[0], at[1], at[2], at[3]};
}

class RoundedImage : public testing::Test {
 protected:
  ImageRef rounded(const Image& image) { return DTExtension::roundedImage(image, graphics); }

  // Whether a pixel lies wholly inside (1), wholly outside (-1) or on the edge (0) of the circle of that
  // diameter.
  static int side(int x, int y, double diameter) {
    const double centre = diameter / 2;
    const double nearX = std::max({x - centre, centre - x - 1, 0.0}), nearY = std::max({y - centre, centre - y - 1, 0.0});
    const double farX = std::max(std::abs(x - centre), std::abs(x + 1 - centre));
    const double farY = std::max(std::abs(y - centre), std::abs(y + 1 - centre));
    if (std::hypot(farX, farY) < centre - 0.05) return 1;
    return std::hypot(nearX, nearY) > centre + 0.05 ? -1 : 0;
  }

  // Each pixel inside is the grid's at that offset, each outside is transparent, the rest lies between.
  static void expectGridInCircle(const ImageRef& image, int diameter, int left, int top) {
    ASSERT_EQ(image->size, (platform::Size{static_cast<double>(diameter), static_cast<double>(diameter)}));
    ASSERT_EQ(image->representations.size(), 1u);
    int smoothed = 0;
    for (int y = 0; y < diameter; ++y) {
      for (int x = 0; x < diameter; ++x) {
        const Pixel found = pixel(image, x, y);
        const int where = side(x, y, diameter);
        const Pixel drawn{(x + left) * 4, (y + top) * 4, 200, 255};
        if (where != 0) {
          EXPECT_EQ(found, where > 0 ? drawn : Pixel{}) << x << ' ' << y;
        }
        smoothed += found.alpha > 0 && found.alpha < 255;
      }
    }
    EXPECT_GT(smoothed, diameter > 2 ? 3 : 0);
  }

  platform::native::LinuxGraphics graphics;
};

TEST_F(RoundedImage, ofAWideImageShowsColumns8To23) { expectGridInCircle(rounded(grid(32, 16)), 16, 8, 0); }

TEST_F(RoundedImage, ofATallImageShowsTheRowsFrom8) { expectGridInCircle(rounded(grid(16, 32)), 16, 0, 8); }

TEST_F(RoundedImage, ofASquareImageShowsAllOfIt) { expectGridInCircle(rounded(grid(32, 32)), 32, 0, 0); }

TEST_F(RoundedImage, hasTransparentCornersAndASmoothedEdge) {
  const ImageRef image = rounded(grid(16, 16));
  for (const int x : {0, 15}) {
    for (const int y : {0, 15}) EXPECT_EQ(pixel(image, x, y).alpha, 0);
  }
  EXPECT_EQ(pixel(image, 8, 8).alpha, 255);
  const Pixel edge = pixel(image, 2, 2);  // the circle passes through it
  EXPECT_GT(edge.alpha, 20);
  EXPECT_LT(edge.alpha, 235);
  EXPECT_LE(edge.blue, edge.alpha);
}

TEST_F(RoundedImage, coversTheAreaOfTheCircleAndIsClippedOnce) {
  for (const int diameter : {2, 5, 16, 31}) {
    const ImageRef image = rounded(grid(diameter, diameter));
    double area = 0;  // pixels
    for (int i = 0; i < diameter * diameter; ++i) area += pixel(image, i % diameter, i / diameter).alpha / 255.0;
    EXPECT_NEAR(area, M_PI * diameter * diameter / 4, 0.01 * diameter * diameter) << diameter;
  }
}

TEST_F(RoundedImage, worksForOddSides) {
  expectGridInCircle(rounded(grid(15, 15)), 15, 0, 0);
  expectGridInCircle(rounded(grid(25, 15)), 15, 5, 0);
  expectGridInCircle(rounded(grid(7, 13)), 7, 0, 3);
}

TEST_F(RoundedImage, betweenTwoColumnsBlendsThem) {
  const ImageRef image = rounded(grid(32, 15));  // starts at column 8.5
  ASSERT_EQ(image->size, (platform::Size{15, 15}));
  EXPECT_NEAR(pixel(image, 7, 7).red, (7 + 8.5) * 4, 1);
  EXPECT_EQ(pixel(image, 7, 7).alpha, 255);
}

TEST_F(RoundedImage, ofOnePixelIsThatPixelThinnedToTheCircle) {
  const ImageRef image = rounded(grid(1, 1));
  ASSERT_EQ(image->representations.size(), 1u);
  EXPECT_NEAR(pixel(image, 0, 0).alpha, 255 * M_PI / 4, 6);
}

TEST_F(RoundedImage, ofNothingIsAnEmptyImage) {
  for (const platform::Size size : {platform::Size{0, 0}, {0, 16}, {16, 0}}) {
    const ImageRef image = rounded({.size = size, .representations = {}, .name = {}});
    EXPECT_EQ(image->size, (platform::Size{0, 0}));
    EXPECT_TRUE(image->representations.empty());
  }
}

TEST_F(RoundedImage, ofAnImageWithoutPixelsIsTransparent) {
  const ImageRef image = rounded({.size = {16, 16}, .representations = {{{16, 16}, "gone", "/no/such/file.svg"}}, .name = {}});
  EXPECT_EQ(pixel(image, 8, 8).alpha, 0);
}

TEST_F(RoundedImage, ofAnAbsurdSizeHasNoPixels) {
  for (const double side : {1e9, std::numeric_limits<double>::infinity(), std::nan(""), -16.0}) {
    const ImageRef image = rounded({.size = {side, side}, .representations = {}, .name = {}});
    EXPECT_TRUE(image->representations.empty());
  }
}

TEST_F(RoundedImage, ofASmallerDrawingIsScaledToTheSizeInPoints) {
  Image image = grid(8, 8);
  image.size = {32, 32};
  const ImageRef found = rounded(image);
  EXPECT_EQ(found->size, (platform::Size{32, 32}));
  EXPECT_EQ(pixel(found, 16, 16).alpha, 255);
  EXPECT_NEAR(pixel(found, 16, 16).red, 16, 4);
  EXPECT_EQ(pixel(found, 0, 16).alpha > 128, true);  // no fading towards the drawing's own edge
}

}  // namespace
