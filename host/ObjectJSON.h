// Values as JSON text and back, one form for every kind: {"t":"int","v":"42"}; nil is null. The forms are listed in
// docs/host-protocol.md. The text is canonical: one line of ASCII, no spaces, keys sorted, sets and dictionaries sorted by
// the text of their members, so that equal values have equal texts.
#pragma once

#include <optional>
#include <string>

#include "platform/Object.h"

/// The text of any value: the records and trees of the programs as well as their raw forms.
std::string textOfObject(const platform::Object& object);

/// The value that such a text stands for, its instances as raw records; nothing for any other text.
[[nodiscard]] std::optional<platform::Object> objectOfText(std::string_view text);
