#include "platform/fake/FakeImages.h"

#include <sstream>

namespace platform::fake {
namespace {

std::string text(const Size& size) {
  std::ostringstream out;
  out << size.width << 'x' << size.height;
  return out.str();
}

std::string text(const Rect& rect) {
  std::ostringstream out;
  out << rect.origin.x << ',' << rect.origin.y << ' ' << text(rect.size);
  return out.str();
}

std::string sourceOf(const Image& image) {
  return image.representations.empty() ? "nothing" : image.representations.front().source;
}

class FakeContext final : public GraphicsContext {
 public:
  FakeContext(CallLog& log, Size size) : log_(log), size_(size) {}

  void setImageInterpolation(ImageInterpolation interpolation) override {
    log_.add("interpolation " + std::to_string(static_cast<int>(interpolation)));
  }
  void addClip(const BezierPath& path) override {
    log_.add("clip to oval " + text(path.oval) + " rule " + std::to_string(static_cast<int>(path.windingRule)));
  }
  void drawImage(const Image& image, const Rect& destination, const Rect& source, CompositingOperation operation,
                 double fraction) override {
    std::ostringstream out;
    out << "draw " << sourceOf(image) << " from " << text(source) << " in " << text(destination) << " operation "
        << static_cast<int>(operation) << " at " << fraction;
    log_.add(out.str());
  }
  ImageRef unlockFocus() override {
    log_.add("unlock focus");
    Image image{.size = size_, .representations = {}, .name = {}};
    if (size_.width > 0 && size_.height > 0) image.representations.push_back({size_, "drawn", {}});
    return std::make_shared<Image>(std::move(image));
  }

 private:
  CallLog& log_;
  Size size_;
};

}  // namespace

ImageRef FakeSymbolImages::imageWithSystemSymbolName(std::string_view name) {
  log_.add("symbol " + std::string(name));
  if (unknownNames.contains(name)) return nullptr;
  return std::make_shared<Image>(Image{.size = {16, 16},
                                       .representations = {{{16, 16}, "symbol " + std::string(name), {}}},
                                       .isTemplate = areTemplates,
                                       .name = std::string(name)});
}

ImageRef FakeSymbolImages::imageWithSymbolConfiguration(const Image& image, const SymbolConfiguration& configuration) {
  std::ostringstream out;
  out << "configure " << sourceOf(image) << " point size " << configuration.pointSize << " weight " << configuration.weight
      << " scale " << static_cast<int>(configuration.scale);
  log_.add(out.str());
  auto configured = std::make_shared<Image>(image);
  configured->symbolConfiguration = configuration;
  return configured;
}

std::unique_ptr<GraphicsContext> FakeGraphics::lockFocus(Size size) {
  log_.add("lock focus on " + text(size));
  return std::make_unique<FakeContext>(log_, size);
}

}  // namespace platform::fake
