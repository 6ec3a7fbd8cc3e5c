// The objects that are made at most once in a process, on first use, and kept until it ends. A program owns one of these
// beside its platform; it outlives every extension object of the process. A test owns one for each process that it plays.
#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/Image.h"
#include "platform/TextHash.h"
#include "platform/UserDefaults.h"

/// A value made under a once-only guard.
template <typename Value>
class Once {
 public:
  template <typename Make>
  Value& get(Make make) {
    std::call_once(flag_, [&] { value_ = make(); });
    return value_;
  }

 private:
  std::once_flag flag_;
  Value value_{};
};

using FileTypeIcons = std::unordered_map<std::string, platform::ImageRef, platform::TextHash, std::equal_to<>>;

struct OnceOnly {
  Once<std::unique_ptr<platform::UserDefaults>> sharedApplicationGroupDefaults;  ///< Null for good when it fails once.
  Once<platform::ImageRef> menuIcon;
  FileTypeIcons fileTypeIcons;  ///< By type text; never cleared.
};
