// One keyed archive in the making: the slots of "$objects" in the order of the first reference to each, parts depth first,
// a class record when the first instance of the class is finished.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/Object.h"
#include "platform/codec/Coding.h"
#include "platform/codec/DecodeBudget.h"
#include "platform/codec/PropertyListWriter.h"

namespace platform {

/// An archive inside the archive, held as data: its length, and the first of its equals in the same archive.
struct ArchivedBlob {
  std::size_t length = 0;
  std::size_t sameAs = 0;
};

class KeyedArchiveWriter {
 public:
  /// Has room for a record of an ordinary size.
  KeyedArchiveWriter();

  /// Gathers everything that the archive of the root holds. False when it cannot be archived.
  bool gather(const Object& root);
  bool gather(const Coding& root);

  /// The roots of the archives inside, in their order.
  const std::vector<const Coding*>& blobRoots() const { return blobRoots_; }
  /// Gives every object its place in the property list. Without `blobs`, those of the archives inside are left out.
  void place(std::span<const ArchivedBlob> blobs);
  const PropertyListWriter& list() const { return list_; }

 private:
  friend class KeyedArchiver;
  using Scalar = PropertyListWriter::Scalar;
  using Reference = PropertyListWriter::Reference;
  using ClassNames = std::span<const std::string_view>;

  enum class SlotKind : std::uint8_t { Scalar, Object, ClassRecord, Blob };
  struct Slot {
    SlotKind kind = SlotKind::Object;
    std::size_t first = 0;  ///< A scalar, a blob's number, the first field, or the place in `classes_`.
    std::size_t count = 0;
  };
  enum class FieldKind : std::uint8_t { Inline, UID, UIDs };
  struct Field {
    Scalar key = 0;
    FieldKind kind = FieldKind::Inline;
    std::size_t first = 0;  ///< A scalar, a UID, or the first of `uids_`.
    std::size_t count = 0;
  };

  struct Class {
    ClassNames names;
    std::uint32_t uid = 0;
    std::size_t firstText = 0;  ///< Of its names in `classTexts_`.
  };

  void clear();
  void fail() { hasFailed_ = true; }

  // Each answers the slot that holds the object.
  std::uint32_t slot(const Object& object);
  std::uint32_t slot(const Coding& instance);
  std::uint32_t slot(Null);
  std::uint32_t slot(const std::string& text);
  std::uint32_t slot(Date date);
  std::uint32_t slot(const UUID& uuid);
  std::uint32_t slot(const Array& array);
  std::uint32_t slot(const Set& set);
  std::uint32_t slot(const Dictionary& dictionary);
  std::uint32_t slot(const URL& url);
  std::uint32_t slot(const Error& error);
  std::uint32_t slot(const IndexPath& path);
  std::uint32_t slot(const std::shared_ptr<const Coding>& instance);
  std::uint32_t slot(std::monostate) { return 0; }
  std::uint32_t slot(bool value) { return scalarSlot(list_.boolean(value)); }
  std::uint32_t slot(Integer value) { return scalarSlot(list_.integer(value)); }
  std::uint32_t slot(double value) { return scalarSlot(list_.real(value)); }
  std::uint32_t slot(const Data& data) { return scalarSlot(list_.data(data)); }
  std::uint32_t collectionSlot(const std::vector<Object>& elements, ClassNames names);
  std::uint32_t blobArraySlot(std::span<const Coding* const> roots);
  std::uint32_t mutableDataSlot(const Data& data);
  std::uint32_t scalarSlot(Scalar scalar);
  std::uint32_t newSlot(SlotKind kind, std::size_t first = 0);
  std::uint32_t classSlot(ClassNames names);

  /// Makes an instance: `addFields` adds its own keyed values.
  template <typename AddFields>
  std::uint32_t instanceSlot(ClassNames names, AddFields addFields);
  void addField(std::string_view key, FieldKind kind, std::size_t first, std::size_t count = 0) {
    fields_.push_back({scalar(key), kind, first, count});
  }
  void addUID(std::string_view key, std::uint32_t uid) { addField(key, FieldKind::UID, uid); }
  void addScalar(std::string_view key, Scalar value) { addField(key, FieldKind::Inline, value); }
  /// Of text; fails the archive when it is none.
  Scalar scalar(std::string_view text);
  template <typename Elements, typename SlotOf>
  void addUIDs(std::string_view key, const Elements& elements, SlotOf slotOf);

  Reference placeSlot(const Slot& slot, std::span<const ArchivedBlob> blobs);
  Reference placeFields(std::span<const Field> fields);
  Reference placeField(const Field& field);
  Reference placeClassRecord(const Class& known);
  Reference placeBlob(std::size_t blob, std::span<const ArchivedBlob> blobs);

  PropertyListWriter list_;
  std::vector<Slot> slots_;
  std::vector<Field> fields_;          ///< Of the instances in the making, the outermost first.
  std::vector<Field> finishedFields_;  ///< Of all others, each instance's side by side.
  std::vector<std::uint32_t> uids_;
  std::vector<std::uint32_t> slotOfScalar_;
  std::vector<Class> classes_;
  std::array<Scalar, 2> classKeys_{};
  std::vector<Scalar> classTexts_;
  std::unordered_map<std::shared_ptr<const Coding>, std::uint32_t> instances_;
  std::vector<const Coding*> blobRoots_;
  std::vector<Reference> placeOfBlob_;
  std::uint32_t root_ = 0;
  std::uint32_t nullSlot_ = 0;
  unsigned depth_ = 0;
  bool hasFailed_ = false;
};

}  // namespace platform
