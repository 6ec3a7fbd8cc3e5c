#include "platform/codec/ArchiveForm.h"

#include <algorithm>

#include "platform/UnicodeText.h"
#include "platform/codec/PropertyListReader.h"
#include "platform/codec/PropertyListWriter.h"

namespace platform {

// KeyedArchiver places the objects in the order of their numbers, so those behind the text are the ones of a greater number.
std::optional<ArchiveForm> ArchiveForm::of(ByteView archive, std::string_view text) {
  const auto list = PropertyListReader::open(archive);
  if (!list) return std::nullopt;
  ArchiveForm form;
  for (std::uint64_t object = 0; object < list->objectCount(); ++object) {
    PropertyListItem item;
    if (!list->read(object, item)) return std::nullopt;
    if (!item.equals(text)) continue;
    if (form.firstBehind_ != 0) return std::nullopt;
    const std::uint8_t* at = list->position(object);
    form.start_ = static_cast<std::size_t>(at - archive.data());
    form.end_ = static_cast<std::size_t>(list->end(at, item) - archive.data());
    form.firstBehind_ = object + 1;
  }
  if (form.firstBehind_ == 0) return std::nullopt;
  form.bytes_.assign(archive.begin(), archive.end());
  form.tail_.assign(archive.begin() + static_cast<std::ptrdiff_t>(form.end_), archive.end());
  form.table_ = static_cast<std::size_t>(list->table_ - archive.data()) - form.end_;
  form.offsetSize_ = list->offsetSize_;
  form.objects_ = list->objectCount();
  return form;
}

std::optional<ByteView> ArchiveForm::with(std::string_view text) {
  const PropertyListWriter::Head head(0x5, text.size());
  const std::size_t end = start_ + head.bytes().size() + text.size(), table = end + table_;
  if (!isASCII(text) || !fitsOffsets(table)) return std::nullopt;
  bytes_.resize(end + tail_.size());
  std::uint8_t* out = bytes_.data() + start_;
  out = std::copy(head.bytes().begin(), head.bytes().end(), out);
  out = std::copy(text.begin(), text.end(), out);
  std::copy(tail_.begin(), tail_.end(), out);
  moveOffsets(bytes_.data() + table, end_, end);
  putNumber(bytes_.data() + bytes_.size() - 8, table, 8);
  return bytes_;
}

// Every width is the smallest of 1, 2, 4 and 8 bytes that does.
bool ArchiveForm::fitsOffsets(std::size_t position) const {
  const bool isTooWide = offsetSize_ < 8 && position >> (8 * offsetSize_) != 0;
  const bool isTooSmall = offsetSize_ > 1 && position >> (4 * offsetSize_) == 0;
  return !isTooWide && !isTooSmall;
}

void ArchiveForm::moveOffsets(std::uint8_t* table, std::size_t from, std::size_t to) const {
  for (std::size_t object = firstBehind_; object < objects_; ++object) {
    std::uint8_t* at = table + object * offsetSize_;
    putNumber(at, PropertyListReader::number(at, offsetSize_) - from + to, offsetSize_);
  }
}

}  // namespace platform
