#include "platform/codec/ArchivedValue.h"

#include <algorithm>

#include "platform/UnicodeText.h"
#include "platform/codec/KeyedUnarchiver.h"
#include "platform/codec/PackedIndexes.h"

namespace platform {

const std::array<ArchivedValue::PlatformClass, 15> ArchivedValue::platformClasses{{
    {"NSURL", &ArchivedValue::decodeURL},
    {"NSDictionary", &ArchivedValue::decodeDictionary},
    {"NSArray", &ArchivedValue::decodeArray},
    {"NSMutableArray", &ArchivedValue::decodeArray},
    {"NSMutableDictionary", &ArchivedValue::decodeDictionary},
    {"NSMutableString", &ArchivedValue::decodeString},
    {"NSString", &ArchivedValue::decodeString},
    {"NSMutableData", &ArchivedValue::decodeData},
    {"NSData", &ArchivedValue::decodeData},
    {"NSIndexPath", &ArchivedValue::decodeIndexPath},
    {"NSError", &ArchivedValue::decodeError},
    {"NSDate", &ArchivedValue::decodeDate},
    {"NSUUID", &ArchivedValue::decodeUUID},
    {"NSNull", &ArchivedValue::decodeNull},
    {"NSSet", &ArchivedValue::decodeSet},
}};

std::string_view ArchivedValue::className(const PropertyListItem& name) {
  for (const PlatformClass& platformClass : platformClasses) {
    if (name.equals(platformClass.name)) return platformClass.name;
  }
  return name.equals("NSMutableSet") ? "NSSet" : std::string_view();
}

bool ArchivedValue::decode(std::string_view name, Object& object) {
  for (const ArchivedClass& ours : reader_.classes()) {
    if (ours.name == name) return decodeInstance(ours, object);
  }
  for (const PlatformClass& platformClass : platformClasses) {
    if (platformClass.name == name) return (this->*platformClass.decode)(object);
  }
  return false;
}

bool ArchivedValue::find(std::string_view key, std::uint64_t& value) const { return reader_.lookUp(dictionary_, key, value); }

bool ArchivedValue::uidForKey(std::string_view key, std::uint32_t& uid) const {
  std::uint64_t value = 0;
  return find(key, value) && reader_.readUID(value, uid);
}

bool ArchivedValue::objectForKey(std::string_view key, Object& object) {
  std::uint64_t value = 0;
  return find(key, value) && reader_.objectAt(value, object);
}

bool ArchivedValue::integerForKey(std::string_view key, std::uint64_t& bits, bool& isNegative) const {
  std::uint64_t value = 0;
  bits = 0;
  isNegative = false;
  if (!find(key, value)) return false;
  if (value == KeyedArchiveReader::absent) return true;
  PropertyListItem item;
  if (!reader_.read(value, item) || item.kind != PropertyListKind::Integer) return false;
  bits = item.value;
  isNegative = item.isNegative;
  return true;
}

bool ArchivedValue::objects(const std::vector<std::uint32_t>& uids, std::vector<Object>& objects) {
  if (!reader_.budget().spend(uids.size(), sizeof(Object))) return false;
  objects.resize(uids.size());
  for (std::size_t i = 0; i < uids.size(); ++i) {
    if (!reader_.object(uids[i], objects[i])) return false;
  }
  return true;
}

bool ArchivedValue::decodeArray(Object& object) {
  std::vector<std::uint32_t> uids;
  Array array;
  if (!reader_.elements(dictionary_, uids) || !objects(uids, array)) return false;
  object = Object(std::move(array));
  return true;
}

bool ArchivedValue::decodeSet(Object& object) {
  std::vector<std::uint32_t> uids;
  Set set;
  if (!reader_.elements(dictionary_, uids) || !objects(uids, set.members)) return false;
  object = Object(std::move(set));
  return true;
}

bool ArchivedValue::decodeDictionary(Object& object) {
  static constexpr std::array<PropertyListKey, 2> names{"NS.keys", "NS.objects"};
  std::array<std::uint64_t, 2> values;
  std::vector<std::uint32_t> keys, elements;
  if (!reader_.lookUp(dictionary_, names, values)) return false;
  const bool isEmpty = values[0] == KeyedArchiveReader::absent && values[1] == KeyedArchiveReader::absent;
  if (!isEmpty && (!reader_.uidArray(values[0], keys) || !reader_.uidArray(values[1], elements))) return false;
  Dictionary dictionary;
  if (keys.size() != elements.size() || !reader_.budget().spend(keys.size(), 2 * sizeof(Object))) return false;
  dictionary.entries.resize(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) {
    if (!reader_.object(keys[i], dictionary.entries[i].first)) return false;
    if (!reader_.object(elements[i], dictionary.entries[i].second)) return false;
  }
  object = Object(std::move(dictionary));
  return true;
}

bool ArchivedValue::decodeString(Object& object) {
  std::uint64_t value = 0;
  PropertyListItem item;
  std::string text;
  if (!find("NS.string", value)) return false;
  if (value != KeyedArchiveReader::absent) {
    if (!reader_.read(value, item) || !item.isString() || !reader_.text(item, text)) return false;
  } else {
    ByteView bytes;
    if (!inlineData("NS.bytes", "NS.bytes", bytes) || !reader_.budget().spend(bytes.size())) return false;
    text.assign(bytes.begin(), bytes.end());
    if (!isGeneralisedUTF8(text)) return false;
  }
  object = Object(std::move(text));
  return true;
}

bool ArchivedValue::inlineData(std::string_view key, std::string_view otherKey, ByteView& bytes) const {
  std::uint64_t value = 0;
  PropertyListItem item;
  if (!find(key, value)) return false;
  if (value == KeyedArchiveReader::absent && !find(otherKey, value)) return false;
  if (!reader_.read(value, item) || item.kind != PropertyListKind::Data) return false;
  bytes = item.data();
  return true;
}

bool ArchivedValue::decodeData(Object& object) {
  ByteView bytes;
  if (!inlineData("NS.data", "NS.bytes", bytes) || !reader_.budget().spend(bytes.size())) return false;
  object = Object(Data(bytes.begin(), bytes.end()));
  return true;
}

bool ArchivedValue::decodeNull(Object& object) {
  object = Object(Null());
  return true;
}

bool ArchivedValue::decodeDate(Object& object) {
  std::uint64_t value = 0;
  PropertyListItem item;
  if (!find("NS.time", value) || !reader_.read(value, item)) return false;
  if (item.kind != PropertyListKind::Real) return false;
  object = Object(Date{item.real()});
  return true;
}

bool ArchivedValue::decodeUUID(Object& object) {
  ByteView bytes;
  UUID uuid;
  if (!inlineData("NS.uuidbytes", "NS.uuidbytes", bytes) || bytes.size() != uuid.bytes.size()) return false;
  std::copy(bytes.begin(), bytes.end(), uuid.bytes.begin());
  object = Object(uuid);
  return true;
}

bool ArchivedValue::decodeURL(Object& object) {
  static constexpr std::array<PropertyListKey, 2> keys{"NS.base", "NS.relative"};
  std::array<std::uint64_t, 2> values;
  Object base;
  std::optional<std::string> text;
  if (!reader_.lookUp(dictionary_, keys, values)) return false;
  if (!reader_.objectAt(values[0], base) || !reader_.textAt(values[1], text)) return false;
  const auto* baseURL = base.get<URL>();
  if (!text || (!baseURL && !base.isNil())) return false;
  object = Object(URL::URLWithString(*text, baseURL ? std::optional(*baseURL) : std::nullopt));
  return true;
}

bool ArchivedValue::decodeError(Object& object) {
  Object domain, userInfo;
  std::uint64_t code = 0;
  bool isNegative = false;
  if (!integerForKey("NSCode", code, isNegative)) return false;
  if (!objectForKey("NSDomain", domain) || !objectForKey("NSUserInfo", userInfo)) return false;
  const auto* text = domain.get<std::string>();
  const auto* information = userInfo.get<Dictionary>();
  if (!text || (!information && !userInfo.isNil())) return false;
  object = Object(Error{*text, static_cast<std::int64_t>(code), information ? *information : Dictionary()});
  return true;
}

bool ArchivedValue::decodeIndexPath(Object& object) {
  std::uint64_t length = 0, index = 0;
  bool isNegative = false;
  IndexPath path;
  if (!integerForKey("NSIndexPathLength", length, isNegative)) return false;
  if (length == 1) {
    // A store of 64 signed bits: indexes of 2^63 and above stand there as negative numbers.
    if (!integerForKey("NSIndexPathValue", index, isNegative)) return false;
    path.indexes.push_back(index);
  } else if (length > 1 && !indexPathData(length, path.indexes)) {
    return false;
  }
  object = Object(std::move(path));
  return true;
}

bool ArchivedValue::indexPathData(std::uint64_t length, std::vector<std::uint64_t>& indexes) {
  std::uint32_t uid = 0;
  ByteView bytes;
  if (!uidForKey("NSIndexPathData", uid) || uid == 0 || !reader_.dataView(uid, bytes)) return false;
  if (!reader_.budget().spend(bytes.size(), sizeof indexes[0])) return false;
  auto unpacked = unpackedIndexes(bytes, length);
  if (!unpacked) return false;
  indexes = *std::move(unpacked);
  return true;
}

bool ArchivedValue::decodeInstance(const ArchivedClass& ours, Object& object) {
  KeyedUnarchiver coder(reader_, dictionary_);
  auto instance = ours.initWithCoder(coder);
  if (!instance || coder.hasFailed()) return false;
  object = Object(std::move(instance));
  return true;
}

}  // namespace platform
