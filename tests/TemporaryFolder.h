// A private folder that goes with its owner, and everything in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace tests {

class TemporaryFolder {
 public:
  TemporaryFolder() : path_((std::filesystem::temp_directory_path() / "dovetail-test-XXXXXX").string()) {
    if (::mkdtemp(path_.data()) == nullptr) std::abort();
  }
  ~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(path_, error);
  }
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  const std::string& path() const { return path_; }
  std::string path(std::string_view name) const { return path_ + "/" + std::string(name); }

  /// Writes a file of that name, in folders that are made for it, and answers its path.
  std::string file(std::string_view name, std::string_view bytes) const {
    const std::filesystem::path file = path(name);
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return file;
  }

 private:
  std::string path_;
};

}  // namespace tests
