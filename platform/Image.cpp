#include "platform/Image.h"

namespace platform {

const ImageRepresentation* Image::bestRepresentationForRect(Size wanted) const {
  const auto covers = [&](const ImageRepresentation& candidate) {
    return candidate.size.width >= wanted.width && candidate.size.height >= wanted.height;
  };
  const auto area = [](const ImageRepresentation& candidate) { return candidate.size.width * candidate.size.height; };
  const ImageRepresentation* best = nullptr;
  for (const ImageRepresentation& candidate : representations) {
    if (!best) {
      best = &candidate;
    } else if (covers(candidate) != covers(*best)) {
      if (covers(candidate)) best = &candidate;
    } else if (covers(candidate) ? area(candidate) < area(*best) : area(candidate) > area(*best)) {
      best = &candidate;
    }
  }
  return best;
}

ImageRef reducedImage(const ImageRef& source, Size size) {
  auto image = std::make_shared<Image>();
  image->size = size;
  const ImageRepresentation* best = source ? source->bestRepresentationForRect(size) : nullptr;
  if (best) image->representations.push_back(*best);
  return image;
}

}  // namespace platform
