// Field names of measurement files, both ways.
#include "charts/TKChartFieldNames.h"

#include <cstring>
#include <mutex>
#include <string>
#include <unordered_map>

#include "color/TKColors.h"

namespace {

const uint32_t kTypes[kTKChartTypeCount] = {
    TKReflSpace, TKEmisSpace, TKTranSpace, TKKelvinSpace, TKXYZSpace, TKLabSpace, TKLChSpace, TKLuvSpace,
    TKYxySpace, TKJChSpace, TKJabSpace, TKRGBSpace, TKHSVSpace, TKHLSSpace, TKCMYSpace, TKCMYKSpace,
    TKGraySpace, TKColorSig("1CLR"), TKColorSig("2CLR"), TKColorSig("3CLR"), TKColorSig("4CLR"),
    TKColorSig("5CLR"), TKColorSig("6CLR"), TKColorSig("7CLR"), TKColorSig("8CLR"), TKColorSig("9CLR"),
    TKColorSig("ACLR"), TKColorSig("BCLR"), TKColorSig("CCLR"), TKColorSig("DCLR"), TKColorSig("ECLR"),
    TKColorSig("FCLR"), TKLcsSpace, TKLcshSpace, TKCMYKDensSpace, TKLabXSpace,
};

// "1CLR" .. "FCLR": their channel count, else 0.
int32_t NumberedInks(uint32_t type) {
    const char digit = char(type >> 24);
    if ((type & 0xFFFFFFu) != (TKColorSig("1CLR") & 0xFFFFFFu)) return 0;
    if (digit >= '1' && digit <= '9') return digit - '0';
    if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
    return 0;
}

std::string Upper(const char* text) {
    std::string out(text);
    for (char& c : out)
        if (c >= 'a' && c <= 'z') c = char(c - 'a' + 'A');
    return out;
}

// Every channel name of every known type, exact and folded; the first type to claim a name
// keeps it, which is the testing order of the types. Spectra enter with their first channel
// only: the later wavelengths follow the spectral type the file began with.
struct NameTable {
    std::unordered_map<std::string, TKChartFieldMeaning> exact, folded;
    NameTable() {
        for (uint32_t type : kTypes) {
            const int32_t n = IsSpectral(type) ? 1 : GetChannelCount(type);
            for (int32_t c = 0; c < n; ++c) {
                const TKString name = TKChartFieldName(type, c);
                exact.emplace(name.CString(), TKChartFieldMeaning{type, c});
                folded.emplace(Upper(name.CString()), TKChartFieldMeaning{type, c});
            }
        }
    }
};

const NameTable& Names() {
    static const NameTable table;  // immutable after its thread-safe first construction
    return table;
}

// The spectral channel whose wavelength the field holds as a number of its own, or -1. Three
// digits are nanometres ("SPEC_380", "nm400"); six digits are nanometres with three decimals
// written without their point ("SPEC_380000"), as some spectral files name their bands.
int32_t WavelengthChannel(const char* field) {
    for (const char* p = field; *p; ++p) {
        if (*p < '0' || *p > '9' || (p > field && p[-1] >= '0' && p[-1] <= '9')) continue;
        int64_t value = 0;
        int32_t digits = 0;
        while (p[digits] >= '0' && p[digits] <= '9' && digits < 7) value = value * 10 + (p[digits++] - '0');
        if (p[digits] >= '0' && p[digits] <= '9') continue;
        if (digits == 6 && value % 1000 == 0)
            value /= 1000;
        else if (digits != 3)
            continue;
        if (value >= kTKSpectralStartNM && value % kTKSpectralStepNM == 0 &&
            (value - kTKSpectralStartNM) / kTKSpectralStepNM < kTKSpectralChannels)
            return int32_t(value - kTKSpectralStartNM) / kTKSpectralStepNM;
    }
    return -1;
}

}  // namespace

uint32_t TKChartType(int32_t index) {
    if (index < 0 || index >= kTKChartTypeCount) TKThrow(IndexError);
    return kTypes[index];
}

TKString TKChartFieldName(uint32_t type, int32_t channel) {
    const int32_t n = GetChannelCount(type);
    if (channel < 0 || channel >= n) return TKString();
    const int32_t nm = kTKSpectralStartNM + kTKSpectralStepNM * channel;
    switch (type) {
        case TKReflSpace: return TKString::Format("SPECTRAL_NM_%d", nm);
        case TKEmisSpace: return TKString::Format("E_%d", nm);
        case TKTranSpace: return TKString::Format("T_%d", nm);
        case TKDensSpace: return TKString::Format("Density_%d", nm);
        default: break;
    }
    if (NumberedInks(type) > 0 || IsMultiChannel(type)) return TKString::Format("PC%d_%d", n, channel + 1);
    TKString name = type == TKLabSpace ? TKString("LAB") : GetTypeName(type);
    const int32_t letters = name.Length();
    name += '_';
    if (letters >= 2 && letters <= 4 && channel < letters)
        name += name.At(channel);
    else
        name.AppendFormat("%d", channel + 1);
    return name;
}

TKChartFieldMeaning TKChartRecogniseField(const char* field, uint32_t spectralType) {
    if (!field || !*field) return {};
    const NameTable& names = Names();
    auto hit = names.exact.find(field);
    if (hit != names.exact.end()) return hit->second;
    hit = names.folded.find(Upper(field));
    if (hit != names.folded.end()) return hit->second;
    const int32_t channel = WavelengthChannel(field);
    if (channel >= 0) {
        if (IsSpectral(spectralType)) return {spectralType, channel};
        return {std::strstr(field, "E_") ? uint32_t(TKEmisSpace) : uint32_t(TKReflSpace), channel};
    }
    return {};
}

const char* TKChartExtraInkName(const char* field) {
    static const char* const kInks[][2] = {
        {"CMYK_R", "Red"}, {"CMYK_O", "Orange"}, {"CMYK_G", "Green"}, {"CMYK_B", "Blue"}, {"CMYK_V", "Violet"}};
    if (!field) return nullptr;
    for (const auto& ink : kInks)
        if (!TKString(field).CompareNoCase(ink[0])) return ink[1];
    if (!std::strncmp(field, "SPOT_", 5) && field[5] >= '1' && field[5] <= '9') return "";
    return nullptr;
}
