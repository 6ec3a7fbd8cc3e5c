// What the fuzz targets share. A target is one function, `LLVMFuzzerTestOneInput`, that reads any bytes as one kind of input from
// outside and ends the process when a property does not hold. Built with libFuzzer (preset "fuzz") it looks for such bytes; built
// with ReplayMain.cpp, by any compiler, it runs the inputs of `corpus/`, findings of the past among them.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "platform/Bytes.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

/// A property that holds whatever the bytes.
inline void expect(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "It does not hold that %s\n", property);
  std::abort();
}

/// Stands between two parts of an input, so that parts may be cut, joined and moved without a length that has to fit.
inline constexpr std::string_view separator = "\xff\xffNEXT\xff\xff";

inline std::vector<platform::ByteView> parts(platform::ByteView input) {
  std::vector<platform::ByteView> parts;
  while (true) {
    const auto end = std::search(input.begin(), input.end(), separator.begin(), separator.end(),
                                 [](std::uint8_t a, char b) { return a == static_cast<std::uint8_t>(b); });
    parts.emplace_back(input.begin(), end);
    if (end == input.end()) return parts;
    input = input.subspan(parts.back().size() + separator.size());
  }
}

}  // namespace fuzz
