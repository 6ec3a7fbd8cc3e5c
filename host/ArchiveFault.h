// Why bytes are refused as a keyed archive, told to people who write one. The decoder itself only says no.
#pragma once

#include <string>

#include "platform/Bytes.h"
#include "platform/codec/Coding.h"

/// What is wrong with bytes that `KeyedUnarchiver` refuses or that have no root object, as the second half of a sentence: the class
/// that is not known or what is malformed, each with the byte where it stands. Empty for an archive with a root, be it nil.
std::string faultOfArchive(platform::ByteView bytes, platform::ClassTable classes);
