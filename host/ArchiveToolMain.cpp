// dovetail-archive: shows a keyed archive as one line of JSON, and makes an archive from such a line.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

namespace {

constexpr int failure = 1;
constexpr int wrongUsage = 2;

int complain(std::string_view subject, std::string_view reason, int status = failure) {
  std::fprintf(stderr, "dovetail-archive: %.*s: %.*s\n", static_cast<int>(subject.size()), subject.data(),
               static_cast<int>(reason.size()), reason.data());
  return status;
}

bool readAll(std::FILE* file, std::string& content) {
  char block[1 << 16];
  while (const std::size_t length = std::fread(block, 1, sizeof block, file)) content.append(block, length);
  return std::ferror(file) == 0;
}

bool read(const std::string& name, std::string& content) {
  if (name == "-") return readAll(stdin, content);
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "rb"), &std::fclose);
  return file && readAll(file.get(), content);
}

int write(const char* bytes, std::size_t length) {
  const bool isWritten = std::fwrite(bytes, 1, length, stdout) == length && std::fflush(stdout) == 0;
  return isWritten ? 0 : complain("standard output", std::strerror(errno));
}

int dump(const std::string& name, const std::string& content) {
  const platform::ByteView bytes(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  const auto object = platform::KeyedUnarchiver::unarchivedObjectWithData(bytes, rawClasses());
  if (!object) return complain(name, "no keyed archive");
  std::string line = textOfObject(*object);
  line += '\n';
  return write(line.data(), line.size());
}

int make(const std::string& name, const std::string& content) {
  const auto object = objectOfText(content);
  if (!object) return complain(name, "no JSON of a value");
  const auto archive = platform::KeyedArchiver::archivedDataWithRootObject(*object);
  if (!archive) return complain(name, "a value that no archive can hold");
  return write(reinterpret_cast<const char*>(archive->data()), archive->size());
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view command = argc == 3 ? argv[1] : "";
  if (command != "dump" && command != "make") {
    return complain("usage", "dovetail-archive dump|make FILE|-", wrongUsage);
  }
  const std::string name = argv[2];
  std::string content;
  if (!read(name, content)) return complain(name, std::strerror(errno));
  return command == "dump" ? dump(name, content) : make(name, content);
}
