// Fakes of what images are made with: they draw nothing and note each call.
#pragma once

#include <memory>
#include <set>
#include <string>
#include <string_view>

#include "platform/Graphics.h"
#include "platform/ProcessInfo.h"
#include "platform/SymbolImages.h"
#include "platform/fake/CallLog.h"

namespace platform::fake {

class FakeSymbolImages final : public SymbolImages {
 public:
  explicit FakeSymbolImages(CallLog& log) : log_(log) {}

  bool areTemplates = true;
  std::set<std::string, std::less<>> unknownNames{"", "no symbol"};

  /// One representation of 16 points, named after the symbol.
  ImageRef imageWithSystemSymbolName(std::string_view name) override;
  ImageRef imageWithSymbolConfiguration(const Image& image, const SymbolConfiguration& configuration) override;

 private:
  CallLog& log_;
};

class FakeGraphics final : public Graphics {
 public:
  explicit FakeGraphics(CallLog& log) : log_(log) {}
  std::unique_ptr<GraphicsContext> lockFocus(Size size) override;

 private:
  CallLog& log_;
};

class FakeProcessInfo final : public ProcessInfo {
 public:
  OperatingSystemVersion version{11, 0, 0};
  bool isOperatingSystemAtLeastVersion(const OperatingSystemVersion& wanted) const override { return version >= wanted; }
};

}  // namespace platform::fake
