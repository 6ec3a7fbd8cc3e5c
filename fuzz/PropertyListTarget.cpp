// Any bytes as a binary property list: each object is read, and each dictionary searched. A list has its own shape, and what
// has the shape of another list reads as the reader reads it.
#include <array>

#include "fuzz/Target.h"
#include "platform/codec/PropertyListReader.h"
#include "platform/codec/PropertyListShape.h"

using platform::ByteView;
using platform::Data;
using platform::PropertyListItem;
using platform::PropertyListKey;
using platform::PropertyListKind;
using platform::PropertyListReader;
using platform::PropertyListShape;

namespace {

constexpr std::uint64_t mostObjects = 2000;
constexpr std::array<PropertyListKey, 5> keys{"$class", "$objects", "name", "NS.objects", "a key of more than fifteen bytes"};

// What a scalar or string item says, for comparing two readings of the same bytes.
bool isSame(const PropertyListItem& a, const PropertyListItem& b) {
  if (a.kind != b.kind) return false;
  if (a.isString()) return a.bytes == b.bytes && a.count == b.count;
  return a.value == b.value && a.isNegative == b.isNegative;
}

std::size_t lengthOf(const PropertyListItem& item) {
  return item.kind == PropertyListKind::UTF16String ? 2 * item.count : item.count;
}

void readContainer(const PropertyListReader& list, const PropertyListItem& item) {
  const bool isDictionary = item.kind == PropertyListKind::Dictionary;
  bool areValid = true;
  for (std::size_t i = 0; i < item.count * (isDictionary ? 2 : 1); ++i) {
    areValid = areValid && list.reference(item, i) < list.objectCount();
  }
  fuzz::expect(areValid == list.hasValidReferences(item), "references are valid when each one is");
  if (!isDictionary) return;
  std::array<std::uint64_t, keys.size()> values;
  if (!list.lookUp(item, keys, values)) return;
  fuzz::expect(areValid, "a dictionary is searched only when its references are valid");
  for (std::size_t i = 0; i < keys.size(); ++i) {
    std::uint64_t found = PropertyListReader::absent;
    for (std::size_t pair = 0; pair < item.count; ++pair) {
      if (list.isText(list.reference(item, pair), keys[i])) found = list.reference(item, item.count + pair);
    }
    fuzz::expect(values[i] == found, "a key's value is the one that stands beside it");
  }
}

void readQuickly(const PropertyListReader& list, std::uint64_t object, const PropertyListItem& item) {
  std::uint32_t uid = 0;
  ByteView data;
  const bool isUID = list.readShortUID(object, uid), isData = list.readData(object, data);
  fuzz::expect(!isUID || (item.kind == PropertyListKind::UID && uid == item.value), "a short UID reads as any object");
  fuzz::expect(isData == (item.kind == PropertyListKind::Data), "data are read as such, and nothing else is");
  fuzz::expect(!isData || (data.data() == item.bytes && data.size() == item.count), "data read as any object");
}

void readObject(const PropertyListReader& list, ByteView bytes, std::uint64_t object) {
  PropertyListItem item;
  if (!list.read(object, item)) return;
  readQuickly(list, object, item);
  switch (item.kind) {
    case PropertyListKind::Data:
    case PropertyListKind::ASCIIString:
    case PropertyListKind::UTF16String:
      fuzz::expect(item.bytes >= bytes.data() && item.bytes + lengthOf(item) + 32 <= bytes.data() + bytes.size(),
                   "content lies in the bytes, ahead of the trailer");
      return;
    case PropertyListKind::Array:
    case PropertyListKind::Set:
    case PropertyListKind::Dictionary: return readContainer(list, item);
    default: return;
  }
}

// Whether the list reads as what was found by its shape.
void compare(ByteView bytes, std::span<const std::uint64_t> scalars, std::span<const PropertyListItem> items) {
  const auto list = PropertyListReader::open(bytes);
  fuzz::expect(list.has_value(), "what has a shape is a property list");
  for (std::size_t i = 0; i < scalars.size(); ++i) {
    PropertyListItem item;
    fuzz::expect(list->read(scalars[i], item) && isSame(item, items[i]), "a scalar is found by shape as the reader reads it");
  }
}

void useShape(const PropertyListReader& list, ByteView bytes) {
  std::vector<std::uint64_t> scalars;
  for (std::uint64_t object = 0; object < std::min(list.objectCount(), mostObjects); ++object) {
    PropertyListItem item;
    const bool isScalar = list.read(object, item) && (item.isString() || item.kind == PropertyListKind::Integer);
    if (isScalar && (object + bytes.back()) % 2 == 0 && scalars.size() < PropertyListShape::mostScalars) scalars.push_back(object);
  }
  const auto shape = PropertyListShape::of(list, scalars);
  if (!shape) return;
  std::vector<PropertyListItem> items(scalars.size());
  fuzz::expect(shape->matches(bytes, items), "a list has its own shape");
  compare(bytes, scalars, items);
  // Lists that differ in one byte.
  Data changed(bytes.begin(), bytes.end());
  for (std::size_t at = bytes.back() % 7; at < changed.size(); at += 7) {
    const std::uint8_t before = changed[at];
    changed[at] = static_cast<std::uint8_t>(before + 1 + bytes[at / 2]);
    if (shape->matches(changed, items)) compare(changed, scalars, items);
    changed[at] = before;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView bytes(data, size);
  const auto list = PropertyListReader::open(bytes);
  if (!list) return 0;
  for (std::uint64_t object = 0; object <= std::min(list->objectCount(), mostObjects); ++object) readObject(*list, bytes, object);
  useShape(*list, bytes);
  return 0;
}
