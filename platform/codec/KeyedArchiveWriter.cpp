#include "platform/codec/KeyedArchiveWriter.h"

#include <algorithm>
#include <array>
#include <variant>

#include "platform/codec/KeyedArchiver.h"
#include "platform/codec/PackedIndexes.h"

namespace platform {
namespace {

constexpr std::int64_t ArchiveVersion = 100000;
constexpr std::array<std::string_view, 2> arrayNames{"NSArray", "NSObject"};
constexpr std::array<std::string_view, 2> setNames{"NSSet", "NSObject"};
constexpr std::array<std::string_view, 2> dictionaryNames{"NSDictionary", "NSObject"};
constexpr std::array<std::string_view, 2> nullNames{"NSNull", "NSObject"};
constexpr std::array<std::string_view, 2> dateNames{"NSDate", "NSObject"};
constexpr std::array<std::string_view, 2> uuidNames{"NSUUID", "NSObject"};
constexpr std::array<std::string_view, 2> urlNames{"NSURL", "NSObject"};
constexpr std::array<std::string_view, 2> errorNames{"NSError", "NSObject"};
constexpr std::array<std::string_view, 2> indexPathNames{"NSIndexPath", "NSObject"};
constexpr std::array<std::string_view, 3> mutableStringNames{"NSMutableString", "NSString", "NSObject"};
constexpr std::array<std::string_view, 3> mutableDataNames{"NSMutableData", "NSData", "NSObject"};

}  // namespace

KeyedArchiveWriter::KeyedArchiveWriter() {
  constexpr std::size_t slots = 32, fields = 16;
  slots_.reserve(slots);
  fields_.reserve(fields);
  finishedFields_.reserve(fields);
  slotOfScalar_.reserve(2 * slots);
  classes_.reserve(4);
  classTexts_.reserve(slots);
}

void KeyedArchiveWriter::clear() {
  list_.clear();
  slots_.clear();
  fields_.clear();
  finishedFields_.clear();
  uids_.clear();
  slotOfScalar_.clear();
  classes_.clear();
  instances_.clear();
  blobRoots_.clear();
  root_ = nullSlot_ = 0;
  depth_ = 0;
  hasFailed_ = false;
  scalarSlot(scalar("$null"));
}

bool KeyedArchiveWriter::gather(const Object& root) {
  clear();
  root_ = slot(root);
  return !hasFailed_;
}

bool KeyedArchiveWriter::gather(const Coding& root) {
  clear();
  root_ = slot(root);
  return !hasFailed_;
}

PropertyListWriter::Scalar KeyedArchiveWriter::scalar(std::string_view text) {
  const auto scalar = list_.string(text);
  if (!scalar) fail();
  return scalar.value_or(0);
}

std::uint32_t KeyedArchiveWriter::newSlot(SlotKind kind, std::size_t first) {
  slots_.push_back({kind, first, 0});
  return static_cast<std::uint32_t>(slots_.size() - 1);
}

std::uint32_t KeyedArchiveWriter::scalarSlot(Scalar scalar) {
  slotOfScalar_.resize(list_.scalarCount());
  if (slotOfScalar_[scalar] == 0) slotOfScalar_[scalar] = newSlot(SlotKind::Scalar, scalar);
  return slotOfScalar_[scalar];
}

std::uint32_t KeyedArchiveWriter::classSlot(ClassNames names) {
  for (const Class& known : classes_) {
    if (known.names.front() == names.front()) return known.uid;
  }
  const std::uint32_t uid = newSlot(SlotKind::ClassRecord, classes_.size());
  classes_.push_back({names, uid});
  return uid;
}

template <typename AddFields>
std::uint32_t KeyedArchiveWriter::instanceSlot(ClassNames names, AddFields addFields) {
  if (depth_ == maximumObjectDepth) fail();
  if (hasFailed_) return 0;
  const std::uint32_t uid = newSlot(SlotKind::Object);
  const std::size_t firstField = fields_.size();
  ++depth_;
  addFields();
  --depth_;
  addUID("$class", classSlot(names));
  slots_[uid].first = finishedFields_.size();
  slots_[uid].count = fields_.size() - firstField;
  finishedFields_.insert(finishedFields_.end(), fields_.begin() + static_cast<std::ptrdiff_t>(firstField), fields_.end());
  fields_.resize(firstField);
  return uid;
}

template <typename Elements, typename SlotOf>
void KeyedArchiveWriter::addUIDs(std::string_view key, const Elements& elements, SlotOf slotOf) {
  const std::size_t first = uids_.size();
  uids_.resize(first + elements.size());
  for (std::size_t i = 0; i < elements.size() && !hasFailed_; ++i) {
    const std::uint32_t uid = slotOf(elements[i]);
    // nil is no element of a collection.
    if (uid == 0) fail();
    uids_[first + i] = uid;
  }
  addField(key, FieldKind::UIDs, first, elements.size());
}

std::uint32_t KeyedArchiveWriter::slot(const Object& object) {
  if (hasFailed_) return 0;
  return std::visit([this](const auto& value) { return slot(value); }, object.value());
}

std::uint32_t KeyedArchiveWriter::slot(const Coding& instance) {
  return instanceSlot(instance.classNames(), [&] {
    KeyedArchiver coder(*this);
    instance.encodeWithCoder(coder);
  });
}

std::uint32_t KeyedArchiveWriter::slot(const std::shared_ptr<const Coding>& instance) {
  if (const auto known = instances_.find(instance); known != instances_.end()) return known->second;
  const std::uint32_t uid = slot(*instance);
  instances_.emplace(instance, uid);
  return uid;
}

std::uint32_t KeyedArchiveWriter::slot(Null) {
  if (nullSlot_ == 0) nullSlot_ = instanceSlot(nullNames, [] {});
  return nullSlot_;
}

std::uint32_t KeyedArchiveWriter::slot(const std::string& text) {
  if (text != "$null") return scalarSlot(scalar(text));
  // Some readers take a plain "$null" for nil, whatever its slot.
  return instanceSlot(mutableStringNames, [&] { addScalar("NS.string", scalar(text)); });
}

std::uint32_t KeyedArchiveWriter::slot(Date date) {
  return instanceSlot(dateNames, [&] { addScalar("NS.time", list_.real(date.secondsSinceReferenceDate)); });
}

std::uint32_t KeyedArchiveWriter::slot(const UUID& uuid) {
  return instanceSlot(uuidNames, [&] { addScalar("NS.uuidbytes", list_.data(uuid.bytes)); });
}

std::uint32_t KeyedArchiveWriter::collectionSlot(const std::vector<Object>& elements, ClassNames names) {
  return instanceSlot(names, [&] { addUIDs("NS.objects", elements, [this](const Object& element) { return slot(element); }); });
}

std::uint32_t KeyedArchiveWriter::slot(const Array& array) { return collectionSlot(array, arrayNames); }

std::uint32_t KeyedArchiveWriter::slot(const Set& set) { return collectionSlot(set.members, setNames); }

std::uint32_t KeyedArchiveWriter::slot(const Dictionary& dictionary) {
  return instanceSlot(dictionaryNames, [&] {
    addUIDs("NS.keys", dictionary.entries, [this](const auto& entry) { return slot(entry.first); });
    addUIDs("NS.objects", dictionary.entries, [this](const auto& entry) { return slot(entry.second); });
  });
}

std::uint32_t KeyedArchiveWriter::slot(const URL& url) {
  return instanceSlot(urlNames, [&] {
    const auto base = url.baseURL();
    addUID("NS.base", base ? slot(*base) : 0);
    addUID("NS.relative", slot(url.relativeString()));
  });
}

std::uint32_t KeyedArchiveWriter::slot(const Error& error) {
  return instanceSlot(errorNames, [&] {
    addScalar("NSCode", list_.integer(Integer::ofSigned(error.code)));
    addUID("NSDomain", slot(error.domain));
    addUID("NSUserInfo", error.userInfo.entries.empty() ? 0 : slot(error.userInfo));
  });
}

std::uint32_t KeyedArchiveWriter::slot(const IndexPath& path) {
  return instanceSlot(indexPathNames, [&] {
    addScalar("NSIndexPathLength", list_.integer(Integer::ofUnsigned(path.indexes.size())));
    if (path.indexes.size() == 1) {
      const auto index = static_cast<std::int64_t>(path.indexes[0]);
      addScalar("NSIndexPathValue", list_.integer(Integer::ofSigned(index)));
    } else if (path.indexes.size() > 1) {
      addUID("NSIndexPathData", mutableDataSlot(packedIndexes(path.indexes)));
    }
  });
}

std::uint32_t KeyedArchiveWriter::mutableDataSlot(const Data& data) {
  return instanceSlot(mutableDataNames, [&] { addScalar("NS.data", list_.data(data)); });
}

std::uint32_t KeyedArchiveWriter::blobArraySlot(std::span<const Coding* const> roots) {
  return instanceSlot(arrayNames, [&] {
    addUIDs("NS.objects", roots, [this](const Coding* root) {
      blobRoots_.push_back(root);
      return newSlot(SlotKind::Blob, blobRoots_.size() - 1);
    });
  });
}

void KeyedArchiveWriter::place(std::span<const ArchivedBlob> blobs) {
  // Interned before the first object has its place, as all scalars are.
  const std::array<Scalar, 4> keys{scalar("$version"), scalar("$archiver"), scalar("$top"), scalar("$objects")};
  const Scalar version = list_.integer(Integer::ofSigned(ArchiveVersion));
  const Scalar archiver = scalar("NSKeyedArchiver"), root = scalar("root");
  classKeys_ = {scalar("$classname"), scalar("$classes")};
  classTexts_.clear();
  for (auto& known : classes_) {
    known.firstText = classTexts_.size();
    for (const std::string_view name : known.names) classTexts_.push_back(scalar(name));
  }
  list_.clearPlaces();
  placeOfBlob_.assign(blobs.size(), 0);
  const Reference top = list_.placeDictionary(keys.size());
  for (std::size_t i = 0; i < keys.size(); ++i) list_.setReference(top, i, list_.place(keys[i]));
  list_.setReference(top, 4, list_.place(version));
  list_.setReference(top, 5, list_.place(archiver));
  const Reference named = list_.placeDictionary(1);
  list_.setReference(top, 6, named);
  list_.setReference(named, 0, list_.place(root));
  list_.setReference(named, 1, list_.placeUID(root_));
  const Reference objects = list_.placeArray(slots_.size());
  list_.setReference(top, 7, objects);
  for (std::size_t i = 0; i < slots_.size(); ++i) list_.setReference(objects, i, placeSlot(slots_[i], blobs));
}

PropertyListWriter::Reference KeyedArchiveWriter::placeSlot(const Slot& slot, std::span<const ArchivedBlob> blobs) {
  switch (slot.kind) {
    case SlotKind::Scalar: return list_.place(static_cast<Scalar>(slot.first));
    case SlotKind::Object: return placeFields({finishedFields_.data() + slot.first, slot.count});
    case SlotKind::ClassRecord: return placeClassRecord(classes_[slot.first]);
    case SlotKind::Blob: return placeBlob(slot.first, blobs);
  }
  return 0;
}

PropertyListWriter::Reference KeyedArchiveWriter::placeFields(std::span<const Field> fields) {
  const Reference dictionary = list_.placeDictionary(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) list_.setReference(dictionary, i, list_.place(fields[i].key));
  for (std::size_t i = 0; i < fields.size(); ++i) {
    list_.setReference(dictionary, fields.size() + i, placeField(fields[i]));
  }
  return dictionary;
}

PropertyListWriter::Reference KeyedArchiveWriter::placeField(const Field& field) {
  if (field.kind == FieldKind::Inline) return list_.place(static_cast<Scalar>(field.first));
  if (field.kind == FieldKind::UID) return list_.placeUID(static_cast<std::uint32_t>(field.first));
  const Reference array = list_.placeArray(field.count);
  for (std::size_t i = 0; i < field.count; ++i) list_.setReference(array, i, list_.placeUID(uids_[field.first + i]));
  return array;
}

PropertyListWriter::Reference KeyedArchiveWriter::placeClassRecord(const Class& known) {
  const std::span<const Scalar> names(classTexts_.data() + known.firstText, known.names.size());
  const Reference record = list_.placeDictionary(2);
  list_.setReference(record, 0, list_.place(classKeys_[0]));
  list_.setReference(record, 1, list_.place(classKeys_[1]));
  list_.setReference(record, 2, list_.place(names.front()));
  const Reference chain = list_.placeArray(names.size());
  list_.setReference(record, 3, chain);
  for (std::size_t i = 0; i < names.size(); ++i) list_.setReference(chain, i, list_.place(names[i]));
  return record;
}

PropertyListWriter::Reference KeyedArchiveWriter::placeBlob(std::size_t blob, std::span<const ArchivedBlob> blobs) {
  if (blobs.empty()) return 0;
  const std::size_t first = blobs[blob].sameAs;
  if (first == blob) placeOfBlob_[blob] = list_.placeBlob(blobs[blob].length);
  return placeOfBlob_[first];
}

void KeyedArchiver::encodeObject(const Object& object, std::string_view key) { writer_.addUID(key, writer_.slot(object)); }

void KeyedArchiver::encodeInstance(const Coding* instance, std::string_view key) {
  writer_.addUID(key, instance ? writer_.slot(*instance) : 0);
}

void KeyedArchiver::encodeBool(bool value, std::string_view key) { writer_.addScalar(key, writer_.list_.boolean(value)); }

void KeyedArchiver::encodeArchives(std::span<const Coding* const> roots, std::string_view key) {
  writer_.addUID(key, writer_.blobArraySlot(roots));
}

void KeyedArchiver::fail() { writer_.fail(); }

}  // namespace platform
