// Colours as text: writing values with per-type number formats, reading colours, light
// sources and whites from text, and plain colour words.
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "color/TKSpectral.h"
#include "foundation/TKError.h"

namespace {

// A caller's format must convert exactly one double and nothing else, so that it can never
// read an argument that isn't there.
bool IsSingleDoubleFormat(const char* format) {
    int conversions = 0;
    for (const char* p = format; *p; ++p) {
        if (*p != '%') continue;
        if (p[1] == '%') {
            ++p;
            continue;
        }
        ++p;
        while (*p && std::strchr("-+ #0", *p)) ++p;
        while (std::isdigit(uint8_t(*p))) ++p;
        if (*p == '.') {
            ++p;
            while (std::isdigit(uint8_t(*p))) ++p;
        }
        if (*p == 'l') ++p;
        if (!*p || !std::strchr("fFeEgGaA", *p)) return false;
        ++conversions;
    }
    return conversions == 1;
}

// The built-in format of one channel: more decimals for small ranges, fixed widths when aligned.
const char* ChannelFormat(uint32_t type, int32_t channel, bool aligned) {
    const double max = GetChannelMax(type, channel, kTKRangeReal);
    const bool negative = GetChannelMin(type, channel) < 0.0;
    if (max < 10.0) return !aligned ? "%.4f " : negative ? "%7.4f " : "%6.4f ";
    if (IsCIESpace(type) || max < 100.0) return !aligned ? "%.2f " : negative ? "%6.2f " : "%5.2f ";
    if (max < 1000.0) return !aligned ? "%.1f " : negative ? "%6.1f " : "%5.1f ";
    return "%.1f ";
}

void TrimRight(std::string& s) {
    while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\n' || s.back() == '\r')) s.pop_back();
}

bool IsSeparator(char c) { return std::isspace(uint8_t(c)) || c == ',' || c == ';'; }

std::vector<std::string> Tokens(const std::string& text) {
    std::vector<std::string> tokens;
    size_t i = 0;
    while (i < text.size()) {
        while (i < text.size() && IsSeparator(text[i])) ++i;
        size_t start = i;
        while (i < text.size() && !IsSeparator(text[i])) ++i;
        if (i > start) tokens.push_back(text.substr(start, i - start));
    }
    return tokens;
}

bool ParseNumber(const std::string& token, double& value) {
    char* end = nullptr;
    value = std::strtod(token.c_str(), &end);
    return end && end != token.c_str() && *end == 0 && std::isfinite(value);
}

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// "D" and two digits: the name of the daylight spectrum the text asks for, or empty.
std::string DaylightName(const char* text) {
    const size_t length = std::strlen(text);
    if (length <= 2 || text[0] != 'D' || !IsDigit(text[1]) || !IsDigit(text[2])) return std::string();
    const std::string digits(text, 3);
    if (!std::strcmp(text + 3, "UV")) return digits + "UV";
    if (length == 3 || !IsDigit(text[3])) return digits;
    return std::string();  // a fourth digit: not a daylight name
}

bool ReadLightSource(const char* text, TKVector& result) {
    std::string name = DaylightName(text);
    if (name.empty()) {
        static const char* const kNames[] = {"A", "Equal", "Uniform", "F1", "F2", "F3", "F4", "F5", "F6", "F7",
                                             "F8", "F9", "F10", "F11", "F12"};
        for (const char* known : kNames)
            if (!std::strcmp(text, known)) name = known;
    }
    if (name.empty()) return false;
    TKVector spectrum = GetIlluminantSpectrum(name.c_str());
    if (spectrum.IsEmpty()) return false;  // a daylight temperature the formula doesn't cover
    result = spectrum;
    return true;
}

bool ReadWhite(const char* text, TKVector& result) {
    const int32_t xyz = int32_t(TKXYZSpace);
    if (std::strlen(text) == 3 && text[0] == 'D' && IsDigit(text[1]) && IsDigit(text[2])) {
        const double kelvin = GetNominalDaylightKelvin((text[1] - '0') * 10 + (text[2] - '0'));
        if (kelvin < 4000.0 || kelvin > 25000.0) return false;
        double x, y;
        GetDaylightChromaticity(kelvin, x, y);
        result = TKVector({100.0 * x / y, 100.0, 100.0 * (1.0 - x - y) / y}, xyz);
        return true;
    }
    // The daylight whites come from the formula above; the others are the stored constants.
    for (const char* name : {"A", "C", "F2", "F7", "F11"}) {
        if (!std::strcmp(text, name)) {
            const double* w = GetStoredWhite(name);
            result = TKVector({w[0], w[1], w[2]}, xyz);
            return true;
        }
    }
    return false;
}

}  // namespace

TKString GetColorText(const TKVector& colour, const char* format, int32_t flags) {
    if (format && !IsSingleDoubleFormat(format)) TKThrow(ArgErr);
    const uint32_t type = uint32_t(colour.GetType());
    std::string text;
    char buffer[128];
    for (int32_t i = 0; i < colour.GetDim(); ++i) {
        const char* f = format ? format : ChannelFormat(type, i, (flags & kTKColorTextAligned) != 0);
        std::snprintf(buffer, sizeof buffer, f, colour[i]);
        std::string piece(buffer);
        if ((flags & kTKColorTextCommas) && i + 1 < colour.GetDim()) {
            TrimRight(piece);
            piece += ',';
        }
        text += piece;
    }
    if (flags & kTKColorTextWithType) {
        TrimRight(text);
        text += ' ';
        text += GetTypeName(type).CString();
    }
    TrimRight(text);
    return TKString(text.c_str());
}

void GetColorFromText(TKVector& result, uint32_t type, const char* text, bool strict) {
    result = TKVector();
    if (!text) {
        if (strict) TKThrow(WrongDataType);
        return;
    }
    if ((type == TKNoSpace || type == TKEmisSpace) && ReadLightSource(text, result)) return;
    if ((type == TKNoSpace || type == TKXYZSpace || type == TKCIEClassSpace) && ReadWhite(text, result)) return;

    std::string rest(text);
    int32_t position = 0, length = 0;
    if (const uint32_t named = FindTypeNameInText(text, &position, &length)) {
        type = named;
        rest.erase(size_t(position), size_t(length));
    }
    const std::vector<std::string> tokens = Tokens(rest);
    auto fail = [&](int32_t code) {
        result = TKVector();
        if (strict) TKThrow(code);
    };

    const bool countDecides = type == TKNoSpace || type == TKDevClassSpace || type == TKNormClassSpace ||
                              type == TKCIEClassSpace;
    if (countDecides) {
        std::vector<double> values;
        for (const std::string& token : tokens) {
            double v;
            if (!ParseNumber(token, v)) return fail(WrongDataType);
            values.push_back(v);
        }
        const int32_t n = int32_t(values.size());
        uint32_t resultType = type;
        if (type == TKDevClassSpace && n != 3) resultType = GetDeviceType(n);
        if (type == TKNormClassSpace) resultType = GetNormType(n);
        if (type == TKCIEClassSpace && n != 3) {
            if (n != kTKSpectralChannels) return fail(WrongDataType);
            resultType = TKReflSpace;
        }
        result = TKVector(n, int32_t(resultType));
        for (int32_t i = 0; i < n; ++i) result[i] = values[size_t(i)];
        return;
    }

    const int32_t channels = GetChannelCount(type);
    TKVector colour(channels, int32_t(type));
    for (int32_t i = 0; i < channels; ++i) {
        if (size_t(i) >= tokens.size()) return fail(BufferTooSmall);
        if (!ParseNumber(tokens[size_t(i)], colour[i])) return fail(WrongDataType);
    }
    result = colour;
}

const char* GetColorNameOf(const TKVector& colour) {
    const uint32_t type = uint32_t(colour.GetType());
    // Only a CIE colour has an appearance; asking costs no error record.
    if (!IsCIESpace(type) || colour.GetDim() < GetChannelCount(type)) return "";
    const TKVector jch = ConvertColor(TKJChSpace, colour);
    const double j = jch[0], c = jch[1];
    double h = std::fmod(jch[2], 360.0);
    if (h < 0.0) h += 360.0;
    if (c >= 15.0) {
        if (h < 20.0 || h > 315.0) return "Magenta";
        if (h < 45.0) return "Red";
        if (h < 80.0) return "Orange";
        if (h < 110.0) return "Yellow";
        if (h < 185.0) return "Green";
        if (h < 240.0) return "Cyan";
        if (h < 280.0) return "Blue";
        return "Violet";
    }
    if (j >= 70.0) return "White";
    if (j >= 30.0) return "Gray";
    return "Black";
}
