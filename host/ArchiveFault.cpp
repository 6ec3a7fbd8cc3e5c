#include "host/ArchiveFault.h"

#include <cstring>
#include <optional>
#include <set>
#include <vector>

#include "platform/JSONText.h"
#include "platform/Object.h"
#include "platform/codec/KeyedArchiveReader.h"
#include "platform/codec/PropertyListReader.h"

using platform::ByteView;
using platform::DecodeBudget;
using platform::KeyedArchiveReader;
using platform::Object;
using platform::PropertyListItem;
using platform::PropertyListKey;
using platform::PropertyListKind;
using platform::PropertyListReader;

namespace {

constexpr std::size_t headerLength = 8;
constexpr std::size_t trailerLength = 32;

std::string atByte(std::uint64_t byte) { return " at byte " + std::to_string(byte); }

/// The last 32 bytes of a property list, whatever they claim.
struct Trailer {
  explicit Trailer(ByteView all)
      : bytes(all),
        start(all.size() - trailerLength),
        offsetSize(all[start + 6]),
        referenceSize(all[start + 7]),
        count(number(start + 8, 8)),
        top(number(start + 16, 8)),
        table(number(start + 24, 8)) {}

  std::uint64_t number(std::uint64_t at, unsigned size) const {
    std::uint64_t value = 0;
    for (unsigned i = 0; i < size; ++i) value = value << 8 | bytes[at + i];
    return value;
  }
  /// Where an object begins. Within the table only.
  std::uint64_t byteOf(std::uint64_t object) const { return number(table + object * offsetSize, offsetSize); }

  ByteView bytes;
  std::uint64_t start;
  unsigned offsetSize, referenceSize;
  std::uint64_t count, top, table;
};

std::string faultOfOffsets(const Trailer& trailer) {
  for (std::uint64_t object = 0; object < trailer.count; ++object) {
    const std::uint64_t place = trailer.table + object * trailer.offsetSize;
    if (trailer.byteOf(object) >= trailer.table)
      return "the offset" + atByte(place) + " leads to byte " + std::to_string(trailer.byteOf(object)) + ", past the objects";
  }
  return "the sizes of numbers" + atByte(trailer.start + 6) + " are too small for it";
}

/// What is wrong with bytes that are no binary property list.
std::string faultOfList(ByteView bytes) {
  if (bytes.size() < headerLength || std::memcmp(bytes.data(), "bplist0", 7) != 0) return "it does not begin with \"bplist00\"";
  if (bytes.size() < headerLength + 1 + trailerLength) return "it ends" + atByte(bytes.size()) + ", before its trailer";
  const Trailer trailer(bytes);
  if (trailer.offsetSize < 1 || trailer.offsetSize > 8)
    return "the size of an offset" + atByte(trailer.start + 6) + " is not 1 to 8";
  if (trailer.referenceSize < 1 || trailer.referenceSize > 8)
    return "the size of a reference" + atByte(trailer.start + 7) + " is not 1 to 8";
  if (trailer.table <= headerLength || trailer.table >= trailer.start)
    return "the offset table is not where the number" + atByte(trailer.start + 24) + " says";
  const std::uint64_t tableSize = trailer.start - trailer.table;
  if (trailer.count > tableSize / trailer.offsetSize || trailer.count * trailer.offsetSize != tableSize)
    return "the number of objects" + atByte(trailer.start + 8) + " does not fill the offset table";
  if (trailer.top >= trailer.count) return "the number of the top object" + atByte(trailer.start + 16) + " is too large";
  return faultOfOffsets(trailer);
}

/// Follows an archive from its top to the first thing that makes it unusable.
class FaultFinder {
 public:
  FaultFinder(ByteView bytes, const PropertyListReader& list, platform::ClassTable classes)
      : bytes_(bytes), list_(list), trailer_(bytes), classes_(classes) {}

  std::string find() {
    if (std::string fault = faultOfTop(); !fault.empty()) return fault;
    DecodeBudget budget(bytes_.size());
    auto reader = KeyedArchiveReader::open(bytes_, classes_, budget);
    if (!reader) return "an element of its $objects, or its root, is no object";
    Object root;
    if (reader->object(reader->root(), root)) return hasRoot_ ? "" : "it has no root object";
    if (budget.isExhausted()) return "its objects hold themselves, are nested too deep or are more than its length allows";
    return faultOfObject(*reader, budget);
  }

 private:
  std::string place(std::uint64_t object) const { return atByte(trailer_.byteOf(object)); }
  std::string malformed(std::uint64_t object) const { return "the object" + place(object) + " is malformed"; }

  std::string faultOfKind(std::uint64_t object, PropertyListKind kind, const char* name, PropertyListItem& item) const {
    if (!list_.read(object, item)) return malformed(object);
    return item.kind == kind ? "" : "the object" + place(object) + " is no " + name;
  }
  std::uint64_t value(const PropertyListItem& dictionary, const char* key) const {
    const PropertyListKey wanted(key);
    std::uint64_t found = PropertyListReader::absent;
    return list_.lookUp(dictionary, {&wanted, 1}, {&found, 1}) ? found : PropertyListReader::absent;
  }

  std::string faultOfTop() {
    const std::uint64_t number = list_.topObject();
    PropertyListItem top, item;
    if (std::string fault = faultOfKind(number, PropertyListKind::Dictionary, "dictionary", top); !fault.empty()) return fault;
    for (const char* key : {"$version", "$objects", "$top"}) {
      if (value(top, key) == PropertyListReader::absent) return "the dictionary" + place(number) + " has no single " + key;
    }
    const std::uint64_t version = value(top, "$version"), objects = value(top, "$objects"), roots = value(top, "$top");
    if (!list_.read(version, item) || item.kind != PropertyListKind::Integer || item.value != 100000)
      return "the $version" + place(version) + " is not 100000";
    if (std::string fault = faultOfKind(objects, PropertyListKind::Array, "array", item); !fault.empty()) return fault;
    if (std::string fault = faultOfKind(roots, PropertyListKind::Dictionary, "dictionary", item); !fault.empty()) return fault;
    const std::uint64_t root = value(item, "root");
    hasRoot_ = root != PropertyListReader::absent && list_.read(root, item) && item.kind == PropertyListKind::UID;
    return "";
  }

  /// Goes down from the root along what cannot be made, to the object that is itself at fault.
  std::string faultOfObject(KeyedArchiveReader& reader, DecodeBudget& budget) const {
    std::set<std::uint32_t> seen;
    std::optional<std::uint32_t> next = reader.root();
    std::string fault;
    while (next) {
      seen.insert(*next);
      PropertyListItem item;
      const std::uint64_t number = reader.objectNumber(*next);
      if (number == KeyedArchiveReader::absent) return "its reference to object " + std::to_string(*next) + " leads past the last";
      if (!reader.readSlot(*next, item)) return malformed(number);
      if (fault = faultOfInstance(reader, number, item); !fault.empty()) return fault;
      fault = "the object" + place(number) + " does not hold what an " + std::string(reader.className(value(item, "$class"))) +
              " holds";
      next = faultyPart(reader, budget, item, seen);
    }
    return fault;
  }

  std::string faultOfInstance(const KeyedArchiveReader& reader, std::uint64_t number, const PropertyListItem& item) const {
    if (item.isString()) return "the text" + place(number) + " is not ASCII";
    if (item.kind != PropertyListKind::Dictionary)
      return "the object" + place(number) + " is of a kind that no archive holds there";
    const std::uint64_t classValue = value(item, "$class");
    std::uint32_t uid = 0;
    PropertyListItem record, name;
    const bool hasRecord = classValue != PropertyListReader::absent && reader.readUID(classValue, uid) && uid != 0 &&
                           reader.readSlot(uid, record) && record.kind == PropertyListKind::Dictionary;
    const std::uint64_t nameValue = hasRecord ? value(record, "$classname") : PropertyListReader::absent;
    if (nameValue == PropertyListReader::absent || !list_.read(nameValue, name) || !name.isString())
      return "the object" + place(number) + " names no class";
    if (!reader.className(classValue).empty()) return "";
    std::string text, quoted;
    reader.text(name, text);
    platform::appendJSONString(quoted, text);
    return "the class " + quoted + place(nameValue) + " is not known";
  }

  std::optional<std::uint32_t> faultyPart(KeyedArchiveReader& reader, DecodeBudget& budget, const PropertyListItem& item,
                                          const std::set<std::uint32_t>& seen) const {
    for (const std::uint32_t part : partsOf(item)) {
      Object object;
      budget = DecodeBudget(bytes_.size());
      if (!seen.contains(part) && !reader.object(part, object)) return part;
    }
    return std::nullopt;
  }

  /// What an instance refers to, but for its class.
  std::vector<std::uint32_t> partsOf(const PropertyListItem& dictionary) const {
    std::vector<std::uint32_t> parts;
    const std::uint64_t classValue = value(dictionary, "$class");
    for (std::size_t i = dictionary.count; i < 2 * dictionary.count; ++i) {
      const std::uint64_t number = list_.reference(dictionary, i);
      PropertyListItem item, element;
      if (number == classValue || !list_.read(number, item)) continue;
      if (item.kind == PropertyListKind::UID) parts.push_back(static_cast<std::uint32_t>(item.value));
      for (std::size_t at = 0; item.kind == PropertyListKind::Array && at < item.count; ++at) {
        if (list_.read(list_.reference(item, at), element) && element.kind == PropertyListKind::UID)
          parts.push_back(static_cast<std::uint32_t>(element.value));
      }
    }
    return parts;
  }

  ByteView bytes_;
  const PropertyListReader& list_;
  Trailer trailer_;
  platform::ClassTable classes_;
  bool hasRoot_ = false;
};

}  // namespace

std::string faultOfArchive(ByteView bytes, platform::ClassTable classes) {
  if (bytes.size() > platform::maximumArchiveLength) return "it is longer than 1 GiB";
  const auto list = PropertyListReader::open(bytes);
  return list ? FaultFinder(bytes, *list, classes).find() : faultOfList(bytes);
}
