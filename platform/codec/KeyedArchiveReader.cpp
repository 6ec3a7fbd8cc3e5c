#include "platform/codec/KeyedArchiveReader.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/UnicodeText.h"
#include "platform/codec/ArchivedValue.h"

namespace platform {
namespace {

constexpr std::uint64_t ArchiveVersion = 100000;
constexpr PropertyListKey arrayClass("NSArray");
constexpr PropertyListKey mutableArrayClass("NSMutableArray");

}  // namespace

std::optional<KeyedArchiveReader> KeyedArchiveReader::open(ByteView bytes, ClassTable classes, DecodeBudget& budget) {
  const auto list = PropertyListReader::open(bytes);
  if (!list || !budget.spend(list->tableSize())) return std::nullopt;
  KeyedArchiveReader reader(*list, classes, budget);
  if (!reader.readTop()) return std::nullopt;
  return reader;
}

bool KeyedArchiveReader::readTop() {
  static constexpr std::array<PropertyListKey, 4> keys{"$version", "$archiver", "$top", "$objects"};
  static constexpr std::array<PropertyListKey, 1> topKeys{"root"};
  std::array<std::uint64_t, 4> values;
  std::array<std::uint64_t, 1> topValues;
  PropertyListItem item;
  if (!read(list_.topObject(), item) || item.kind != PropertyListKind::Dictionary) return false;
  if (!lookUp(item, keys, values)) return false;
  if (!read(values[0], item) || item.kind != PropertyListKind::Integer || item.value != ArchiveVersion) return false;
  if (!read(values[3], objects_) || objects_.kind != PropertyListKind::Array) return false;
  if (!budget_->spend(objects_.count) || !list_.hasValidReferences(objects_)) return false;
  if (!read(values[2], item) || item.kind != PropertyListKind::Dictionary) return false;
  return lookUp(item, topKeys, topValues) && readUID(topValues[0], root_);
}

bool KeyedArchiveReader::readSlot(std::uint32_t uid, PropertyListItem& item) const {
  return uid < objects_.count && read(list_.reference(objects_, uid), item);
}

bool KeyedArchiveReader::readAnyUID(std::uint64_t value, std::uint32_t& uid) const {
  uid = 0;
  if (value == absent) return true;
  PropertyListItem item;
  if (!read(value, item)) return false;
  if (item.kind == PropertyListKind::UID) uid = static_cast<std::uint32_t>(item.value);
  return true;
}

bool KeyedArchiveReader::readClassRecord(std::uint64_t classValue, std::uint64_t& name, std::uint64_t& hints) const {
  static constexpr std::array<PropertyListKey, 3> keys{"$classname", "$classes", "$classhints"};
  std::array<std::uint64_t, 3> values;
  std::uint32_t uid = 0;
  PropertyListItem record;
  if (!readUID(classValue, uid) || uid == 0 || !readSlot(uid, record)) return false;
  if (record.kind != PropertyListKind::Dictionary || !lookUp(record, keys, values)) return false;
  name = values[0];
  hints = values[2];
  return name != absent;
}

std::string_view KeyedArchiveReader::knownName(const PropertyListItem& name) const {
  for (const ArchivedClass& ours : classes_) {
    if (name.equals(ours.name)) return ours.name;
  }
  return ArchivedValue::className(name);
}

std::string_view KeyedArchiveReader::className(std::uint64_t classValue) const {
  PropertyListItem name, hints;
  std::uint64_t nameValue = absent, hintsValue = absent;
  if (!readClassRecord(classValue, nameValue, hintsValue) || !read(nameValue, name) || !name.isString()) return {};
  std::string_view known = knownName(name);
  if (!known.empty() || hintsValue == absent) return known;
  if (!read(hintsValue, hints) || hints.kind != PropertyListKind::Array || !budget_->spend(hints.count)) return {};
  for (std::size_t i = 0; i < hints.count && known.empty(); ++i) {
    if (!read(list_.reference(hints, i), name)) return {};
    known = knownName(name);
  }
  return known;
}

bool KeyedArchiveReader::isOfClass(std::uint64_t classValue, const PropertyListKey& name) const {
  std::uint64_t recordName = absent, hints = absent;
  if (!readClassRecord(classValue, recordName, hints)) return false;
  return list_.isText(recordName, name) || (hints != absent && className(classValue) == name.text());
}

bool KeyedArchiveReader::text(const PropertyListItem& string, std::string& text) const {
  const bool isWide = string.kind == PropertyListKind::UTF16String;
  if (!budget_->spend(string.count, 2)) return false;
  if (isWide) {
    text = textFromUTF16({string.bytes, 2 * string.count});
    return true;
  }
  const std::string_view plain(reinterpret_cast<const char*>(string.bytes), string.count);
  if (!isASCII(plain)) return false;
  text = plain;
  return true;
}

bool KeyedArchiveReader::textAt(std::uint64_t value, std::optional<std::string>& text) {
  std::uint32_t uid = 0;
  PropertyListItem item;
  text.reset();
  if (!readUID(value, uid)) return false;
  if (uid == 0) return true;
  if (!budget_->spend(DecodeBudget::costOfObject) || !readSlot(uid, item)) return false;
  if (item.isString()) return this->text(item, text.emplace());
  Object object;
  if (!this->object(uid, object)) return false;
  if (const auto* string = object.get<std::string>()) text = *string;
  return true;
}

bool KeyedArchiveReader::object(std::uint32_t uid, Object& object) {
  object = Object();
  if (uid == 0) return true;
  PropertyListItem item;
  if (!budget_->spend(DecodeBudget::costOfObject) || !readSlot(uid, item)) return false;
  switch (item.kind) {
    case PropertyListKind::Boolean: object = Object(item.value != 0); return true;
    case PropertyListKind::Integer: object = Object(Integer{item.value, item.isNegative}); return true;
    case PropertyListKind::Real: object = Object(item.real()); return true;
    case PropertyListKind::Date: object = Object(Date{item.real()}); return true;
    case PropertyListKind::Data:
      if (!budget_->spend(item.count)) return false;
      object = Object(Data(item.bytes, item.bytes + item.count));
      return true;
    case PropertyListKind::ASCIIString:
    case PropertyListKind::UTF16String: {
      std::string string;
      if (!text(item, string)) return false;
      object = Object(std::move(string));
      return true;
    }
    case PropertyListKind::Dictionary: return instance(item, object);
    default: return false;
  }
}

bool KeyedArchiveReader::instance(const PropertyListItem& dictionary, Object& object) {
  static constexpr std::array<PropertyListKey, 1> keys{"$class"};
  std::array<std::uint64_t, 1> values;
  if (!lookUp(dictionary, keys, values)) return false;
  const std::string_view name = className(values[0]);
  if (name.empty() || !budget_->spend(DecodeBudget::costOfInstance) || !budget_->enter()) return false;
  const bool isMade = ArchivedValue(*this, dictionary).decode(name, object);
  budget_->leave();
  return isMade;
}

bool KeyedArchiveReader::uidArray(std::uint64_t value, std::vector<std::uint32_t>& uids) const {
  PropertyListItem array;
  if (!read(value, array) || array.kind != PropertyListKind::Array) return false;
  if (!budget_->spend(array.count, 1 + sizeof(std::uint32_t))) return false;
  uids.resize(array.count);
  for (std::size_t i = 0; i < array.count; ++i) {
    // nil is no element: the platform's collections refuse it.
    if (!readUID(list_.reference(array, i), uids[i]) || uids[i] == 0) return false;
  }
  return true;
}

bool KeyedArchiveReader::elements(const PropertyListItem& dictionary, std::vector<std::uint32_t>& uids) const {
  static constexpr std::array<PropertyListKey, 1> keys{"NS.objects"};
  std::array<std::uint64_t, 1> values;
  if (!lookUp(dictionary, keys, values)) return false;
  return values[0] == absent ? numberedElements(dictionary, uids) : uidArray(values[0], uids);
}

bool KeyedArchiveReader::numberedElements(const PropertyListItem& dictionary, std::vector<std::uint32_t>& uids) const {
  static constexpr std::string_view prefix = "NS.object.";
  std::vector<std::pair<std::uint64_t, std::uint32_t>> numbered;
  if (!budget_->spend(dictionary.count, 1 + sizeof numbered[0] + sizeof uids[0])) return false;
  for (std::size_t i = 0; i < dictionary.count; ++i) {
    PropertyListItem key;
    std::string name;
    if (!read(list_.reference(dictionary, i), key) || !text(key, name)) return false;
    if (!name.starts_with(prefix)) continue;
    auto& [number, uid] = numbered.emplace_back();
    const char* end = name.data() + name.size();
    if (std::from_chars(name.data() + prefix.size(), end, number).ptr != end)
      numbered.pop_back();
    else if (!readUID(list_.reference(dictionary, dictionary.count + i), uid) || uid == 0)
      return false;
  }
  std::sort(numbered.begin(), numbered.end());
  for (const auto& [number, uid] : numbered) {
    if (number == uids.size())
      uids.push_back(uid);
    else if (number < uids.size())
      return false;
  }
  return true;
}

bool KeyedArchiveReader::dataView(std::uint32_t uid, ByteView& view) {
  if (list_.readData(objectNumber(uid), view)) return true;
  view = {};
  PropertyListItem item;
  if (!readSlot(uid, item)) return false;
  if (item.kind != PropertyListKind::Dictionary) return true;
  static constexpr std::array<PropertyListKey, 3> keys{"NS.data", "NS.bytes", "$class"};
  std::array<std::uint64_t, 3> values;
  if (!lookUp(item, keys, values)) return false;
  const std::string_view name = className(values[2]);
  if (name != "NSMutableData" && name != "NSData") return !name.empty();
  if (!read(values[0] != absent ? values[0] : values[1], item)) return false;
  if (item.kind != PropertyListKind::Data) return false;
  view = item.data();
  return true;
}

bool KeyedArchiveReader::dataViews(std::span<const std::uint32_t> uids, std::span<ByteView> views) {
  constexpr std::size_t batch = 64;
  for (std::size_t i = 0; i < uids.size(); ++i) {
    if (i % batch == 0) {
      for (const std::uint32_t uid : uids.subspan(i, std::min(batch, uids.size() - i))) list_.prefetch(objectNumber(uid));
    }
    if (!dataView(uids[i], views[i])) return false;
  }
  return true;
}

bool KeyedArchiveReader::dataArray(std::uint32_t uid, std::optional<std::vector<ByteView>>& views) {
  views.reset();
  PropertyListItem item;
  if (uid == 0) return true;
  if (!readSlot(uid, item)) return false;
  if (item.kind != PropertyListKind::Dictionary) return true;
  static constexpr std::array<PropertyListKey, 2> keys{"NS.objects", "$class"};
  std::array<std::uint64_t, 2> values;
  if (!lookUp(item, keys, values)) return false;
  if (!isOfClass(values[1], arrayClass) && !isOfClass(values[1], mutableArrayClass)) return !className(values[1]).empty();
  std::vector<std::uint32_t> uids;
  const bool isRead = values[0] == absent ? numberedElements(item, uids) : uidArray(values[0], uids);
  if (!isRead || !budget_->spend(uids.size(), sizeof(ByteView))) return false;
  views.emplace(uids.size());
  return dataViews(uids, *views);
}

}  // namespace platform
