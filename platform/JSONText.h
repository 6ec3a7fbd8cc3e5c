// Texts as JSON (RFC 8259), for the one object that the extension posts and for all that our programs write.
#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <utility>

namespace platform {

/// Appends the text as a JSON string, ASCII only: other characters as \u escapes; a byte that is not UTF-8 as the lone surrogate
/// U+DC00 + byte (Python's "surrogateescape"), a WTF-8 surrogate as itself.
void appendJSONString(std::string& json, std::string_view text);

/// An object of texts on one line, no spaces, the members as they stand.
std::string jsonObjectOfTexts(std::initializer_list<std::pair<std::string_view, std::string_view>> members);

}  // namespace platform
