// Prints the drawing that the desktop's own theme has for archives, asked twice; between the two answers it
// waits for a line.
#include <cstdio>
#include <string>

#include "platform/linux/images/Workspace.h"

namespace {

class NoLog final : public platform::Log {
 public:
  void line(std::string_view) override {}
};

}  // namespace

int main() {
  NoLog log;
  platform::native::LinuxWorkspace workspace(log);
  for (int answer = 0; answer < 2; ++answer) {
    if (answer > 0 && std::getchar() == EOF) return 1;
    std::printf("%s\n", workspace.iconForFileType("zip")->bestRepresentationForRect({16, 16})->file.c_str());
    std::fflush(stdout);
  }
  return 0;
}
