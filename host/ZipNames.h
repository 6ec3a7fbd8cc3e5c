// Names that a zip marks as UTF-8 though they are not. libarchive gives an entry with such a name none at all.
#pragma once

#include <string>
#include <vector>

/// The bytes of those names as they stand in the headers of the entries, in the order of the headers in the file, in which libarchive
/// lists them. Empty when the file's central directory cannot be followed to each of its entries (APPNOTE.TXT 4.3; zip64 is not). Reads
/// the open file by position alone: where it is read by others stays as it is.
std::vector<std::string> zipNamesThatAreNotUTF8(int file);
