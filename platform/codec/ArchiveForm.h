// An archive of which one text changes. Archives that come in great number and differ in that text alone, such as the questions
// about a folder's files, are written by putting the text into the first of their kind.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "platform/Bytes.h"

namespace platform {

class ArchiveForm {
 public:
  /// The form of an archive that KeyedArchiver wrote. Nothing unless `text` is one of its objects, and stands there once.
  static std::optional<ArchiveForm> of(ByteView archive, std::string_view text);

  /// The bytes that KeyedArchiver would write for the same archive with this text, as long as nothing else in it has the same.
  /// Valid until the next call. Nothing for text that is not ASCII, or so long that other parts of the archive would be wider.
  std::optional<ByteView> with(std::string_view text);

 private:
  ArchiveForm() = default;
  bool fitsOffsets(std::size_t position) const;
  void moveOffsets(std::uint8_t* table, std::size_t from, std::size_t to) const;

  Data bytes_;             // as last written; ahead of the text all are alike
  Data tail_;              // what follows the text, as learned
  std::size_t start_ = 0;  // of the text
  std::size_t end_ = 0;    // of the text learned
  std::size_t table_ = 0;  // where the offset table starts in the tail
  unsigned offsetSize_ = 0;
  std::size_t firstBehind_ = 0;  // the first object that follows the text
  std::size_t objects_ = 0;
};

}  // namespace platform
