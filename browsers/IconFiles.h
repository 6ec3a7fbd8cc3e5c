// Menu images as files, as the browsers' interfaces take a path and no pixels. Main thread only.
#pragma once

#include <string>
#include <unordered_map>

#include "platform/Image.h"

namespace browsers {

using platform::Image;
using platform::ImageRef;

class IconFiles {
 public:
  /// Images that are no PNG file yet are drawn into this folder, which is made when the first one is.
  explicit IconFiles(std::string folder) : folder_(std::move(folder)) {}

  /// The path of a PNG file of `points` points a side; empty for no image and for one that cannot be drawn or stored. The same image
  /// is drawn once in the life of the object.
  const std::string& fileOf(const ImageRef& image, double points = 16);

  /// "dovetail-sync" in the user's cache (XDG Base Directory 0.8).
  static std::string usualFolder();

 private:
  std::string draw(const Image& image, double points) const;
  std::string drawnFile(const std::string& source, double points) const;

  std::string folder_;
  std::unordered_map<ImageRef, std::string> files_;  // holds the images, so that no other one takes their place
};

}  // namespace browsers
