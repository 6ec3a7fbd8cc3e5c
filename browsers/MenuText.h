// Text of a menu's items as toolkits may show it: names of files and of archive entries come from strangers.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace browsers {

/// Longer texts are shortened in the middle to this many columns, so that a menu stays narrow and the ending can be read. A column is
/// the place of a letter; East Asian signs take two.
inline constexpr std::size_t longestLabel = 60;

/// UTF-8 on one line that reads in its own direction: bytes that are no UTF-8 stand as U+FFFD, line breaks and control characters
/// as a space, marks that turn the direction of text are left out, and nothing at all stands as "(no name)".
std::string harmlessText(std::string_view text);

/// The same as a label of a toolkit that takes "_" for the mark of a mnemonic.
std::string menuLabel(std::string_view title);

/// Characters without a shape that spell a number, so that labels which look the same differ.
std::string invisibleNumber(std::size_t number);

}  // namespace browsers
