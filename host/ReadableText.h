// Names of files and archive entries as people can read them.
#pragma once

#include <string>
#include <string_view>

/// The bytes as UTF-8: what is UTF-8 stays, and each other byte is taken as a character of Windows-1252, the charset that most
/// such names turn out to be in (a superset of Latin-1; WHATWG Encoding Standard, index windows-1252). The five bytes
/// that it leaves open become U+FFFD. The result is always valid UTF-8 (RFC 3629).
std::string readableText(std::string_view bytes);
