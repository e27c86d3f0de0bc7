// Colour types: channel counts, classes, predicates, type makers, ranges and shown names.
#include "color/TKColors.h"

#include <array>
#include <cstddef>
#include <initializer_list>

#include "foundation/TKError.h"

namespace {

struct TypeRow {
    uint32_t type;
    const char* name;
    TKColorClass cls;
    int32_t channels;
};

// Every type with a fixed signature. "1CLR".."FCLR", "mc.." and "nm.." follow rules instead.
constexpr TypeRow kTypeRows[] = {
    {TKNoSpace, "NoSpace", TKNoClass, 0},
    {TKCIEClassSpace, "CIESpace", TKCIEClass, 0},
    {TKDevClassSpace, "DevSpace", TKDeviceClass, 0},
    {TKOtherClassSpace, "OtherSpace", TKOtherClass, 0},
    {TKNormClassSpace, "NormSpace", TKNormClass, 0},
    {TKXYZSpace, "XYZ", TKCIEClass, 3},
    {TKXYZNSpace, "XYZ-Norm", TKCIEClass, 3},
    {TKLabSpace, "Lab", TKCIEClass, 3},
    {TKLabXSpace, "LabX", TKCIEClass, 4},
    {TKLChSpace, "LCh", TKCIEClass, 3},
    {TKLuvSpace, "Luv", TKCIEClass, 3},
    {TKLChuSpace, "LCh-uv", TKCIEClass, 3},
    {TKYxySpace, "Yxy", TKCIEClass, 3},
    {TKYuvSpace, "Yu'v'", TKCIEClass, 3},
    {TKJabSpace, "Jab", TKCIEClass, 3},
    {TKJChSpace, "JCh", TKCIEClass, 3},
    {TKLcsSpace, "Lcs", TKCIEClass, 3},
    {TKLcshSpace, "Lcsh", TKCIEClass, 3},
    {TKKelvinSpace, "Kelvin", TKCIEClass, 1},
    {TKReflSpace, "Remission", TKCIEClass, kTKSpectralChannels},
    {TKTranSpace, "Transmission", TKCIEClass, kTKSpectralChannels},
    {TKEmisSpace, "Emission", TKCIEClass, kTKSpectralChannels},
    {TKDensSpace, "Density", TKCIEClass, kTKSpectralChannels},
    {TKCMYKDensSpace, "CMYK-Density", TKOtherClass, 4},
    {TKRGBSpace, "RGB", TKDeviceClass, 3},
    {TKHSVSpace, "HSV", TKDeviceClass, 3},
    {TKHLSSpace, "HLS", TKDeviceClass, 3},
    {TKGraySpace, "GRAY", TKDeviceClass, 1},
    {TKCMYSpace, "CMY", TKDeviceClass, 3},
    {TKCMYKSpace, "CMYK", TKDeviceClass, 4},
};

const TypeRow* FindRow(uint32_t type) {
    for (const TypeRow& row : kTypeRows)
        if (row.type == type) return &row;
    return nullptr;
}

constexpr char kBase36[] = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ";

int Base36Digit(uint32_t c) {
    if (c >= '0' && c <= '9') return int(c - '0');
    if (c >= 'A' && c <= 'Z') return int(c - 'A') + 10;
    return -1;
}

// Value of the two base-36 digits of an "mc.." / "nm.." signature, or -1 if either is none.
int32_t Base36Count(uint32_t type) {
    int high = Base36Digit((type >> 8) & 0xFF);
    int low = Base36Digit(type & 0xFF);
    if (high < 0 || low < 0) return -1;
    return high * 36 + low;
}

uint32_t Base36Type(char c0, char c1, int32_t channels) {
    return (uint32_t(uint8_t(c0)) << 24) | (uint32_t(uint8_t(c1)) << 16) |
           (uint32_t(uint8_t(kBase36[channels / 36])) << 8) | uint32_t(uint8_t(kBase36[channels % 36]));
}

bool HasPrefix(uint32_t type, char c0, char c1) {
    return (type >> 24) == uint32_t(uint8_t(c0)) && ((type >> 16) & 0xFF) == uint32_t(uint8_t(c1));
}

// "1CLR".."FCLR": the channel count as one hex digit; 0 if the type is none of them.
int32_t CLRCount(uint32_t type) {
    if ((type & 0x00FFFFFF) != (TK1CLRSpace & 0x00FFFFFF)) return 0;
    int digit = Base36Digit(type >> 24);
    return digit >= 1 && digit <= 15 ? digit : 0;
}

bool IsMcType(uint32_t type) { return HasPrefix(type, 'm', 'c') && Base36Count(type) >= 0; }
bool IsNmType(uint32_t type) {
    return type != TKNormClassSpace && HasPrefix(type, 'n', 'm') && Base36Count(type) >= 0;
}

uint32_t CLRType(int32_t channels) { return (uint32_t(uint8_t(kBase36[channels])) << 24) | (TK1CLRSpace & 0x00FFFFFF); }

// Shared by the device type makers: the first four counts differ, the rest agree.
uint32_t MakeDeviceType(int32_t channels, const std::array<uint32_t, 5>& firstFive) {
    if (channels < 0) TKThrow(ArgErr);
    if (channels <= 4) return firstFive[std::size_t(channels)];
    if (channels <= 15) return CLRType(channels);
    if (channels <= kTKMaxBase36Channels) return Base36Type('m', 'c', channels);
    TKThrow(DimMismatch);
}

bool IsOneOf(uint32_t type, std::initializer_list<uint32_t> types) {
    for (uint32_t t : types)
        if (t == type) return true;
    return false;
}

}  // namespace

int32_t GetChannelCount(uint32_t type) {
    if (const TypeRow* row = FindRow(type)) return row->channels;
    if (int32_t n = CLRCount(type)) return n;
    if (IsMcType(type) || IsNmType(type)) {
        int32_t n = Base36Count(type);
        return n <= kTKMaxBase36Channels ? n : 0;
    }
    return 0;
}

TKColorClass GetColorClass(uint32_t type) {
    if (const TypeRow* row = FindRow(type)) return row->cls;
    if (CLRCount(type) || IsMcType(type)) return TKDeviceClass;
    if (IsNmType(type)) return TKNormClass;
    return TKNoClass;
}

bool IsCIESpace(uint32_t type) { return GetColorClass(type) == TKCIEClass; }
bool IsDeviceSpace(uint32_t type) { return GetColorClass(type) == TKDeviceClass; }
bool IsKnownSpace(uint32_t type) { return GetColorClass(type) != TKNoClass; }

uint32_t GetDeviceType(int32_t channels) {
    return MakeDeviceType(channels, {TKNoSpace, TKGraySpace, TK2CLRSpace, TKCMYSpace, TKCMYKSpace});
}

uint32_t GetColorType(int32_t channels) {
    return MakeDeviceType(channels, {TKNoSpace, TK1CLRSpace, TK2CLRSpace, TK3CLRSpace, TKCMYKSpace});
}

uint32_t GetPureColorType(int32_t channels) {
    return MakeDeviceType(channels, {TKNoSpace, TK1CLRSpace, TK2CLRSpace, TK3CLRSpace, TK4CLRSpace});
}

uint32_t GetNormType(int32_t channels) {
    if (channels < 0) TKThrow(ArgErr);
    if (channels > kTKMaxBase36Channels) TKThrow(DimMismatch);
    return Base36Type('n', 'm', channels);
}

bool IsMultiChannel(uint32_t type) { return CLRCount(type) > 0 || IsMcType(type); }

bool IsInkSpace(uint32_t type) {
    return type == TKCMYSpace || type == TKCMYKSpace || type == TKGraySpace || IsMultiChannel(type);
}

bool IsRelativeSpace(uint32_t type) {
    return IsOneOf(type, {TKLabSpace, TKLabXSpace, TKLChSpace, TKLChuSpace, TKLuvSpace, TKJabSpace, TKJChSpace,
                          TKLcsSpace, TKLcshSpace, TKXYZNSpace});
}

bool IsSpectral(uint32_t type) { return IsOneOf(type, {TKReflSpace, TKTranSpace, TKEmisSpace, TKDensSpace}); }
bool IsSpectralOrDensity(uint32_t type) { return IsSpectral(type) || type == TKCMYKDensSpace; }
bool IsClassMarker(uint32_t type) {
    return IsOneOf(type, {TKCIEClassSpace, TKDevClassSpace, TKOtherClassSpace, TKNormClassSpace});
}
bool IsPolarType(uint32_t type) { return IsOneOf(type, {TKLChSpace, TKLChuSpace, TKLcshSpace, TKJChSpace}); }

uint32_t GetPolarType(uint32_t type, uint32_t fallback) {
    switch (type) {
        case TKLabSpace: case TKLChSpace: return TKLChSpace;
        case TKLuvSpace: case TKLChuSpace: return TKLChuSpace;
        case TKLcsSpace: case TKLcshSpace: return TKLcshSpace;
        case TKJabSpace: case TKJChSpace: return TKJChSpace;
        case TKRGBSpace: case TKHLSSpace: return TKHLSSpace;
        default: return fallback;
    }
}

uint32_t GetRectType(uint32_t type, uint32_t fallback) {
    switch (type) {
        case TKLabSpace: case TKLChSpace: return TKLabSpace;
        case TKLuvSpace: case TKLChuSpace: return TKLuvSpace;
        case TKLcsSpace: case TKLcshSpace: return TKLcsSpace;
        case TKJabSpace: case TKJChSpace: return TKJabSpace;
        case TKRGBSpace: case TKHSVSpace: case TKHLSSpace: return TKRGBSpace;
        case TKCMYSpace: return TKCMYSpace;
        default: return fallback;
    }
}

bool IsSameClass(uint32_t a, uint32_t b) {
    return a == b || a == 0 || b == 0 || GetColorClass(a) == GetColorClass(b);
}

bool IsCompatible(uint32_t a, uint32_t b) {
    if (a == b) return true;
    auto pair = [a, b](uint32_t x, uint32_t y) { return (a == x && b == y) || (a == y && b == x); };
    if (pair(TK3CLRSpace, TKCMYSpace) || pair(TK4CLRSpace, TKCMYKSpace) || pair(TK1CLRSpace, TKGraySpace))
        return true;
    return IsCIESpace(a) && IsCIESpace(b);
}

bool IsConvertible(uint32_t a, uint32_t b) {
    if (a == b || a == 0 || b == 0) return true;
    if (IsClassMarker(a) != IsClassMarker(b)) return GetColorClass(a) == GetColorClass(b);
    return false;
}

// --- Ranges -----------------------------------------------------------------------------------

double GetChannelMin(uint32_t type, int32_t channel) {
    switch (type) {
        case TKLabSpace: case TKJabSpace: case TKLuvSpace: case TKLabXSpace:
            return channel == 1 || channel == 2 ? -128.0 : 0.0;
        case TKLcsSpace: return channel == 1 || channel == 2 ? -150.0 : 0.0;
        case TKKelvinSpace: return channel == 0 ? 1000.0 : 0.0;
        default: return 0.0;
    }
}

double GetChannelMax(uint32_t type, int32_t channel, int32_t mode) {
    // a and b: the real range, the ICC v4 / 8-bit code 255 = 127, and the 16-bit legacy
    // code 0xFFFF = 127 + 255/256.
    static constexpr double kABMax[] = {128.0, 127.0, 127.99609375};
    // X, Y, Z of the encodings: code 0xFFFF is 1 + 32767/32768 in u1Fixed15 (times 100), and
    // the 8-bit form keeps 255/256 of 200.
    static constexpr double kXYZMax[] = {200.0, 199.21875, 199.9969482421875};
    const int m = mode == 1 || mode == 2 ? mode : 0;
    switch (type) {
        case TKLabSpace: case TKJabSpace: case TKLuvSpace:
        case TKLabXSpace: return channel == 1 || channel == 2 ? kABMax[m] : 100.0;
        case TKXYZSpace: return kXYZMax[m];
        case TKYxySpace: case TKYuvSpace: return channel == 0 ? 200.0 : 1.0;
        case TKXYZNSpace: return 1.0;
        case TKRGBSpace: return 255.0;
        case TKLcsSpace: return channel == 0 ? 100.0 : 150.0;
        case TKLChSpace: case TKJChSpace: case TKLChuSpace: case TKLcshSpace:
            return channel == 0 ? 100.0 : channel == 1 ? 255.0 : 360.0;
        case TKHSVSpace: case TKHLSSpace: return channel == 0 ? 360.0 : 100.0;
        case TKCMYKDensSpace: case TKDensSpace: return 10.0;
        case TKReflSpace: case TKTranSpace: return 2.0;
        case TKEmisSpace: return 2000.0;
        case TKKelvinSpace: return 30000.0;
        default: break;
    }
    if (IsNmType(type)) return 1.0;
    return 100.0;  // ink types and anything unknown
}

double GetMaxOfAll(uint32_t type) {
    switch (type) {
        case TKLabSpace: case TKLabXSpace: case TKLuvSpace: case TKJabSpace: case TKLcsSpace: return 256.0;
        case TKLChSpace: case TKJChSpace: case TKLChuSpace: case TKLcshSpace:
        case TKHSVSpace: case TKHLSSpace: return 360.0;
        case TKXYZSpace: case TKYxySpace: case TKYuvSpace: return 200.0;
        default: return GetChannelMax(type, 0, kTKRangeReal);
    }
}

// --- Names --------------------------------------------------------------------------------------

TKString GetTypeName(uint32_t type) {
    if (const TypeRow* row = FindRow(type)) return row->name;
    if (CLRCount(type) || IsMcType(type) || IsNmType(type)) return TKString::FromSignature(type);
    TKString shown;
    for (int shift = 24; shift >= 0; shift -= 8) {
        char c = char((type >> shift) & 0xFF);
        if (c > ' ' && c < 127) shown += c;
    }
    return shown.IsEmpty() ? TKString("None") : shown;
}
