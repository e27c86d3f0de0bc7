// Colours of a type: range vectors, white, black and primaries; channel names and the
// type named by a text.
#include <cstring>
#include <vector>

#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace {

TKVector Filled(uint32_t type, double (*value)(uint32_t, int32_t, int32_t), int32_t mode) {
    const int32_t n = GetChannelCount(type);
    TKVector v(n, int32_t(type));
    for (int32_t i = 0; i < n; ++i) v[i] = value(type, i, mode);
    return v;
}

double MinOf(uint32_t type, int32_t channel, int32_t) { return GetChannelMin(type, channel); }
double MaxOf(uint32_t type, int32_t channel, int32_t mode) { return GetChannelMax(type, channel, mode); }

void CheckMode(int32_t mode) {
    if (mode < 0 || mode > 2) TKThrow(ArgErr);
}

// The 59 types a name may stand for, in the order in which a text is searched.
const std::vector<uint32_t>& NamedTypes() {
    static const std::vector<uint32_t> types = [] {
        std::vector<uint32_t> t = {TKCIEClassSpace, TKDevClassSpace, TKOtherClassSpace, TKNormClassSpace,
                                   TKReflSpace, TKEmisSpace, TKTranSpace, TKKelvinSpace, TKLabXSpace, TKXYZSpace,
                                   TKLabSpace, TKLuvSpace, TKYxySpace, TKRGBSpace, TKGraySpace, TKHSVSpace,
                                   TKHLSSpace, TKCMYKSpace, TKCMYSpace};
        for (int n = 1; n <= 15; ++n) t.push_back(GetPureColorType(n));
        for (uint32_t x : {TKLChSpace, TKLChuSpace, TKJChSpace, TKJabSpace, TKYuvSpace}) t.push_back(x);
        for (int n = 1; n <= 15; ++n) t.push_back(GetNormType(n));
        for (uint32_t x : {TKCMYKDensSpace, TKXYZNSpace, TKLcsSpace, TKLcshSpace, TKDensSpace}) t.push_back(x);
        return t;
    }();
    return types;
}

bool IsBoundary(char c) { return c == 0 || c == '\t' || c == '\n' || c == '\r' || c == ' '; }

}  // namespace

TKVector GetMinVector(uint32_t type, int32_t mode) {
    CheckMode(mode);
    return Filled(type, MinOf, mode);
}

TKVector GetMaxVector(uint32_t type, int32_t mode) {
    CheckMode(mode);
    return Filled(type, MaxOf, mode);
}

TKVector GetWhite(uint32_t type) {
    const int32_t t = int32_t(type);
    const double* w = kTKWhiteD50;
    switch (type) {
        case TKXYZSpace: return TKVector({w[0], w[1], w[2]}, t);
        case TKYxySpace: {
            const double s = w[0] + w[1] + w[2];
            return TKVector({100.0, w[0] / s, w[1] / s}, t);
        }
        case TKYuvSpace: {
            // Both chromaticities with the factor 4, as the engine has always stored this white.
            const double d = w[0] + 15.0 * w[1] + 3.0 * w[2];
            return TKVector({w[1], 4.0 * w[0] / d, 4.0 * w[1] / d}, t);
        }
        case TKLabSpace: case TKLChSpace: case TKLChuSpace: case TKLuvSpace: case TKJabSpace: case TKJChSpace:
        case TKLcsSpace: case TKLcshSpace: return TKVector({100.0, 0.0, 0.0}, t);
        case TKLabXSpace: return TKVector({100.0, 0.0, 0.0, 0.0}, t);
        case TKRGBSpace: return TKVector({255.0, 255.0, 255.0}, t);
        case TKHSVSpace: return TKVector({0.0, 0.0, 100.0}, t);
        case TKHLSSpace: return TKVector({0.0, 100.0, 0.0}, t);
        case TKReflSpace: case TKTranSpace: case TKEmisSpace: return TKVector(kTKSpectralChannels, t, 1.0);
        default: return GetMinVector(type);
    }
}

TKVector GetBlack(uint32_t type, int32_t kind) {
    const int32_t t = int32_t(type);
    switch (type) {
        case TKLabSpace: case TKLChSpace: case TKLChuSpace: case TKLuvSpace: case TKJabSpace: case TKJChSpace:
        case TKLcsSpace: case TKLcshSpace: case TKRGBSpace: case TKXYZSpace: case TKHSVSpace: case TKHLSSpace:
        case TKReflSpace: case TKTranSpace: case TKEmisSpace: return TKVector(GetChannelCount(type), t, 0.0);
        case TKCMYSpace: return TKVector({100.0, 100.0, 100.0}, t);
        case TKGraySpace: return TKVector({100.0}, t);
        case TKLabXSpace: return TKVector({0.0, 0.0, 0.0, 100.0}, t);
        case TKYxySpace: case TKYuvSpace: return TKVector({0.0, 0.33, 0.33}, t);
        default: break;
    }
    const int32_t n = GetChannelCount(type);
    TKVector v(n, t);
    for (int32_t i = 0; i < n; ++i) {
        bool full;
        if (kind == 3) full = i < 3;
        else if (kind == 1) full = i < 4;
        else if (kind == 2 && n >= 4) full = i == 3;
        else full = true;
        v[i] = full ? GetChannelMax(type, i) : 0.0;
    }
    return v;
}

TKVector GetPrimary(uint32_t type, int32_t channel) {
    const int32_t n = GetChannelCount(type);
    if (channel < 0 || channel >= n) return TKVector();
    if (type == TKRGBSpace) {
        TKVector v(3, int32_t(TKRGBSpace));
        v[channel] = 255.0;
        return v;
    }
    if (type == TKGraySpace) return TKVector({100.0}, int32_t(type));
    if (n == 3 && IsCIESpace(type)) {
        // A CIE colour is shown in false colour: lightness gray, the two others magenta and yellow.
        static const double kFalse[3][3] = {{127.5, 127.5, 127.5}, {224.0, 0.0, 224.0}, {224.0, 224.0, 0.0}};
        const double* c = kFalse[channel];
        return TKVector({c[0], c[1], c[2]}, int32_t(TKRGBSpace));
    }
    TKVector v = GetMinVector(type);
    v[channel] = GetChannelMax(type, channel);
    return v;
}

TKString GetChannelName(uint32_t type, int32_t channel, int32_t style) {
    const int32_t n = GetChannelCount(type);
    if (channel < 0 || channel >= n) return TKString();
    if (style >= 1) {
        const bool longNames = style == 1;
        static const char* const kLab[2][3] = {{"L", "a", "b"}, {"L", "A", "B"}};
        static const char* const kLCh[2][3] = {{"L", "C", "h"}, {"L", "C", "H"}};
        static const char* const kRGB[2][3] = {{"R", "G", "B"}, {"Red", "Green", "Blue"}};
        static const char* const kXYZ[3] = {"X", "Y", "Z"};
        static const char* const kInks[4] = {"Cyan", "Magenta", "Yellow", "Black"};
        switch (type) {
            case TKLabSpace: return kLab[longNames][channel];
            case TKLChSpace: return kLCh[longNames][channel];
            case TKRGBSpace: return kRGB[longNames][channel];
            case TKXYZSpace: return kXYZ[channel];
            case TKCMYSpace: case TKCMYKSpace: return kInks[channel];
            case TKGraySpace: return "Gray";
            default: break;
        }
        if (IsMultiChannel(type)) return TKString::Format("MCH_%d", longNames ? channel : channel + 1);
    }
    const int32_t nm = kTKSpectralStartNM + kTKSpectralStepNM * channel;
    switch (type) {
        case TKReflSpace: return TKString::Format("SPECTRAL_NM_%d", nm);
        case TKDensSpace: return TKString::Format("Density_%d", nm);
        case TKEmisSpace: return TKString::Format("E_%d", nm);
        case TKTranSpace: return TKString::Format("T_%d", nm);
        default: break;
    }
    const TKString shown = GetTypeName(type);
    TKString name = shown;
    if (n > 1) name += '_';
    if (n < 5 && shown.Length() >= n && !IsMultiChannel(type))
        name += shown.At(channel);
    else
        name.AppendFormat("%d", channel + 1);
    return name;
}

namespace {

// Finds the first named type in a text, as a whole word; reports where its name stands.
uint32_t FindTypeName(const char* text, int32_t* position, int32_t* length) {
    if (!text) return TKNoSpace;
    const std::vector<uint32_t>& types = NamedTypes();
    for (uint32_t type : types) {
        if (GetTypeName(type) == text) {
            if (position) *position = 0;
            if (length) *length = int32_t(std::strlen(text));
            return type;
        }
    }
    for (uint32_t type : types) {
        const TKString name = GetTypeName(type);
        const size_t nameLength = size_t(name.Length());
        for (const char* hit = std::strstr(text, name); hit; hit = std::strstr(hit + 1, name)) {
            const bool before = hit == text || IsBoundary(hit[-1]);
            const bool after = IsBoundary(hit[nameLength]);
            if (before && after) {
                if (position) *position = int32_t(hit - text);
                if (length) *length = int32_t(nameLength);
                return type;
            }
        }
    }
    return TKNoSpace;
}

}  // namespace

uint32_t GetTypeFromName(const char* text) { return FindTypeName(text, nullptr, nullptr); }

uint32_t FindTypeNameInText(const char* text, int32_t* position, int32_t* length) {
    return FindTypeName(text, position, length);
}
