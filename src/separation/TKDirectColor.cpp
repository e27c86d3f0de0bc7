// Device-naive conversions: complements, black folding and the sRGB stand-in for CIE types.
#include "separation/TKDirectColor.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"

namespace {

// sRGB primaries adapted to D50 (Bradford), scaled so that white has Y = 100; the published
// matrix of the sRGB-to-XYZ(D50) conversion and its inverse.
constexpr double kRGBToXYZ[3][3] = {{43.60747, 38.50649, 14.30804},
                                    {22.25045, 71.68786, 6.06169},
                                    {1.39322, 9.71045, 71.41733}};
constexpr double kXYZToRGB[3][3] = {{3.1338561, -1.6168667, -0.4906146},
                                    {-0.9787684, 1.9161415, 0.0334540},
                                    {0.0719453, -0.2289914, 1.4052427}};

double SRGBDecode(double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); }
double SRGBEncode(double v) { return v <= 0.0031308 ? v * 12.92 : 1.055 * std::pow(v, 1.0 / 2.4) - 0.055; }

// Device types whose values read as amounts of ink; RGB is the one device type read as light.
bool IsNaiveInk(uint32_t type) {
    return IsInkSpace(type) || (IsDeviceSpace(type) && type != TKRGBSpace && type != TKHSVSpace && type != TKHLSSpace);
}

[[noreturn]] void NoConversion(uint32_t from, uint32_t to) {
    TKThrowMsg(WrongDataType, TKString::Format("no direct conversion from %s to %s", GetTypeName(from).CString(),
                                               GetTypeName(to).CString())
                                  .CString());
}

// Any naive device colour as inks: RGB as its CMY complement, everything else as it is.
TKVector AsInks(const TKVector& colour) {
    if (uint32_t(colour.GetType()) != TKRGBSpace) return colour;
    TKVector cmy(3, int32_t(TKCMYSpace));
    for (int32_t i = 0; i < 3; ++i) cmy[i] = 100.0 - colour[i] * (100.0 / 255.0);
    return cmy;
}

// Inks as CMY: one channel is gray on all three, black folds into them, extra inks are dropped.
TKVector InksToCMY(const TKVector& ink) {
    TKVector cmy(3, int32_t(TKCMYSpace));
    const int32_t n = ink.GetDim();
    if (n == 1) {
        cmy.Fill(ink[0]);
    } else {
        for (int32_t i = 0; i < std::min(n, 3); ++i) cmy[i] = ink[i];
    }
    if (n >= 4)
        for (int32_t i = 0; i < 3; ++i) cmy[i] = 100.0 - (100.0 - cmy[i]) * (100.0 - ink[3]) * 0.01;
    return cmy;
}

TKVector InksToType(const TKVector& ink, uint32_t wanted) {
    const int32_t n = ink.GetDim();
    const int32_t m = GetChannelCount(wanted);
    if (wanted == TKRGBSpace) {
        TKVector rgb = InksToCMY(ink);
        for (int32_t i = 0; i < 3; ++i) rgb[i] = (100.0 - rgb[i]) * 2.55;
        rgb.SetType(int32_t(wanted));
        return rgb;
    }
    if (m == 3 && n != 3) {
        TKVector cmy = InksToCMY(ink);
        cmy.SetType(int32_t(wanted));
        return cmy;
    }
    TKVector result(m, int32_t(wanted));
    if (m == 1) {
        // Gray is the darkness of the colour: its CMY mean with the black folded in.
        const TKVector cmy = InksToCMY(ink);
        result[0] = n == 1 ? ink[0] : cmy.Mean();
    } else if (n == 1) {
        // Gray goes to the black channel, or to every channel where there is none.
        if (m >= 4) result[3] = ink[0];
        else result.Fill(ink[0]);
    } else {
        for (int32_t i = 0; i < std::min(n, m); ++i) result[i] = ink[i];
    }
    return result;
}

TKVector DeviceToCIE(const TKVector& colour, uint32_t wanted) {
    TKVector rgb = TKDirectConvert(colour, TKRGBSpace);
    TKVector xyz(3, int32_t(TKXYZSpace));
    for (int32_t r = 0; r < 3; ++r)
        for (int32_t c = 0; c < 3; ++c) xyz[r] += kRGBToXYZ[r][c] * SRGBDecode(std::clamp(rgb[c] / 255.0, 0.0, 1.0));
    return ConvertColor(wanted, xyz);
}

TKVector CIEToDevice(const TKVector& colour, uint32_t wanted) {
    const TKVector xyz = ConvertColor(TKXYZSpace, colour);
    TKVector rgb(3, int32_t(TKRGBSpace));
    for (int32_t r = 0; r < 3; ++r) {
        double linear = 0.0;
        for (int32_t c = 0; c < 3; ++c) linear += kXYZToRGB[r][c] * xyz[c] * 0.01;
        rgb[r] = 255.0 * SRGBEncode(std::clamp(linear, 0.0, 1.0));
    }
    return TKDirectConvert(rgb, wanted);
}

}  // namespace

TKVector TKDirectConvert(const TKVector& colour, uint32_t wantedType) {
    const uint32_t type = uint32_t(colour.GetType());
    if (wantedType == 0 || type == wantedType) return colour;
    if (type == 0) {
        TKVector typed(colour);
        typed.SetType(int32_t(wantedType));
        return typed;
    }
    const bool fromCIE = IsCIESpace(type), toCIE = IsCIESpace(wantedType);
    if (fromCIE && toCIE) return ConvertColor(wantedType, colour);
    const bool fromDevice = type == TKRGBSpace || IsNaiveInk(type);
    const bool toDevice = wantedType == TKRGBSpace || IsNaiveInk(wantedType);
    if (fromCIE && toDevice) return CIEToDevice(colour, wantedType);
    if (fromDevice && toCIE) return DeviceToCIE(colour, wantedType);
    if (!fromDevice || !toDevice || GetChannelCount(wantedType) < 1) NoConversion(type, wantedType);
    return InksToType(AsInks(colour), wantedType);
}

void TKFoldIntoBlack(TKVector& colour, double gray) {
    for (int32_t i = 0; i < 3; ++i) colour[i] -= gray;
    colour[3] = 100.0 - (100.0 - gray) * (100.0 - colour[3]) * 0.01;
}

void TKClipToRange(TKVector& colour) {
    const uint32_t type = uint32_t(colour.GetType());
    if (!IsKnownSpace(type) || GetChannelCount(type) != colour.GetDim()) return;
    for (int32_t i = 0; i < colour.GetDim(); ++i)
        colour[i] = std::clamp(colour[i], GetChannelMin(type, i), GetChannelMax(type, i));
}

double TKChannelScale(uint32_t type) {
    if (type == TKRGBSpace) return 255.0;
    if (type == 0 || IsInkSpace(type) || !IsKnownSpace(type)) return 100.0;
    return GetMaxOfAll(type);
}
