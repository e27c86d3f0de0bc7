// The process-wide options of the library: set through TKTintaraSetOption into the global data
// base, read back by TKTintaraGetOption.
#include <cmath>
#include <cstring>

#include "color/TKColorDifference.h"
#include "exported/TKExport.h"
#include "exported/TintaraICCProfile.h"
#include "io/TKGlobalData.h"
#include "separation/TKNumberToken.h"

namespace {

const char* const kDensityModes[kTKDensityModeCount] = {"Status-A", "Status-E", "Status-I",
                                                        "Status-T", "Status-M", "Maximum-Density"};

bool Equals(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// A custom intent slot takes its mode and the factor as the host wrote it.
void SetCustomIntent(int32_t mode, const char* factor) {
    TKGlobalData::SetInt("CustomIntent0/mode", mode);
    TKGlobalData::SetString("CustomIntent0/factor", TKString(factor));
}

// The values are checked here, where the host hears of a mistake, rather than where trafos read
// them later and could only fall back to a default or compute with nonsense.
bool NumberWithin(const char* text, double low, double high) {
    TKString token(text);
    token.Trim();
    double value = 0.0;
    return TKReadNumberToken(token.CString(), value) && value >= low && value <= high;
}

// "r g b": exactly three numbers of 0..255.
bool MarkColour(const char* text) {
    const TKString value(text);
    int32_t position = 0;
    for (int i = 0; i < 3; ++i)
        if (!NumberWithin(value.NextToken(&position).CString(), 0.0, 255.0)) return false;
    return value.NextToken(&position).IsEmpty();
}

// Refuses a malformed value with ArgErr and a message naming the key.
void CheckValue(bool valid, const char* key, const char* wanted) {
    if (!valid) TKThrowMsg(ArgErr, TKString::Format("option %s takes %s", key, wanted).CString());
}

}  // namespace

const char* TKGetDensityModeName(int32_t index) {
    return index >= 0 && index < kTKDensityModeCount ? kDensityModes[index] : "Unknown";
}

int32_t TKFindDensityMode(const char* text) {
    if (!text) return -1;
    for (int32_t i = 0; i < kTKDensityModeCount; ++i)
        if (std::strncmp(text, kDensityModes[i], std::strlen(kDensityModes[i])) == 0) return i;
    return -1;
}

extern "C" int32_t TKTintaraSetOption(const char* key, const char* value) {
    if (!key) return int32_t(ArgErr);
    if (!value) return TK_ARG_ERROR();
    return TKGuardCode([&] {
        if (Equals(key, "OOGColor") || Equals(key, "OOGLimit") || Equals(key, "OOGMethod")) {
            if (Equals(key, "OOGColor")) CheckValue(MarkColour(value), key, "three numbers 0..255");
            if (Equals(key, "OOGLimit")) CheckValue(NumberWithin(value, 0.0, HUGE_VAL), key, "a number of 0 or more");
            if (Equals(key, "OOGMethod"))
                CheckValue(TKColorDifference::GetMethodFromName(value) >= 0, key, "a colour difference name");
            TKGlobalData::SetString(key, TKString(value));
        } else if (Equals(key, "CustomRendering1MergeAbsoluteRelative")) {
            CheckValue(NumberWithin(value, 0.0, 1.0), key, "a number of 0..1");
            SetCustomIntent(0, value);
        } else if (Equals(key, "CustomRendering1ScaleLuminance")) {
            CheckValue(NumberWithin(value, 1e-6, 1e6), key, "a number above 0");
            SetCustomIntent(1, value);
        } else if (Equals(key, "DensityMode")) {
            const int32_t mode = TKFindDensityMode(value);
            if (mode < 0) return int32_t(ArgErr);
            TKGlobalData::SetInt(kTKGlobalDensityMode, mode);
        } else {
            return int32_t(ArgErr);
        }
        return int32_t(NoErr);
    });
}

int32_t TKTintaraGetOption(const char* key, char* value, int32_t size) {
    if (!key) return TK_ARG_ERROR();
    TKString text;
    int32_t result = NoErr;
    if (Equals(key, "Version")) {
        text = "1.9.120, build 24820";
    } else if (Equals(key, "LastErrorString") || Equals(key, "Error")) {
        text = TKError::LastError().Describe();
    } else {
        result = NotFound;
    }
    // The size test comes first, so a short buffer tells "too small" even for an unknown key.
    const int64_t length = int64_t(text.Length());
    if (int64_t(size) <= length) return int32_t(BufferTooSmall);
    if (result != NoErr) return result;
    if (value) std::memcpy(value, text.CString(), size_t(length) + 1);
    return result;
}
