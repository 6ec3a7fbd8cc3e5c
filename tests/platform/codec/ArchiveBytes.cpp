#include "tests/platform/codec/ArchiveBytes.h"

#include <bit>
#include <numeric>

using platform::Data;

namespace {

void put(Data& bytes, std::uint64_t value, unsigned size) {
  for (unsigned i = size; i-- > 0;) bytes.push_back(i >= 8 ? 0 : static_cast<std::uint8_t>(value >> (8 * i)));
}

unsigned smallest(std::uint64_t value) { return value < 0x100 ? 1 : value < 0x10000 ? 2 : value >> 32 == 0 ? 4 : 8; }

Data counted(unsigned kind, std::size_t count) {
  Data bytes{static_cast<std::uint8_t>(kind << 4 | (count < 15 ? count : 15))};
  if (count >= 15) {
    bytes.push_back(static_cast<std::uint8_t>(0x10 | std::countr_zero(smallest(count))));
    put(bytes, count, smallest(count));
  }
  return bytes;
}

}  // namespace

Data bytesOf(std::initializer_list<int> bytes) {
  Data data;
  for (const int byte : bytes) data.push_back(static_cast<std::uint8_t>(byte));
  return data;
}

Data bytesOf(std::string_view text) { return Data(text.begin(), text.end()); }

ListBytes::Number ListBytes::raw(Data bytes) {
  objects_.push_back({std::move(bytes), {}});
  return objects_.size() - 1;
}

ListBytes::Number ListBytes::text(std::string_view ascii) {
  Data bytes = counted(0x5, ascii.size());
  bytes.insert(bytes.end(), ascii.begin(), ascii.end());
  return raw(bytes);
}

ListBytes::Number ListBytes::wideText(std::u16string_view units) {
  Data bytes = counted(0x6, units.size());
  for (const char16_t unit : units) put(bytes, unit, 2);
  return raw(bytes);
}

ListBytes::Number ListBytes::integer(std::uint64_t value, unsigned size) {
  Data bytes{static_cast<std::uint8_t>(0x10 | std::countr_zero(size))};
  put(bytes, value, size);
  return raw(bytes);
}

ListBytes::Number ListBytes::integer(std::uint64_t value) { return integer(value, smallest(value)); }

ListBytes::Number ListBytes::real(double value) {
  Data bytes{0x23};
  put(bytes, std::bit_cast<std::uint64_t>(value), 8);
  return raw(bytes);
}

ListBytes::Number ListBytes::boolean(bool value) { return raw({static_cast<std::uint8_t>(value ? 9 : 8)}); }

ListBytes::Number ListBytes::uid(std::uint64_t value, unsigned size) {
  Data bytes{static_cast<std::uint8_t>(0x80 | (size - 1))};
  put(bytes, value, size);
  return raw(bytes);
}

ListBytes::Number ListBytes::data(platform::ByteView content) {
  Data bytes = counted(0x4, content.size());
  bytes.insert(bytes.end(), content.begin(), content.end());
  return raw(bytes);
}

ListBytes::Number ListBytes::array(std::vector<Number> elements) {
  objects_.push_back({counted(0xa, elements.size()), std::move(elements)});
  return objects_.size() - 1;
}

ListBytes::Number ListBytes::dictionary(Pairs pairs) {
  std::vector<Number> references;
  for (const auto& pair : pairs) references.push_back(pair.first);
  for (const auto& pair : pairs) references.push_back(pair.second);
  objects_.push_back({counted(0xd, pairs.size()), std::move(references)});
  return objects_.size() - 1;
}

Data ListBytes::bytes() const {
  const unsigned reference = referenceSize ? referenceSize : smallest(objects_.size());
  Data bytes = bytesOf("bplist00");
  std::vector<std::size_t> order(objects_.size()), offsets(objects_.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  if (isReversed) order = std::vector<std::size_t>(order.rbegin(), order.rend());
  for (const std::size_t number : order) {
    bytes.insert(bytes.end(), fill, 0x0f);
    offsets[number] = bytes.size();
    bytes.insert(bytes.end(), objects_[number].head.begin(), objects_[number].head.end());
    for (const Number to : objects_[number].references) put(bytes, to, reference);
  }
  const std::size_t table = bytes.size();
  const unsigned offset = offsetSize ? offsetSize : smallest(table);
  for (const std::size_t at : offsets) put(bytes, at, offset);
  put(bytes, 0, 6);
  put(bytes, offset, 1);
  put(bytes, reference, 1);
  put(bytes, objects_.size(), 8);
  put(bytes, top, 8);
  put(bytes, table, 8);
  return bytes;
}

ArchiveBytes::ArchiveBytes() { slots_.push_back(text("$null")); }

std::uint32_t ArchiveBytes::slot(Number object) {
  slots_.push_back(object);
  return static_cast<std::uint32_t>(slots_.size() - 1);
}

std::uint32_t ArchiveBytes::classRecord(std::string_view name, std::vector<std::string_view> hints) {
  Pairs pairs{{text("$classname"), text(name)}, {text("$classes"), array({text(name), text("NSObject")})}};
  if (!hints.empty()) {
    std::vector<Number> names;
    for (const std::string_view hint : hints) names.push_back(text(hint));
    pairs.emplace_back(text("$classhints"), array(names));
  }
  return slot(dictionary(pairs));
}

ListBytes::Number ArchiveBytes::object(const Fields& fields) {
  Pairs pairs;
  for (const auto& [key, value] : fields) pairs.emplace_back(text(key), value);
  return dictionary(pairs);
}

std::uint32_t ArchiveBytes::instance(std::string_view className, const Fields& fields) {
  Fields all = fields;
  all.emplace_back("$class", uid(classRecord(className), 4));
  return slot(object(all));
}

ListBytes::Number ArchiveBytes::uids(const std::vector<std::uint32_t>& uids) {
  std::vector<Number> elements;
  for (const std::uint32_t value : uids) elements.push_back(uid(value, 4));
  return array(elements);
}

std::uint32_t ArchiveBytes::collection(std::string_view className, const std::vector<std::uint32_t>& elements) {
  return instance(className, {{"NS.objects", uids(elements)}});
}

Data ArchiveBytes::archive(std::optional<std::uint32_t> root) {
  const Number named = top_ ? *top_ : root ? dictionary({{text("root"), uid(*root, 4)}}) : dictionary({});
  const Number slots = objects ? *objects : array(slots_);
  Pairs pairs;
  if (hasVersion) pairs.emplace_back(text("$version"), version ? *version : integer(100000));
  if (hasObjects) pairs.emplace_back(text("$objects"), slots);
  pairs.emplace_back(text("$archiver"), text("NSKeyedArchiver"));
  if (hasTop) pairs.emplace_back(text("$top"), named);
  top = dictionary(pairs);
  return bytes();
}

std::string hexOf(platform::ByteView bytes) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string hex;
  for (const std::uint8_t byte : bytes) hex += {digits[byte >> 4], digits[byte & 15]};
  return hex;
}
