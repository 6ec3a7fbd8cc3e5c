// dovetail-images FOLDER: writes all images as files for people to look at.
#include <cstdio>

#include "console/ImageSheet.h"
#include "platform/linux/Graphics.h"
#include "platform/linux/Workspace.h"

namespace {

class StandardErrorLog final : public platform::Log {
 public:
  void line(std::string_view text) override {
    std::fprintf(stderr, "%.*s\n", static_cast<int>(text.size()), text.data());
  }
};

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) {
    std::fprintf(stderr, "usage: dovetail-images FOLDER\n");
    return 2;
  }
  StandardErrorLog log;
  platform::native::LinuxWorkspace workspace(log);
  platform::native::LinuxGraphics graphics;
  return writeImages(arguments[1], workspace, workspace, graphics);
}
