// The classes of the programs' own that travel in keyed archives.
#pragma once

#include "platform/Coding.h"

/// The record, the node and the entry; static storage.
platform::ClassTable archivedClasses();
