// The record, the entry and the node as they stand in an archive: every field is the value that is there, so that a missing
// name can be told from an empty one and a number from a text. For showing archives and for making odd ones; the programs
// themselves use DTMessage, DTArchiveEntry and DTTreeNode.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"
#include "platform/Object.h"
#include "platform/codec/Coding.h"
#include "platform/codec/KeyedArchiveReader.h"

struct RawMessage final : platform::Coding {
  platform::Object selector, argument, portName;

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);
};

struct RawEntry final : platform::Coding {
  platform::Object name, index, rsrcIndex, size;
  bool isFolder = false;

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);
};

struct RawNode final : platform::Coding {
  platform::Object object;
  std::optional<std::vector<RawNode>> children;  ///< Nothing where the archive holds nil.

  std::span<const std::string_view> classNames() const override;
  void encodeWithCoder(platform::KeyedArchiver& coder) const override;
  /// A child that cannot be read, or is no node, is left out.
  static std::shared_ptr<const platform::Coding> initWithCoder(platform::KeyedUnarchiver& coder);

 private:
  using Blobs = std::optional<std::vector<platform::ByteView>>;

  using KeyedValues = std::array<std::uint64_t, 3>;

  bool readFrom(platform::KeyedArchiveReader& reader, const KeyedValues& values, Blobs& blobs);
  bool readFrom(platform::ByteView archive, const platform::KeyedArchiveReader& parent, Blobs& blobs);
  bool readDescendants(const platform::KeyedArchiveReader& reader, Blobs blobs);
};

/// The three classes as raw records; static storage.
platform::ClassTable rawClasses();
