// Any bytes as a bookmark: as they are, and as the identity and path of one whose checksum holds, below a folder of this process.
#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>

#include "fuzz/Target.h"
#include "platform/linux/files/Bookmark.h"
#include "tests/TemporaryFolder.h"

using platform::ByteView;
using platform::Data;
using namespace platform::native;

namespace {

constexpr std::size_t identityOffset = 8, pathOffset = 32;

// Three levels down, so that a search nearby stays inside.
const std::string& folder() {
  static const tests::TemporaryFolder temporary;
  static const std::string path = [] {
    const std::string inner = temporary.path() + "/a/b/c";
    std::filesystem::create_directories(inner + "/folder/inner");
    for (const char* name : {"/file", "/folder/one", "/folder/inner/two"}) std::ofstream(inner + name) << name;
    std::filesystem::create_symlink("file", inner + "/link");
    return std::filesystem::canonical(inner).string();
  }();
  return path;
}

std::uint32_t checksum(ByteView bytes) {
  std::uint32_t remainder = ~std::uint32_t{0};
  for (const std::uint8_t byte : bytes) {
    remainder ^= byte;
    for (int bit = 0; bit < 8; ++bit) remainder = (remainder >> 1) ^ (remainder & 1 ? 0xEDB88320u : 0);
  }
  return ~remainder;
}

void resolve(ByteView bookmark) {
  const auto resolved = resolveBookmark(bookmark);
  fuzz::expect(resolved || resolved.reason() != 0, "what cannot be resolved has a reason");
  if (!resolved) return;
  struct stat facts;
  fuzz::expect(::lstat(resolved->path.c_str(), &facts) == 0, "what was resolved is there");
  fuzz::expect(resolved->isDirectory == (bookmark[5] == 1), "a bookmark leads to what it was made of");
  const std::string path(bookmark.begin() + pathOffset, bookmark.end() - 4);
  fuzz::expect(resolved->isStale || resolved->path == path, "a bookmark that leads elsewhere is stale");
}

// A bookmark of the path below the folder. The kind is the input's, the identity too unless it asks for a real one.
void resolveSound(ByteView input) {
  const std::string path = folder() + "/" + std::string(input.begin() + 25, input.end());
  if (path.find("..") != std::string::npos) return;  // leads out of the folder
  const auto real = bookmarkOfFile(folder() + (input[0] & 2 ? "/file" : "/folder/inner"));
  fuzz::expect(bool(real), "a file has a bookmark");
  Data bytes(real->begin(), real->begin() + pathOffset);
  bytes[5] = input[0] & 1;
  bytes[6] = static_cast<std::uint8_t>(path.size() >> 8);
  bytes[7] = static_cast<std::uint8_t>(path.size());
  if (input[0] & 4) std::copy(input.begin() + 1, input.begin() + 25, bytes.begin() + identityOffset);
  bytes.insert(bytes.end(), path.begin(), path.end());
  const std::uint32_t sum = checksum(bytes);
  for (int shift = 24; shift >= 0; shift -= 8) bytes.push_back(static_cast<std::uint8_t>(sum >> shift));
  resolve(bytes);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  resolve({data, size});
  if (size >= 25) resolveSound({data, size});
  return 0;
}
