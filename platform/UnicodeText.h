// Text between the two forms of a property list (ASCII, UTF-16 big-endian) and the programs' own: UTF-8, in which a lone
// surrogate stands as its three-byte generalised form (https://simonsapin.github.io/wtf-8/), so that no text is lost.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Bytes.h"

namespace platform {

/// Appends a code point, a surrogate too.
void appendCodePoint(std::string& text, std::uint32_t point);
/// Takes one code point off the front of a text that is not empty; nothing, with the text as it was, when it starts with none.
std::optional<std::uint32_t> takeCodePoint(std::string_view& text);

bool isASCII(std::string_view text);

/// Of big-endian units; a unit without its other half is kept. `units.size()` is even.
std::string textFromUTF16(ByteView units);

/// The big-endian units, appended to `units`. False, with `units` in any state, for bytes that are no generalised UTF-8.
[[nodiscard]] bool appendUTF16(std::string_view text, Data& units);

/// Whether the bytes are UTF-8, generalised to lone surrogates.
bool isGeneralisedUTF8(std::string_view text);

}  // namespace platform
