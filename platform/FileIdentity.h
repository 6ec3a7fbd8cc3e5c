// The opaque identity of a file system object: equal for every form of its path, different once another object takes
// the path. Made by a backend's file manager, carried on the wire as data, used as the key of every record of files.
#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <functional>
#include <optional>

#include "platform/Bytes.h"

namespace platform {

class FileIdentity {
 public:
  /// No backend makes longer ones; longer data from a peer is no identity.
  static constexpr std::size_t maximumLength = 32;

  /// Nothing when `bytes` is empty or longer than `maximumLength`.
  [[nodiscard]] static std::optional<FileIdentity> withBytes(ByteView bytes) {
    if (bytes.empty() || bytes.size() > maximumLength) return std::nullopt;
    FileIdentity identity;
    std::memcpy(identity.bytes_.data(), bytes.data(), bytes.size());
    identity.length_ = static_cast<std::uint8_t>(bytes.size());
    return identity;
  }

  ByteView bytes() const { return {bytes_.data(), length_}; }

  friend bool operator==(const FileIdentity& a, const FileIdentity& b) {
    return a.length_ == b.length_ && std::memcmp(a.bytes_.data(), b.bytes_.data(), maximumLength) == 0;
  }
  friend auto operator<=>(const FileIdentity& a, const FileIdentity& b) = default;

 private:
  FileIdentity() = default;

  std::array<std::uint8_t, maximumLength> bytes_{};
  std::uint8_t length_ = 0;
};

}  // namespace platform

template <>
struct std::hash<platform::FileIdentity> {
  std::size_t operator()(const platform::FileIdentity& identity) const noexcept {
    std::uint64_t words[platform::FileIdentity::maximumLength / 8] = {};
    std::memcpy(words, identity.bytes().data(), identity.bytes().size());
    std::uint64_t mixed = identity.bytes().size();
    for (const std::uint64_t word : words) {
      mixed = (mixed ^ word) * 0x9E3779B97F4A7C15u;
      mixed ^= mixed >> 29;
    }
    return static_cast<std::size_t>(mixed);
  }
};
