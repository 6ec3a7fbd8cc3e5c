// Decoding by GNUstep's unarchiver, to compare with.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C"
#endif
    void
    decodeWithGNUstep(const void* bytes, size_t length);
