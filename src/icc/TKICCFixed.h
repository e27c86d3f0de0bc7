// Numbers as ICC files store them: signatures, s15Fixed16, 8.8 gammas and 16-bit ranges.
// Every conversion between the file and doubles goes through these, so the rounding is one rule.
#pragma once

#include <cstdint>

#include "color/TKColors.h"

// A four-character ICC signature, first character in the most significant byte.
constexpr uint32_t TKICCSig(const char (&text)[5]) { return TKColorSig(text); }

constexpr double TKS15Fixed16ToDouble(int32_t v) { return v / 65536.0; }

// Saturates outside the representable range; inside, rounds half up by truncating towards zero
// after adding 0.5, so negative values round differently from positive ones, as files expect.
constexpr int32_t TKDoubleToS15Fixed16(double v) {
    if (v != v) return 0;  // NaN
    if (v < -32768.0) return int32_t(0x80000000u);
    if (v > 32767.0) return 0x7FFFFFFF;
    double t = v * 65536.0 + 0.5;
    if (t >= 2147483647.0) return 0x7FFFFFFF;
    return int32_t(t);
}

// An 8.8 gamma, read as a signed number: a stored 0x8000 is -128.
constexpr double TKFixed8_8ToDouble(uint16_t v) { return int16_t(v) / 256.0; }

constexpr uint16_t TKDoubleToFixed8_8(double v) {
    if (v != v) return 0;  // NaN
    if (v < -256.0) return 0x8001;
    if (v > 255.0) return 0x7FFF;
    return uint16_t(int32_t(v * 256.0 + 0.5));
}

// A 16-bit sample spread over lo..hi.
constexpr double TKWordToRange(uint16_t u, double lo, double hi) { return (u / 65535.0) * (hi - lo) + lo; }

constexpr uint16_t TKRangeToWord(double v, double lo, double hi) {
    double t = (v - lo) * 65535.0 / (hi - lo);
    if (!(t >= 0.0)) return 0;
    if (t >= 65534.5) return 0xFFFF;
    return uint16_t(t + 0.5);
}
