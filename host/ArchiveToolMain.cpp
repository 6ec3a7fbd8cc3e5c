// dovetail-archive: shows a keyed archive as one line of JSON, and makes an archive from such a line.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include "host/ArchiveFault.h"
#include "host/ObjectJSON.h"
#include "host/RawRecords.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/linux/programs/Program.h"

using platform::native::ExitStatus;
using platform::native::Program;

namespace {

const Program program("dovetail-archive", "dump|make FILE|-",
                      "Shows the archives of the wire as JSON, and makes them from it.\n"
                      "\n"
                      "Commands:\n"
                      "  dump FILE   print the archive in the file as one line of JSON\n"
                      "  make FILE   read such JSON and write the archive to standard output\n"
                      "The file - is standard input.",
                      {});

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

int dump(const std::string& subject, const std::string& content) {
  const platform::ByteView bytes(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
  const auto object = platform::KeyedUnarchiver::unarchivedObjectWithData(bytes, rawClasses());
  const std::string fault = object && !object->isNil() ? "" : faultOfArchive(bytes, rawClasses());
  if (!object || !fault.empty()) return program.complain(subject + " is no keyed archive that can be read: " + fault + ".");
  const std::string line = textOfObject(*object) + "\n";
  std::fwrite(line.data(), 1, line.size(), stdout);
  return ExitStatus::done;
}

int make(const std::string& subject, const std::string& content) {
  const auto object = objectOfText(content);
  if (!object) return program.complain(subject + " is no JSON of a value.");
  const auto archive = platform::KeyedArchiver::archivedDataWithRootObject(*object);
  if (!archive) return program.complain(subject + " is a value that no archive can hold.");
  std::fwrite(archive->data(), 1, archive->size(), stdout);
  return ExitStatus::done;
}

int run(const Program::Words& words) {
  if (words.empty()) return program.misuse("Say what to do.");
  const std::string& command = words[0];
  if (command != "dump" && command != "make") return program.misuse("There is no command \"" + command + "\".");
  if (words.size() != 2) return program.misuse("Say one file: " + command + " FILE, or - for standard input.");
  const std::string subject = words[1] == "-" ? "Standard input" : "\"" + words[1] + "\"";
  std::string content;
  if (!read(words[1], content)) return program.complain(subject + " cannot be read: " + std::strerror(errno) + ".");
  return command == "dump" ? dump(subject, content) : make(subject, content);
}

}  // namespace

int main(int, char** arguments) { return program.run(arguments, run); }
