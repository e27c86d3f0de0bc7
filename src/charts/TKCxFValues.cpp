// Colour values of CxF3 objects.
#include "charts/TKCxFValues.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "color/TKColors.h"

namespace {

// The elements with fixed channels.
struct FixedKind {
    const char* element;
    uint32_t type;
    const char* channels[4];
};

const FixedKind kFixed[] = {
    {"ColorCIELab", TKLabSpace, {"L", "A", "B", nullptr}},
    {"ColorCIEXYZ", TKXYZSpace, {"X", "Y", "Z", nullptr}},
    {"ColorCIELCh", TKLChSpace, {"L", "C", "H", nullptr}},
    {"ColorCIELCH", TKLChSpace, {"L", "C", "H", nullptr}},
    {"ColorCIELuv", TKLuvSpace, {"L", "U", "V", nullptr}},
    {"ColorRGB", TKRGBSpace, {"R", "G", "B", nullptr}},
    {"ColorCMYK", TKCMYKSpace, {"Cyan", "Magenta", "Yellow", "Black"}},
};

struct SpectrumKind {
    const char* element;
    uint32_t type;
};

const SpectrumKind kSpectra[] = {
    {"ReflectanceSpectrum", TKReflSpace},
    {"EmissiveSpectrum", TKEmisSpace},
    {"TransmittanceSpectrum", TKTranSpace},
};

// Elements whose channels are their numeric children in order.
const char* const kByCount[] = {"ColorCustom", "ColorCMYKPlusN", "ColorRecipe"};

// Wavelengths a spectrometer can report; anything outside is a broken file.
constexpr double kMinWavelength = 100.0, kMaxWavelength = 2500.0;
constexpr int32_t kMaxSpectralValues = 4096;

const FixedKind* FindFixed(const TKString& name) {
    for (const FixedKind& kind : kFixed)
        if (name == kind.element) return &kind;
    return nullptr;
}

const SpectrumKind* FindSpectrum(const TKString& name) {
    for (const SpectrumKind& kind : kSpectra)
        if (name == kind.element) return &kind;
    return nullptr;
}

bool IsByCount(const TKString& name) {
    for (const char* element : kByCount)
        if (name == element) return true;
    return false;
}

bool ReadSpectrum(const TKCxFElement& element, uint32_t type, double startWL, double increment, TKVector& value,
                  TKString& problem, TKCxFSpectrumRange* measured) {
    if (element.HasAttribute("StartWL") && !TKCxFParseNumber(element.Attribute("StartWL"), startWL)) {
        problem = TKString::Format("StartWL \"%s\" is no number", element.Attribute("StartWL").Left(40).CString());
        return false;
    }
    std::vector<double> samples;
    const char* p = element.text.CString();
    while (*p) {
        while (*p == ' ' || *p == '\t' || *p == '\r' || *p == '\n') ++p;
        if (!*p) break;
        const char* start = p;
        while (*p && *p != ' ' && *p != '\t' && *p != '\r' && *p != '\n') ++p;
        double number = 0;
        if (!TKCxFParseNumber(TKString(start, int32_t(p - start)), number)) {
            problem = TKString::Format("\"%s\" is no number", TKString(start, int32_t(p - start)).Left(40).CString());
            return false;
        }
        if (samples.size() >= size_t(kMaxSpectralValues)) {
            problem = TKString::Format("more than %d values", kMaxSpectralValues);
            return false;
        }
        samples.push_back(number);
    }
    const double endWL = startWL + increment * double(samples.size() > 0 ? samples.size() - 1 : 0);
    if (samples.empty()) {
        problem = "no values";
        return false;
    }
    if (!(startWL >= kMinWavelength && endWL <= kMaxWavelength)) {
        problem = TKString::Format("wavelengths %g to %g nm", startWL, endWL);
        return false;
    }
    if (endWL < kTKSpectralStartNM || startWL > kTKSpectralStartNM + (kTKSpectralChannels - 1) * kTKSpectralStepNM) {
        problem = TKString::Format("wavelengths %g to %g nm do not reach 380 to 730 nm", startWL, endWL);
        return false;
    }
    if (measured) *measured = {startWL, int32_t(samples.size())};
    // Onto the grid: measured bands as they are, between them linearly, beyond the ends the
    // nearest measured value, as the CGATS reader extends a short spectrum.
    value = TKVector(kTKSpectralChannels, int32_t(type));
    for (int32_t k = 0; k < kTKSpectralChannels; ++k) {
        const double position = (kTKSpectralStartNM + k * kTKSpectralStepNM - startWL) / increment;
        if (position <= 0) {
            value[k] = samples.front();
        } else if (position >= double(samples.size() - 1)) {
            value[k] = samples.back();
        } else {
            const double below = std::floor(position);
            const size_t i = size_t(below);
            const double t = position - below;
            value[k] = t == 0 ? samples[i] : samples[i] + (samples[i + 1] - samples[i]) * t;
        }
    }
    return true;
}

bool ReadFixed(const TKCxFElement& element, const FixedKind& kind, TKVector& value, TKString& problem) {
    const int32_t n = GetChannelCount(kind.type);
    value = TKVector(n, int32_t(kind.type));
    for (int32_t c = 0; c < n; ++c) {
        const TKCxFElement channel = element.Child(kind.channels[c]);
        if (!channel.IsValid()) {
            problem = TKString::Format("%s lacks %s", kind.element, kind.channels[c]);
            return false;
        }
        if (!TKCxFParseNumber(channel.text, value[c])) {
            problem = TKString::Format("%s %s \"%s\" is no number", kind.element, kind.channels[c], channel.text.Left(40).CString());
            return false;
        }
    }
    return true;
}

// A custom value: a "CustomColorSpace" that names one of our types, then the numbers in order.
bool ReadByCount(const TKCxFElement& element, const TKString& name, TKVector& value, TKString& problem) {
    std::vector<TKString> names;
    const std::vector<TKCxFElement> children = element.AllChildren(&names);
    std::vector<double> numbers;
    uint32_t named = 0;
    for (size_t i = 0; i < children.size(); ++i) {
        if (names[i] == "CustomColorSpace") {
            named = TKString(children[i].text + "    ").Left(4).ToSignature();
            continue;
        }
        double number = 0;
        if (!TKCxFParseNumber(children[i].text, number)) {
            problem = TKString::Format("%s %s \"%s\" is no number", name.CString(), names[i].CString(),
                                       children[i].text.Left(40).CString());
            return false;
        }
        numbers.push_back(number);
    }
    const int32_t n = int32_t(numbers.size());
    if (n < 1 || n > 15) {
        problem = TKString::Format("%s with %d channels", name.CString(), n);
        return false;
    }
    uint32_t type = name == "ColorCMYKPlusN" && n == 4 ? uint32_t(TKCMYKSpace) : GetPureColorType(n);
    if (named && IsKnownSpace(named) && GetChannelCount(named) == n && !IsSpectral(named)) type = named;
    value = TKVector(n, int32_t(type));
    for (int32_t c = 0; c < n; ++c) value[c] = numbers[size_t(c)];
    return true;
}

}  // namespace

const char* TKCxFValueElement(uint32_t type) {
    for (const FixedKind& kind : kFixed)
        if (kind.type == type) return kind.element;
    for (const SpectrumKind& kind : kSpectra)
        if (kind.type == type) return kind.element;
    return "ColorCustom";
}

bool TKCxFIsValueElement(const TKString& localName) {
    return FindFixed(localName) || FindSpectrum(localName) || IsByCount(localName);
}

bool TKCxFReadValue(const TKCxFElement& element, const TKString& localName, double startWL, double increment,
                    TKVector& value, TKString& problem, TKCxFSpectrumRange* measured) {
    if (const SpectrumKind* kind = FindSpectrum(localName))
        return ReadSpectrum(element, kind->type, startWL, increment, value, problem, measured);
    if (const FixedKind* kind = FindFixed(localName)) return ReadFixed(element, *kind, value, problem);
    if (IsByCount(localName)) return ReadByCount(element, localName, value, problem);
    problem = TKString::Format("%s is no colour value", localName.CString());
    return false;
}

TKCxFElement TKCxFMakeValue(const TKVector& value, const TKString& specID, int32_t first, int32_t last) {
    const uint32_t type = uint32_t(value.GetType());
    const char* name = TKCxFValueElement(type);
    TKCxFElement element = TKCxFElement::Make((TKString("cc:") + name).CString());
    element.SetAttribute("ColorSpecification", specID);
    if (IsSpectral(type) && FindSpectrum(name)) {
        if (last < 0 || last >= value.GetDim()) last = value.GetDim() - 1;
        if (first < 0 || first > last) first = 0;
        element.SetAttribute("StartWL", TKString::FromInt(kTKSpectralStartNM + first * kTKSpectralStepNM));
        TKString text;
        for (int32_t c = first; c <= last; ++c) {
            if (c > first) text += ' ';
            text += TKCxFNumber(value[c], "%.4f");
        }
        element.text = text;
        return element;
    }
    if (const FixedKind* kind = FindFixed(name)) {
        for (int32_t c = 0; c < value.GetDim(); ++c)
            element.AddChild((TKString("cc:") + kind->channels[c]).CString(), TKCxFNumber(value[c]));
        return element;
    }
    element.AddChild("cc:CustomColorSpace", TKString::FromSignature(type).Trim(" "));
    for (int32_t c = 0; c < value.GetDim(); ++c)
        element.AddChild(TKString::Format("cc:C%d", c + 1).CString(), TKCxFNumber(value[c]));
    return element;
}

TKString TKCxFNumber(double value, const char* format) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    if (std::strtod(text, nullptr) == value) return text;
    for (int precision = 1; precision <= 17; ++precision) {
        std::snprintf(text, sizeof text, "%.*g", precision, value);
        if (std::strtod(text, nullptr) == value) break;
    }
    return text;
}

bool TKCxFParseNumber(const TKString& text, double& value) {
    TKString trimmed = text;
    trimmed.Trim(" \t\r\n");
    if (trimmed.IsEmpty()) return false;
    const char* start = trimmed.CString();
    // Hexadecimal floats, infinities and NaN are no numbers of a colour file.
    for (const char* p = start; *p; ++p)
        if (!std::strchr("0123456789+-.eE", *p)) return false;
    char* end = nullptr;
    value = std::strtod(start, &end);
    return end && *end == 0 && std::isfinite(value);
}
