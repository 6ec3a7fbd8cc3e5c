// One entry of an archive's table of contents. The class name and the keys "name", "folder", "index", "rsrcIndex", "size"
// are a contract with every host.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/codec/Coding.h"
#include "platform/codec/KeyedArchiveReader.h"

class DTArchiveEntry final : public platform::Coding {
 public:
  static constexpr std::string_view className = "DTArchiveEntry";

  DTArchiveEntry() = default;  ///< No name, no folder, all numbers 0.
  /// `rsrcIndex` stays 0: only decoding and its setter give it a value.
  DTArchiveEntry(std::optional<std::string> name, bool isFolder, std::uint64_t index, std::uint64_t size);

  /// As shown in menus; the root entry's is the archive's file name. Nothing when the host sent none.
  const std::optional<std::string>& name() const { return name_; }
  bool isFolder() const { return isFolder_; }
  /// The host's number of the entry: the tag of its menu item.
  std::uint64_t index() const { return index_; }
  /// Carried for the host, read by nobody here.
  std::uint64_t rsrcIndex() const { return rsrcIndex_; }
  std::uint64_t size() const { return size_; }
  void setName(std::optional<std::string> name) { name_ = std::move(name); }
  /// An empty name to be written.
  std::string& makeName() { return name_.emplace(); }
  void setFolder(bool isFolder) { isFolder_ = isFolder; }
  void setIndex(std::uint64_t index) { index_ = index; }
  void setRsrcIndex(std::uint64_t rsrcIndex) { rsrcIndex_ = rsrcIndex; }
  void setSize(std::uint64_t size) { size_ = size; }

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);
  /// The keys that are looked up in an archived entry, its class last.
  static constexpr std::array<platform::PropertyListKey, 6> keys{"name", "folder", "index", "rsrcIndex", "size", "$class"};
  using KeyedValues = std::array<std::uint64_t, keys.size()>;
  /// Reads what stands under `keys` into this new entry, without a general object for each. False refuses the archive. An
  /// absent value, or one of another kind, leaves its field empty.
  bool readFrom(platform::KeyedArchiveReader& reader, const KeyedValues& values);

 private:
  std::optional<std::string> name_;
  std::uint64_t index_ = 0;
  std::uint64_t rsrcIndex_ = 0;
  std::uint64_t size_ = 0;
  bool isFolder_ = false;
};
