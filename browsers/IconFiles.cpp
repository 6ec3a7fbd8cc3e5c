#include "browsers/IconFiles.h"

#include <glib.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <functional>

#include "platform/linux/images/Graphics.h"

namespace browsers {

using platform::CompositingOperation;
using platform::ImageRepresentation;
using platform::Size;
using platform::native::LinuxGraphics;
using platform::native::writePNG;

const std::string& IconFiles::fileOf(const ImageRef& image, double points) {
  static const std::string none;
  if (!image) return none;
  const auto [found, isNew] = files_.try_emplace(image);
  if (isNew) found->second = draw(*image, points);
  return found->second;
}

std::string IconFiles::draw(const Image& image, double points) const {
  const Size size{points, points};
  const ImageRepresentation* best = image.bestRepresentationForRect(size);
  if (!best) return {};
  if (best->size == size && best->file.ends_with(".png")) return best->file;
  const auto context = LinuxGraphics().lockFocus(size);
  context->drawImage(image, {{}, size}, {{}, image.size}, CompositingOperation::sourceOver, 1);
  const ImageRef drawn = context->unlockFocus();
  if (drawn->representations.empty() || !drawn->representations.front().bitmap) return {};
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  // Another browser may read the file while this one draws it anew.
  const std::string file = drawnFile(best->file + "\n" + best->source, points);
  const std::string unfinished = file + "." + std::to_string(getpid());
  if (!writePNG(*drawn->representations.front().bitmap, unfinished)) return {};
  return std::rename(unfinished.c_str(), file.c_str()) == 0 ? file : std::string();
}

std::string IconFiles::drawnFile(const std::string& source, double points) const {
  return folder_ + "/" + std::to_string(std::hash<std::string>()(source)) + "-" + std::to_string(static_cast<int>(points)) + ".png";
}

std::string IconFiles::usualFolder() { return std::string(g_get_user_cache_dir()) + "/dovetail-sync"; }

}  // namespace browsers
