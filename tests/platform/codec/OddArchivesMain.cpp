// Writes records to send to a browser, for tests in other languages:
//   odd-archives hostile FOLDER          each large hostile archive, as a file of its name
//   odd-archives large IDENTITY FOLDER   tables of contents for the file of that identity (in hexadecimal digits), as far beyond real
//                                        ones as the reader's bounds promise to let pass
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <string>

#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "platform/codec/KeyedArchiver.h"
#include "tests/platform/codec/HostileArchives.h"

using platform::Data;
using platform::Object;

namespace {

void write(const std::filesystem::path& path, const Data& bytes) {
  std::ofstream file(path, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Data identityOf(const std::string& digits) {
  Data bytes;
  for (std::size_t at = 0; at + 1 < digits.size(); at += 2) {
    bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(at, 2), nullptr, 16)));
  }
  return bytes;
}

DTTreeNode node(const char* name, bool isFolder, std::uint64_t index) {
  return DTTreeNode(DTArchiveEntry(name, isFolder, index, 0));
}

DTTreeNode chain(std::uint64_t levels) {
  DTTreeNode tree = node("last.txt", false, levels);
  for (std::uint64_t level = levels; level-- > 0;) {
    DTTreeNode outer = node("folder", true, level);
    outer.appendChild(std::move(tree));
    tree = std::move(outer);
  }
  return tree;
}

// 460 bytes an entry.
DTTreeNode wide(std::uint64_t folders, std::uint64_t files) {
  DTTreeNode root = node("large.zip", true, 0);
  for (std::uint64_t folder = 0; folder < folders; ++folder) {
    DTTreeNode& inner = root.appendChild(node("folder", true, folder * 1000 + 1));
    for (std::uint64_t file = 1; file <= files; ++file)
      inner.appendChild(node("a file with a name.txt", false, folder * 1000 + file + 1));
  }
  return root;
}

platform::Dictionary option(DTTreeNode tree, const Data& identity) {
  platform::Dictionary option;
  option.add("1", std::shared_ptr<const platform::Coding>(std::make_shared<DTTreeNode>(std::move(tree))));
  option.add("2", identity);
  return option;
}

Data message(platform::Dictionary argument) {
  const auto message = std::make_shared<DTMessage>("setArchive:", std::move(argument));
  return *platform::KeyedArchiver::archivedDataWithRootObject(std::shared_ptr<const platform::Coding>(message));
}

int writeHostile(const std::filesystem::path& folder) {
  forEachLargeHostileArchive([&](const std::string& name, const Data& bytes) { write(folder / name, bytes); });
  return 0;
}

int writeLarge(const Data& identity, const std::filesystem::path& folder) {
  write(folder / "a hundred levels", message(option(chain(100), identity)));
  platform::Array objects;
  for (std::int64_t i = 0; i < 300000; ++i) objects.push_back(platform::Integer::ofSigned(i));
  platform::Dictionary many = option(node("large.zip", true, 0), identity);
  many.add("3", std::move(objects));
  write(folder / "three hundred thousand objects", message(std::move(many)));
  write(folder / "sixty-four megabytes", message(option(wide(300, 480), identity)));
  return 0;
}

}  // namespace

int main(int count, char** words) {
  const std::string what = count > 1 ? words[1] : "";
  if (what == "hostile" && count == 3) return writeHostile(words[2]);
  if (what == "large" && count == 4) return writeLarge(identityOf(words[2]), words[3]);
  std::cerr << "usage: odd-archives hostile FOLDER | large IDENTITY FOLDER\n";
  return 2;
}
