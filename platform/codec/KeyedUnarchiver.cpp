#include "platform/codec/KeyedUnarchiver.h"

#include <new>

namespace platform {

Object KeyedUnarchiver::unarchiveObjectWithData(ByteView bytes, ClassTable classes) {
  auto object = unarchivedObjectWithData(bytes, classes);
  return object ? *std::move(object) : Object();
}

std::optional<Object> KeyedUnarchiver::unarchivedObjectWithData(ByteView bytes, ClassTable classes) {
  DecodeBudget budget(bytes.size());
  try {
    return unarchivedObjectWithData(bytes, classes, budget);
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}

std::optional<Object> KeyedUnarchiver::unarchivedObjectWithData(ByteView bytes, ClassTable classes, DecodeBudget& budget) {
  if (bytes.size() > maximumArchiveLength) return std::nullopt;
  auto reader = KeyedArchiveReader::open(bytes, classes, budget);
  Object root;
  if (!reader || !reader->object(reader->root(), root) || budget.isExhausted()) return std::nullopt;
  return root;
}

std::uint64_t KeyedUnarchiver::find(std::string_view key) const {
  std::uint64_t value = 0;
  return reader_.lookUp(dictionary_, key, value) ? value : KeyedArchiveReader::absent;
}

std::uint32_t KeyedUnarchiver::uidForKey(std::string_view key) {
  std::uint64_t value = 0;
  std::uint32_t uid = 0;
  if (!reader_.lookUp(dictionary_, key, value) || !reader_.readUID(value, uid)) fail();
  return uid;
}

bool KeyedUnarchiver::containsValueForKey(std::string_view key) const { return find(key) != KeyedArchiveReader::absent; }

Object KeyedUnarchiver::decodeObjectForKey(std::string_view key) {
  Object object;
  if (!reader_.object(uidForKey(key), object)) fail();
  return object;
}

bool KeyedUnarchiver::decodeBoolForKey(std::string_view key) {
  std::uint64_t value = 0;
  if (!reader_.lookUp(dictionary_, key, value)) fail();
  if (hasFailed_ || value == KeyedArchiveReader::absent) return false;
  PropertyListItem item;
  if (!reader_.read(value, item) || item.kind != PropertyListKind::Boolean) fail();
  return !hasFailed_ && item.value != 0;
}

std::optional<std::vector<ByteView>> KeyedUnarchiver::decodeDataArrayForKey(std::string_view key) {
  std::optional<std::vector<ByteView>> views;
  if (!reader_.dataArray(uidForKey(key), views)) fail();
  return views;
}

}  // namespace platform
