// The classes of the programs' own that a keyed archive between them may hold: the record, the tree node and the entry.
#pragma once

#include "platform/codec/Coding.h"

/// Static storage.
platform::ClassTable archivedClasses();
