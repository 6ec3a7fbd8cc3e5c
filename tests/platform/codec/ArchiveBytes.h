// Property lists and keyed archives built object by object, legal and otherwise, to feed readers with.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/Bytes.h"

/// The objects of one binary property list, numbered as they are added.
class ListBytes {
 public:
  using Number = std::size_t;
  using Pairs = std::vector<std::pair<Number, Number>>;

  Number raw(platform::Data bytes);  ///< An object exactly as given, marker and all.
  Number text(std::string_view ascii);
  Number wideText(std::u16string_view units);
  Number integer(std::uint64_t value, unsigned size);  ///< Of 1, 2, 4, 8 or 16 bytes.
  Number integer(std::uint64_t value);
  Number real(double value);
  Number boolean(bool value);
  Number uid(std::uint64_t value, unsigned size = 1);
  Number data(platform::ByteView bytes);
  Number array(std::vector<Number> elements);
  Number dictionary(Pairs pairs);
  /// Replaces what a container refers to; its count stays.
  void setReferences(Number container, std::vector<Number> references) { objects_[container].references = std::move(references); }

  Number top = 0;
  unsigned offsetSize = 0;     ///< 0: the smallest of 1, 2, 4, 8.
  unsigned referenceSize = 0;  ///< Likewise.
  bool isReversed = false;     ///< The last object stands first in the bytes.
  std::size_t fill = 0;        ///< Padding bytes before each object.

  platform::Data bytes() const;

 private:
  struct Object {
    platform::Data head;
    std::vector<Number> references;
  };
  std::vector<Object> objects_;
};

/// One keyed archive: slot 0 is there from the start.
class ArchiveBytes : public ListBytes {
 public:
  using Fields = std::vector<std::pair<std::string_view, Number>>;

  ArchiveBytes();

  std::uint32_t slot(Number object);
  std::uint32_t classRecord(std::string_view name, std::vector<std::string_view> hints = {});
  /// A dictionary with these values and "$class" last.
  std::uint32_t instance(std::string_view className, const Fields& fields);
  std::uint32_t collection(std::string_view className, const std::vector<std::uint32_t>& uids);
  /// An array of references, to stand inside an instance.
  Number uids(const std::vector<std::uint32_t>& uids);
  Number object(const Fields& fields);

  /// The whole archive. An absent root leaves "$top" empty.
  platform::Data archive(std::optional<std::uint32_t> root);

  std::optional<Number> version, top_, objects;  ///< In place of the usual values.
  bool hasVersion = true, hasTop = true, hasObjects = true;

 private:
  std::vector<Number> slots_;
};

platform::Data bytesOf(std::initializer_list<int> bytes);
platform::Data bytesOf(std::string_view text);
/// As hexadecimal digits, two a byte.
std::string hexOf(platform::ByteView bytes);
