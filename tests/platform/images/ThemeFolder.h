// A private folder of icon themes for a test, gone with it.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/linux/images/Graphics.h"
#include "tests/TemporaryFolder.h"

class ThemeFolder {
 public:
  const std::string& path() const { return folder_.path(); }

  /// Writes a file below the folder, and the folders above it.
  std::string write(const std::string& name, const std::string& contents) const { return folder_.file(name, contents); }

  /// A theme's description: folders with their entries, as {"16x16/mimetypes", "Size=16"}.
  void theme(const std::string& name, const std::string& inherits,
             const std::vector<std::pair<std::string, std::string>>& folders) const {
    std::string text = "[Icon Theme]\nName=" + name + "\nInherits=" + inherits + "\nDirectories=";
    for (const auto& [folder, entries] : folders) text += folder + ',';
    for (const auto& [folder, entries] : folders) text += "\n[" + folder + "]\n" + entries;
    write(name + "/index.theme", text + '\n');
  }

  /// A good PNG of that many pixels a side.
  std::string png(const std::string& name, int side = 16) const {
    const std::string file = write(name, "");
    const platform::Bitmap bitmap{side, side, std::vector<std::uint8_t>(static_cast<std::size_t>(4 * side * side), 200)};
    EXPECT_TRUE(platform::native::writePNG(bitmap, file));
    return file;
  }

  /// A good SVG with that much more inside.
  std::string svg(const std::string& name, const std::string& attributes = R"(width="16" height="16")",
                  const std::string& inside = R"(<path d="M0 0h16v16H0z"/>)") const {
    return write(name, "<svg xmlns=\"http://www.w3.org/2000/svg\" " + attributes + ">" + inside + "</svg>");
  }

 private:
  tests::TemporaryFolder folder_;
};
