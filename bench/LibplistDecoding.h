// Decoding over libplist's property lists, to compare with.
#pragma once

#include "archive/DTTreeNode.h"
#include "platform/Bytes.h"

/// The tree that the keyed archive in `bytes` holds. For archives of our own writing: nothing is checked but what cannot be gone past.
DTTreeNode decodeWithLibplist(platform::ByteView bytes);
