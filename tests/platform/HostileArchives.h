// Archives that somebody made to do harm, the same in every run: cut off, bent, endless, or asking for the impossible.
#pragma once

#include <functional>
#include <string>

#include "platform/Bytes.h"

/// Calls `use` with each small archive: thousands, of a few kilobytes at most.
void forEachSmallHostileArchive(const std::function<void(const std::string& name, const platform::Data& bytes)>& use);

/// Calls `use` with each archive that is large, or small with large consequences.
void forEachLargeHostileArchive(const std::function<void(const std::string& name, const platform::Data& bytes)>& use);
