// Runs the inputs in the folders given, each in a block of its exact length. Ends with 1 when there is none.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "fuzz/Target.h"

int main(int count, char** arguments) {
  std::vector<std::filesystem::path> files;
  for (int i = 1; i < count; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(arguments[i])) files.push_back(entry.path());
  }
  std::ranges::sort(files);
  for (const auto& path : files) {
    std::fprintf(stderr, "%s\n", path.filename().c_str());
    std::ifstream file(path, std::ios::binary);
    platform::Data input((std::istreambuf_iterator<char>(file)), {});
    input.shrink_to_fit();
    LLVMFuzzerTestOneInput(input.data(), input.size());
  }
  return files.empty() ? 1 : 0;
}
