// The process-wide options of the library: set through TKTintaraSetOption into the global data
// base, read back by TKTintaraGetOption.
#include <cstring>

#include "exported/TKExport.h"
#include "exported/TintaraICCProfile.h"
#include "io/TKGlobalData.h"

namespace {

const char* const kDensityModes[kTKDensityModeCount] = {"Status-A", "Status-E", "Status-I",
                                                        "Status-T", "Status-M", "Maximum-Density"};

bool Equals(const char* a, const char* b) { return std::strcmp(a, b) == 0; }

// A custom intent slot takes its mode and the factor as the host wrote it.
void SetCustomIntent(int32_t mode, const char* factor) {
    TKGlobalData::SetInt("CustomIntent0/mode", mode);
    TKGlobalData::SetString("CustomIntent0/factor", TKString(factor));
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
            TKGlobalData::SetString(key, TKString(value));
        } else if (Equals(key, "CustomRendering1MergeAbsoluteRelative")) {
            SetCustomIntent(0, value);
        } else if (Equals(key, "CustomRendering1ScaleLuminance")) {
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
