// Writes a few small inputs for each target into the corpora: records and trees of our own writer, odd but legal archives, and
// some of those that were made to do harm.
#include <filesystem>
#include <fstream>
#include <string>

#include "archive/DTTreeNode.h"
#include "core/DTMessage.h"
#include "fuzz/Target.h"
#include "platform/codec/KeyedArchiver.h"
#include "platform/linux/settings/SettingsValue.h"
#include "tests/platform/codec/ArchiveBytes.h"
#include "tests/platform/codec/HostileArchives.h"

using platform::Array;
using platform::Data;
using platform::Dictionary;
using platform::Integer;
using platform::Object;

namespace {

std::filesystem::path corpus;

void write(const std::string& target, const std::string& name, const Data& bytes) {
  std::filesystem::create_directories(corpus / target);
  std::ofstream file(corpus / target / name, std::ios::binary);
  file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Data text(std::string_view text) { return Data(text.begin(), text.end()); }

Data joined(const std::vector<Data>& parts) {
  Data all;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (i > 0) all.insert(all.end(), fuzz::separator.begin(), fuzz::separator.end());
    all.insert(all.end(), parts[i].begin(), parts[i].end());
  }
  return all;
}

Object instance(auto value) { return std::shared_ptr<const platform::Coding>(std::make_shared<decltype(value)>(std::move(value))); }

Data archived(const Object& object) { return *platform::KeyedArchiver::archivedDataWithRootObject(object); }

Data message(const char* selector, Object argument) {
  DTMessage message(selector, std::move(argument));
  message.setPortName("G.App");
  return archived(instance(std::move(message)));
}

DTTreeNode leaf(const char* name, std::uint64_t index, std::uint64_t size = 0) {
  return DTTreeNode(DTArchiveEntry(name, false, index, size));
}

DTTreeNode tree() {
  DTTreeNode folder(DTArchiveEntry("folder", true, 2, 0));
  folder.appendChild(leaf("inner.txt", 3, 70000));
  DTTreeNode root(DTArchiveEntry("a.zip", false, 0, 0));
  root.appendChild(leaf("x.png", 1, ~std::uint64_t{0}));
  root.appendChild(std::move(folder));
  return root;
}

Object option(Object first, Object second) {
  Dictionary option;
  option.add("1", std::move(first));
  option.add("2", std::move(second));
  return option;
}

Object everything() {
  Dictionary dictionary;
  dictionary.add("null", platform::Null());
  dictionary.add("numbers", Array{true, Integer::ofSigned(-5), Integer::ofUnsigned(~std::uint64_t{0}), 1.5});
  dictionary.add("texts", Array{"text", "caf\u00e9 \U0001f4c1", "", "a text of more than fifteen"});
  dictionary.add("data", Data{1, 2, 3});
  dictionary.add("set", platform::Set{{Integer::ofSigned(1)}});
  dictionary.add("moment", platform::Date{0.25});
  dictionary.add("identifier", platform::UUID());
  dictionary.add("url", platform::URL::URLWithString("file:///a%20b/c"));
  dictionary.add("path", platform::IndexPath{{4, 300, ~std::uint64_t{0}}});
  dictionary.add("error", platform::Error{"domain", -1, {}});
  return dictionary;
}

// Legal, but not as our writer has it.
Data oddArchive() {
  ArchiveBytes archive;
  archive.isReversed = true;
  archive.fill = 2;
  archive.offsetSize = 3;
  archive.referenceSize = 2;
  const auto wide = archive.slot(archive.wideText(u"wide"));
  const auto number = archive.slot(archive.integer(3, 16));
  const auto numbered =
      archive.instance("NSArray", {{"NS.object.0", archive.uid(wide, 4)}, {"NS.object.1", archive.uid(number, 8)}});
  const auto hinted = archive.classRecord("Unheard", {"NSURL"});
  const auto url = archive.slot(
      archive.object({{"NS.base", archive.uid(0)}, {"NS.relative", archive.uid(wide)}, {"$class", archive.uid(hinted)}}));
  return archive.archive(archive.collection("NSMutableSet", {numbered, url}));
}

void writeArchives() {
  write("unarchiver", "message", message("go:", "hi"));
  write("unarchiver", "everything", archived(everything()));
  write("unarchiver", "tree", archived(instance(tree())));
  write("unarchiver", "odd", oddArchive());
  write("unarchiver", "deep", arraysInsideArrays(20));
  std::size_t count = 0;
  forEachSmallHostileArchive([&](const std::string&, const Data& bytes) {
    if (++count % 3000 == 0) write("unarchiver", "hostile-" + std::to_string(count / 3000), bytes);
  });
  write("property_list", "message", message("go:", "hi"));
  write("property_list", "leaf", archived(instance(leaf("a", 1))));
  write("property_list", "odd", oddArchive());
}

void writeTrees() {
  std::vector<Data> leaves;
  for (const auto& [name, index] : {std::pair{"a", 1u}, {"bb.txt", 2u}, {"a much longer name.txt", 300u}, {"caf\u00e9", 70000u}})
    leaves.push_back(archived(instance(leaf(name, index, index))));
  write("tree", "leaves", joined(leaves));
  write("tree", "mixed", joined({leaves[0], archived(instance(tree())), leaves[1], text("no archive"), leaves[0]}));
  write("tree", "deep", archivesInsideArchives(3));
  write("tree", "entry", joined({archived(instance(DTArchiveEntry("e", true, 1, 2))), leaves[0], leaves[2]}));
}

void writeRecords() {
  Data identity(24, 0);
  identity[23] = 3;
  const Data archive = message("setArchive:", option(instance(tree()), identity));
  write("dispatch", "archive", archive);
  write("dispatch", "archives",
        joined({archive, message("setArchives:", Object()), archive, message("setArchiveMenus:", Object())}));
  write("dispatch", "actions", joined({message("delete:", Object()), message("compress:", 1.5), message("expand:", Object())}));
  write("dispatch", "folders",
        joined({message("beginObservingDirectoryAtURL:", platform::URL::fileURLWithPath("/w")),
                message("requestBadgeIdentifierForURL:", platform::URL::fileURLWithPath("/w/a.zip")),
                message("endObservingDirectoryAtURL:", platform::URL::fileURLWithPath("/w"))}));
  write("dispatch", "targets", message("setTargetUrls:", Array{platform::URL::fileURLWithPath("/w/b.txt")}));
  write("dispatch", "state",
        joined({message("setPortName:", "other"), message("setSenderObjects:", Object()), message("setObservedFiles:", Object()),
                message("setPortMonitor:", Object()), message("updateApplicationRunning:", "x")}));
  write("dispatch", "nested", message("handleMessage:", message("sendMessage:", instance(DTMessage("echo:", "x")))));
  write("dispatch", "none",
        joined({text("bplist00"), message("noSuchMethod:", "x"), archived("text"), message("iconForFileType:", "zip")}));
}

// The identity asked for, then the path.
void writeBookmarks() {
  for (const auto& [name, flags, path] : {std::tuple{"folder", 1, "folder"},
                                          {"inner", 1, "folder/inner"},
                                          {"file", 2, "file"},
                                          {"moved", 2, "folder/gone"},
                                          {"elsewhere", 3, "gone/gone/gone"},
                                          {"other", 4, "link"}}) {
    Data input(25, 0);
    input[0] = static_cast<std::uint8_t>(flags);
    const Data end = text(path);
    input.insert(input.end(), end.begin(), end.end());
    write("bookmark", name, input);
  }
  Data whole = text("DTBM");
  whole.insert(whole.end(), {1, 1, 0, 1});
  whole.resize(32);
  whole.insert(whole.end(), {'/', 0x6a, 0x6e, 0x8d, 0x11});
  write("bookmark", "whole", whole);
}

void writeSetting(const std::string& name, std::uint8_t type, std::uint8_t key, const Object& value) {
  const auto variant = platform::native::variantOfObject(value);
  Data input{type, key};
  const auto* bytes = static_cast<const std::uint8_t*>(g_variant_get_data(variant.get()));
  input.insert(input.end(), bytes, bytes + g_variant_get_size(variant.get()));
  write("settings", name, input);
}

// The numbers are those of the target's lists of types and keys.
void writeSettings() {
  Dictionary lists;
  lists.add("DTRootMenuItems", Array{Integer::ofSigned(7), Integer::ofSigned(10)});
  lists.add("DTMoreMenuItems", Array{Integer::ofSigned(1), "text", 0.5});
  writeSetting("lists", 1, 1, lists);
  writeSetting("toolbar", 1, 2, lists);
  writeSetting("bookmarks", 2, 0, Array{Data{1, 2}, Data{}, Data(40, 'x')});
  writeSetting("mixed", 3, 0, Array{true, "a", Array{Data{1}}, Dictionary()});
  writeSetting("texts", 4, 0, Array{"a", "caf\u00e9"});
  writeSetting("numbers", 5, 0, Array{Integer::ofSigned(1), Integer::ofSigned(-1)});
  writeSetting("version", 8, 7, "1.0");
  writeSetting("flag", 10, 3, true);
  writeSetting("real", 16, 4, 0.5);
}

void writeFraming() {
  write("framing", "packets", {5, 'a', 0, 0xf3, 'b', 0, 1, 'c', 0});
  write("framing", "memory", {1, 0, 1, 2, 0xf5, 'x', 0, 'y', 1, 3, 0, 'z'});
  write("framing", "unsealed", {1, 0, 1, 0x71, 9, 'x'});
  write("framing", "no memory", {1, 0, 1, 0});
  write("framing", "two", {1, 0, 2, 2, 1, 'x', 2, 2, 'y'});
  write("framing", "too long", {3, 'a', 0, 0xf4, 'b', 0});
  write("framing", "end", {3, 'a', 0, 0, 0, 0});
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  corpus = arguments[1];
  writeArchives();
  writeTrees();
  writeRecords();
  writeBookmarks();
  writeSettings();
  writeFraming();
  return 0;
}
