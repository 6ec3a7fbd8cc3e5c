// Values of the shared settings as dconf keeps them (GVariant) and as the programs use them.
//
//   flag                  b
//   whole number          any width, with or without sign; written i, else x, else t, as it fits
//   real number           d
//   text                  s; read from o and g too
//   data                  ay
//   list                  any other array; written ai, ax, as, ab or aay (as bookmarks are kept) where all
//                         elements fit, else av
//   dictionary            a{s…} of any values; written a{sv}
//   boxed value           v; reads as what is in it
#pragma once

#include "platform/Object.h"
#include "platform/linux/OwnedGLib.h"

namespace platform::native {

/// nil for null, for a damaged value (not in normal form) and for types that are not in the list above, also
/// inside others.
Object objectOfVariant(GVariant* value);

/// Null for nil and for a value that is not in the list above or holds one, as for text that is not UTF-8 or
/// has a NUL. The result is no floating reference.
OwnedVariant variantOfObject(const Object& object);

}  // namespace platform::native
