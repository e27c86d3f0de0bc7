// Conversions between doubles and the 8, 16, 32-bit and fixed-point samples of the engine.
// Every place in the system that converts goes through these, so rounding never drifts apart.
#pragma once

#include <cmath>
#include <cstdint>

namespace tk_detail {
// Scales x from [min, max] to [0, full] and rounds half up; `top` is full - 0.5, the point from
// which everything reads as full scale. NaN and everything at or below 0 give 0.
template <class Sample>
inline Sample ScaleToSample(double x, double min, double max, double full, double top) {
    double v = (x - min) * full / (max - min);
    if (!(v > 0.0)) return 0;
    if (v >= top) return static_cast<Sample>(full);
    return static_cast<Sample>(std::trunc(v + 0.5));
}

// Round to nearest with halves away from zero, clamped into [low, high].
inline int32_t RoundFixed(double scaled) {
    return static_cast<int32_t>(scaled >= 0.0 ? std::trunc(scaled + 0.5) : std::trunc(scaled - 0.5));
}
}  // namespace tk_detail

// 16-bit full scale is 65535.
inline uint16_t DoubleToWord(double x, double min, double max) {
    return tk_detail::ScaleToSample<uint16_t>(x, min, max, 65535.0, 65534.5);
}
inline double WordToDouble(uint16_t w, double min, double max) { return min + (max - min) * (w / 65535.0); }

// 8-bit full scale is 255.
inline uint8_t DoubleToByte(double x, double min, double max) {
    return tk_detail::ScaleToSample<uint8_t>(x, min, max, 255.0, 254.5);
}
inline double ByteToDouble(uint8_t b, double min, double max) { return min + (max - min) * (b / 255.0); }

// Unsigned 32-bit full scale is 4294967295.
inline uint32_t DoubleToLong(double x, double min, double max) {
    return tk_detail::ScaleToSample<uint32_t>(x, min, max, 4294967295.0, 4294967294.5);
}
inline double LongToDouble(uint32_t u, double min, double max) { return min + (max - min) * (u / 4294967295.0); }

// Nearest byte of w / 257, except that every word above 65397 reads as 255: the top byte
// takes the band 65398..65406 that nearest rounding gives to 254, so that values just short
// of full scale in 16 bits stay full scale in 8 bits.
inline uint8_t WordToByte(uint16_t w) { return w > 65397 ? 255 : static_cast<uint8_t>((w + 128) / 257); }
inline uint16_t ByteToWord(uint8_t b) { return static_cast<uint16_t>(b * 257); }

// s15.16 fixed point.
inline int32_t DoubleToFixed16(double x) {
    if (x < -32768.0) return INT32_MIN;
    if (x > 32767.0) return INT32_MAX;
    if (std::isnan(x)) return 0;
    return tk_detail::RoundFixed(x * 65536.0);
}
inline double Fixed16ToDouble(int32_t v) { return v * 1.52587890625e-5; }

// s7.8 fixed point, kept symmetric around 0 (-32767 to 32767).
inline int32_t DoubleToFixed8(double x) {
    if (x < -256.0) return -32767;
    if (x > 255.0) return 32767;
    if (std::isnan(x)) return 0;
    return tk_detail::RoundFixed(x * 256.0);
}
inline double Fixed8ToDouble(int32_t v) { return v * 0.00390625; }

// Linear interpolation through (x0, y0) and (x1, y1); two positions closer than 1e-8 count as
// one point, and their mean is the answer.
inline double Lerp(double x0, double y0, double x1, double y1, double x) {
    if (std::fabs(x1 - x0) >= 1e-8) return y0 + (y1 - y0) * ((x - x0) / (x1 - x0));
    return (y0 + y1) * 0.5;
}

// Round to nearest, halves away from zero.
inline double Round(double x) {
    if (x > 0.0) return std::floor(x + 0.5);
    if (x < 0.0) return std::ceil(x - 0.5);
    return x;
}
