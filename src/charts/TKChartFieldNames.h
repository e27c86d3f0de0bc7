// The names of colour fields in measurement files: the name a colour type's channel is written
// under, and the colour type and channel a field name stands for.
#pragma once

#include <cstdint>

#include "foundation/TKString.h"

// The types a measurement file can hold, in the order in which field names are tested.
constexpr int32_t kTKChartTypeCount = 36;
uint32_t TKChartType(int32_t index);

// The field name of channel `channel` of `type`: "CMYK_C", "LAB_L", "XYZ_Y", "SPECTRAL_NM_380",
// "E_380", "PC6_3", ...; empty for a channel outside the type.
TKString TKChartFieldName(uint32_t type, int32_t channel);

// What a field name stands for.
struct TKChartFieldMeaning {
    uint32_t type = 0;    // 0: no colour field
    int32_t channel = 0;
};
// Recognises a field by the channel names of the known types (exact, then ignoring case), then
// by a wavelength of 380 to 730 nm in steps of 10 in its text: a spectrum, "emis" when the name
// holds "E_" and "refl" otherwise, unless `spectralType`, the spectral type met first in the
// file, is set: a later wavelength field keeps it. "PC1_1" to "PC15_1" are the first channels
// of "1CLR" to "FCLR".
TKChartFieldMeaning TKChartRecogniseField(const char* field, uint32_t spectralType = 0);
// A field that names an ink beyond the four of CMYK: "CMYK_R", "CMYK_O", "CMYK_G", "CMYK_B" and
// "CMYK_V" give "Red", "Orange", "Green", "Blue" and "Violet", "SPOT_n" gives "" (its name comes
// from the keywords); any other field gives null.
const char* TKChartExtraInkName(const char* field);
