#include "platform/linux/files/PathText.h"

#include <cerrno>
#include <cstdlib>
#include <memory>

namespace platform::native {

std::string_view lastComponent(std::string_view path) { return path.substr(path.rfind('/') + 1); }

std::string withoutLastComponent(std::string_view path) {
  path = path.substr(0, path.rfind('/'));
  while (path.ends_with('/')) path.remove_suffix(1);
  return path.empty() ? "/" : std::string(path);
}

std::optional<std::string> realPath(const std::string& path) {
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr), std::free);
  if (!real) return std::nullopt;
  errno = 0;  // Success leaves what its last question set.
  return real.get();
}

std::optional<std::string> pathEndingInName(const std::string& path) {
  const std::string_view last = lastComponent(path);
  return last == "." || last == ".." ? realPath(path) : path;
}

}  // namespace platform::native
