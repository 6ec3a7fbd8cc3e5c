// One keyed archive, looked at in place: slots, classes, keyed values and the platform's own classes. The layer below
// `KeyedUnarchiver`, for records that come in great number and cannot afford a general object each.
// Every operation answers false for what makes the archive unusable; the archive as a whole is then refused.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Object.h"
#include "platform/codec/Coding.h"
#include "platform/codec/DecodeBudget.h"
#include "platform/codec/PropertyListReader.h"

namespace platform {

class KeyedArchiveReader {
 public:
  static constexpr std::uint64_t absent = PropertyListReader::absent;

  /// Nothing when the bytes are no keyed archive. The bytes, the table and the budget must outlive the reader.
  static std::optional<KeyedArchiveReader> open(ByteView bytes, ClassTable classes, DecodeBudget& budget);

  /// The reference to the root object; 0, which is nil, when the archive names none.
  std::uint32_t root() const { return root_; }
  ClassTable classes() const { return classes_; }
  DecodeBudget& budget() const { return *budget_; }

  /// The archive as a property list, and the number there of the object at a reference other than 0; `absent` past the end.
  const PropertyListReader& list() const { return list_; }
  std::uint64_t objectNumber(std::uint32_t uid) const { return uid < objects_.count ? list_.reference(objects_, uid) : absent; }
  /// What stands at a reference other than 0. False past the end.
  bool readSlot(std::uint32_t uid, PropertyListItem& item) const;
  /// The reference that stands at a value of a dictionary; 0 for `absent` and for a value that is no reference.
  bool readUID(std::uint64_t value, std::uint32_t& uid) const { return list_.readShortUID(value, uid) || readAnyUID(value, uid); }
  /// The item that stands at a value of a dictionary. False for `absent`.
  bool read(std::uint64_t value, PropertyListItem& item) const { return list_.read(value, item); }
  /// The values under `keys`, `absent` for those that are not there.
  bool lookUp(const PropertyListItem& dictionary, std::span<const PropertyListKey> keys, std::span<std::uint64_t> values) const {
    return budget_->spend(2 * dictionary.count) && list_.lookUp(dictionary, keys, values);
  }
  bool lookUp(const PropertyListItem& dictionary, std::string_view key, std::uint64_t& value) const {
    const PropertyListKey only(key);
    return lookUp(dictionary, {&only, 1}, {&value, 1});
  }
  /// The name, in static storage or the table's, of the class that a value of "$class" leads to; empty when that is unknown.
  std::string_view className(std::uint64_t classValue) const;
  /// Whether the value of "$class" leads to this class of the platform's or of the table.
  bool isOfClass(std::uint64_t classValue, const PropertyListKey& name) const;

  /// The object at a reference, made whole. nil for 0.
  bool object(std::uint32_t uid, Object& object);
  /// The object whose reference stands at a value of a dictionary; nil for `absent`.
  bool objectAt(std::uint64_t value, Object& object) {
    std::uint32_t uid = 0;
    return readUID(value, uid) && this->object(uid, object);
  }
  /// The text of a plain string.
  bool text(const PropertyListItem& string, std::string& text) const;
  /// The text whose reference stands at a value of a dictionary; nothing for any other object, which must be sound, and for nil.
  bool textAt(std::uint64_t value, std::optional<std::string>& text);
  /// The elements of an array of data as views into the archive, an empty one for an element that is no data. Nothing
  /// when the reference is 0 or leads to anything but an array.
  bool dataArray(std::uint32_t uid, std::optional<std::vector<ByteView>>& views);

 private:
  friend class ArchivedValue;
  KeyedArchiveReader(PropertyListReader list, ClassTable classes, DecodeBudget& budget)
      : list_(list), classes_(classes), budget_(&budget) {}

  bool readTop();
  bool readAnyUID(std::uint64_t value, std::uint32_t& uid) const;
  std::string_view knownName(const PropertyListItem& name) const;
  bool readClassRecord(std::uint64_t classValue, std::uint64_t& name, std::uint64_t& hints) const;
  bool instance(const PropertyListItem& dictionary, Object& object);
  /// The references of a collection, from "NS.objects" or the older numbered keys.
  bool elements(const PropertyListItem& dictionary, std::vector<std::uint32_t>& uids) const;
  bool numberedElements(const PropertyListItem& dictionary, std::vector<std::uint32_t>& uids) const;
  bool uidArray(std::uint64_t value, std::vector<std::uint32_t>& uids) const;
  bool dataView(std::uint32_t uid, ByteView& view);
  bool dataViews(std::span<const std::uint32_t> uids, std::span<ByteView> views);

  PropertyListReader list_;
  ClassTable classes_;
  DecodeBudget* budget_;
  PropertyListItem objects_;
  std::uint32_t root_ = 0;
};

}  // namespace platform
