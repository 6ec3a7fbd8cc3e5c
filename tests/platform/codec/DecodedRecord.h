// A class of our own for the tests of the unarchiver, and decoding with it.
#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/codec/KeyedUnarchiver.h"
#include "tests/platform/codec/ArchiveBytes.h"

/// One class of ours with a field of each kind that can be coded.
struct Record final : platform::Coding {
  platform::Object object;
  bool flag = false;
  bool hasFlag = false;
  std::optional<std::vector<platform::ByteView>> blobs;

  std::span<const std::string_view> classNames() const override { return {}; }
  void encodeWithCoder(platform::KeyedArchiver&) const override {}
  static std::shared_ptr<const Coding> initWithCoder(platform::KeyedUnarchiver& coder) {
    auto record = std::make_shared<Record>();
    record->object = coder.decodeObjectForKey("object");
    record->hasFlag = coder.containsValueForKey("flag");
    record->flag = coder.decodeBoolForKey("flag");
    record->blobs = coder.decodeDataArrayForKey("blobs");
    return record;
  }
};

struct Refusing {
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder) {
    coder.fail();
    return std::make_shared<Record>();
  }
};

inline constexpr platform::ArchivedClass classes[] = {{"Record", &Record::initWithCoder}, {"Refusing", &Refusing::initWithCoder}};

inline std::optional<platform::Object> decoded(const platform::Data& bytes) {
  return platform::KeyedUnarchiver::unarchivedObjectWithData(bytes, classes);
}
inline std::optional<platform::Object> decoded(ArchiveBytes& archive, std::uint32_t root) { return decoded(archive.archive(root)); }

inline bool isText(const std::optional<platform::Object>& object, std::string_view text) {
  const auto* string = object ? object->get<std::string>() : nullptr;
  return string && *string == text;
}
