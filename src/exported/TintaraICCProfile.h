// Operations of the profile family that the library offers to its own code without exporting
// them: concatenation of profile objects, option reading, and profiles in memory blocks.
#pragma once

#include <cstdint>

#include "tintara.h"

// Like TKConcatICCProfilesEx on profiles that are already read, without colour types.
int32_t TKConcatICCProfileList(TKTrafoRef* out, int32_t count, TKICCProfile** profiles, const int32_t* intents);

// "Version", "LastErrorString" or "Error" into `value` with its terminator. A buffer not larger
// than the text gives BufferTooSmall before anything else; any other key NotFound.
int32_t TKTintaraGetOption(const char* key, char* value, int32_t size);

// The profile written to a growing buffer; `length` (may be null) receives its size and `buffer`
// (may be null) the bytes when they fit, BufferTooSmall otherwise.
int32_t TKSaveProfileToMemory(TKICCProfile* profile, void* buffer, uint32_t size, uint32_t* length);
// Reads the whole profile from a copy of the block.
int32_t TKReadProfileFromMemory(TKICCProfile* profile, const void* data, uint32_t size);

// The density modes, in the order of their index in "gDensityMode".
constexpr int32_t kTKDensityModeCount = 6;
// "Status-A", "Status-E", "Status-I", "Status-T", "Status-M", "Maximum-Density"; "Unknown" else.
const char* TKGetDensityModeName(int32_t index);
// The first mode whose name begins the text (case-sensitive), or -1.
int32_t TKFindDensityMode(const char* text);
