// TKICCConcatenation: fills a trafo list with the steps that lead from the first of up to ten
// profiles to the last, profile by profile with the intent of each, bridging neighbours in the
// connection space. The result is a list, not a table; links are sampled from it.
#pragma once

#include <cstdint>

#include "icc/TKICCProfile.h"
#include "numeric/TKTrafoList.h"

class TKFileSpec;

// At most this many profiles take part in one concatenation by file.
constexpr int32_t kTKMaxConcatProfiles = 10;

// `lastMode` 1 asks for a final output step when the last profile stands alone. Null entries of
// `profiles` are skipped; `intents` is null or holds `count` entries (20: the header's intent).
// ArgErr for null arguments, WrongDataType when a profile fits the chain on neither side,
// TrafoCreationErr for a class without conversion tables (named colours). The list
// keeps what was appended before a failure.
void TKConcatICCProfiles(TKTrafoList* list, int32_t count, TKICCProfile* const* profiles, const int32_t* intents,
                         int32_t lastMode);

// The same with file specs: each is read into a new profile (null specs stay null entries),
// released when done. More than ten entries is BufferTooSmall, null `fileSpecs` ArgErr.
void TKConcatICCProfilesByFile(TKTrafoList* list, int32_t count, TKFileSpec* const* fileSpecs,
                               const int32_t* intents, int32_t lastMode);

// One step: appends the profile's A2B or B2A trafo for `intent`, as the list's current output
// type and `asSource` decide. Returns whether the next profile is a source.
bool AppendProfile(TKTrafoList* list, TKICCProfile* profile, int32_t intent, bool asSource);

// The connection-space trafo between two neighbours, or null where none belongs (every intent
// but "RelativeLightness", or a profile whose PCS is not a CIE type).
TKRefPtr<TKTrafo> TKConcatBridge(TKICCProfile& source, TKICCProfile& destination, int32_t intent);
