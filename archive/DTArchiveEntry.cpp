#include "archive/DTArchiveEntry.h"

#include <array>
#include <utility>

#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/KeyedUnarchiver.h"

namespace {

using platform::KeyedArchiveReader;
using platform::PropertyListItem;
using platform::PropertyListKind;

// As the platform's number objects answer `unsignedLongLongValue`.
std::uint64_t unsignedValue(double real) {
  constexpr double limit = 18446744073709551616.0;
  if (!(real > -limit / 2)) return real != real ? 0 : std::uint64_t{1} << 63;
  if (real < 0) return static_cast<std::uint64_t>(static_cast<std::int64_t>(real));
  return real < limit ? static_cast<std::uint64_t>(real) : ~std::uint64_t{0};
}

// What a reference leads to. A plain object is left in place; any other must be sound, but is of no use here.
bool readPlain(KeyedArchiveReader& reader, std::uint64_t value, std::optional<PropertyListItem>& plain) {
  std::uint32_t uid = 0;
  PropertyListItem item;
  if (!reader.readUID(value, uid)) return false;
  if (uid == 0) return true;
  if (!reader.readSlot(uid, item)) return false;
  if (item.kind != PropertyListKind::Dictionary) {
    plain = item;
    return true;
  }
  platform::Object object;
  return reader.object(uid, object);
}

bool readNumber(KeyedArchiveReader& reader, std::uint64_t value, std::uint64_t& number) {
  std::optional<PropertyListItem> plain;
  if (!readPlain(reader, value, plain)) return false;
  if (!plain) return true;
  if (plain->kind == PropertyListKind::Integer || plain->kind == PropertyListKind::Boolean) number = plain->value;
  if (plain->kind == PropertyListKind::Real) number = unsignedValue(plain->real());
  return true;
}

}  // namespace

DTArchiveEntry::DTArchiveEntry(std::optional<std::string> name, bool isFolder, std::uint64_t index, std::uint64_t size)
    : name_(std::move(name)), index_(index), size_(size), isFolder_(isFolder) {}

std::span<const std::string_view> DTArchiveEntry::classNames() const {
  static constexpr std::array<std::string_view, 2> names{className, "NSObject"};
  return names;
}

void DTArchiveEntry::encodeWithCoder(platform::KeyedArchiver& coder) const {
  coder.encodeObject(name_ ? platform::Object(*name_) : platform::Object(), "name");
  coder.encodeBool(isFolder_, "folder");
  coder.encodeObject(platform::Integer::ofUnsigned(index_), "index");
  coder.encodeObject(platform::Integer::ofUnsigned(rsrcIndex_), "rsrcIndex");
  coder.encodeObject(platform::Integer::ofUnsigned(size_), "size");
}

std::shared_ptr<const platform::Coding> DTArchiveEntry::initWithCoder(platform::KeyedUnarchiver& coder) {
  auto entry = std::make_shared<DTArchiveEntry>();
  KeyedValues values;
  if (!coder.reader().lookUp(coder.dictionary(), keys, values)) return nullptr;
  if (!entry->readFrom(coder.reader(), values)) return nullptr;
  return entry;
}

bool DTArchiveEntry::readFrom(KeyedArchiveReader& reader, const KeyedValues& values) {
  if (!reader.textAt(values[0], name_)) return false;
  if (values[1] != KeyedArchiveReader::absent) {
    PropertyListItem folder;
    if (!reader.read(values[1], folder) || folder.kind != PropertyListKind::Boolean) return false;
    isFolder_ = folder.value != 0;
  }
  return readNumber(reader, values[2], index_) && readNumber(reader, values[3], rsrcIndex_) && readNumber(reader, values[4], size_);
}
