// Sample conversions: the exact rounding points of the 8, 16, 32-bit and fixed-point forms.
#include "numeric/TKSampleConversions.h"
#include "support/TestSupport.h"

#include <cmath>

TEST(SampleConversion, DoubleToWordRoundsAndClamps) {
    EXPECT_EQ(DoubleToWord(0.0, 0.0, 1.0), 0);
    EXPECT_EQ(DoubleToWord(-5.0, 0.0, 1.0), 0);
    EXPECT_EQ(DoubleToWord(1.0, 0.0, 1.0), 65535);
    EXPECT_EQ(DoubleToWord(7.0, 0.0, 1.0), 65535);
    EXPECT_EQ(DoubleToWord(0.99999, 0.0, 1.0), 65534);   // v = 65534.34
    EXPECT_EQ(DoubleToWord(0.999993, 0.0, 1.0), 65535);  // v = 65534.54
    EXPECT_EQ(DoubleToWord(50.0, 0.0, 100.0), 32768);    // 32767.5 rounds half up
    EXPECT_EQ(DoubleToWord(std::nan(""), 0.0, 1.0), 0);
    EXPECT_EQ(DoubleToWord(-128.0, -128.0, 127.0), 0);
}

TEST(SampleConversion, DoubleToByteAndLong) {
    EXPECT_EQ(DoubleToByte(100.0, 0.0, 100.0), 255);
    EXPECT_EQ(DoubleToByte(50.0, 0.0, 100.0), 128);  // 127.5 rounds up
    EXPECT_EQ(DoubleToByte(99.8, 0.0, 100.0), 254);  // 254.49
    EXPECT_EQ(DoubleToByte(99.81, 0.0, 100.0), 255);
    EXPECT_EQ(DoubleToLong(1.0, 0.0, 1.0), 4294967295u);
    EXPECT_EQ(DoubleToLong(0.5, 0.0, 1.0), 2147483648u);
    EXPECT_EQ(DoubleToLong(-1.0, 0.0, 1.0), 0u);
}

TEST(SampleConversion, ToDoubleIsTheLinearInverse) {
    EXPECT_DOUBLE_EQ(WordToDouble(65535, 0.0, 100.0), 100.0);
    EXPECT_DOUBLE_EQ(WordToDouble(0, -128.0, 127.0), -128.0);
    EXPECT_DOUBLE_EQ(ByteToDouble(255, 0.0, 255.0), 255.0);
    EXPECT_DOUBLE_EQ(LongToDouble(4294967295u, 0.0, 2.0), 2.0);
    for (int w = 0; w <= 65535; w += 97) EXPECT_EQ(DoubleToWord(WordToDouble(uint16_t(w), 0.0, 100.0), 0.0, 100.0), w);
    for (int b = 0; b <= 255; ++b) EXPECT_EQ(DoubleToByte(ByteToDouble(uint8_t(b), -1.0, 3.0), -1.0, 3.0), b);
}

TEST(SampleConversion, WordByteRoundTrip) {
    EXPECT_EQ(WordToByte(65397), 254);  // 65525 / 257 = 254.96 truncates
    EXPECT_EQ(WordToByte(65398), 255);
    EXPECT_EQ(WordToByte(0), 0);
    EXPECT_EQ(WordToByte(128), 0);
    EXPECT_EQ(WordToByte(129), 1);
    EXPECT_EQ(ByteToWord(255), 65535);
    for (int b = 0; b <= 255; ++b) EXPECT_EQ(WordToByte(ByteToWord(uint8_t(b))), b);
    // The byte nearest to w/257 for every word, except the band just below full scale that
    // reads as full scale.
    for (int w = 0; w <= 65535; ++w) {
        int expected = w > 65397 ? 255 : int(std::floor(w / 257.0 + 0.5));
        EXPECT_EQ(WordToByte(uint16_t(w)), expected) << w;
    }
}

TEST(SampleConversion, FixedPoint) {
    EXPECT_EQ(DoubleToFixed16(1.0), 65536);
    EXPECT_EQ(DoubleToFixed16(-1.0), -65536);
    EXPECT_EQ(DoubleToFixed16(0.5 / 65536.0), 1);     // half rounds away from zero
    EXPECT_EQ(DoubleToFixed16(-0.5 / 65536.0), -1);
    EXPECT_EQ(DoubleToFixed16(40000.0), INT32_MAX);
    EXPECT_EQ(DoubleToFixed16(-40000.0), INT32_MIN);
    EXPECT_DOUBLE_EQ(Fixed16ToDouble(DoubleToFixed16(0.9642)), 63190 / 65536.0);  // D50 X in s15.16
    EXPECT_EQ(DoubleToFixed8(1.5), 384);
    EXPECT_EQ(DoubleToFixed8(300.0), 32767);
    EXPECT_EQ(DoubleToFixed8(-300.0), -32767);
    EXPECT_EQ(DoubleToFixed8(std::nan("")), 0);
    EXPECT_DOUBLE_EQ(Fixed8ToDouble(384), 1.5);
}

TEST(SampleConversion, LerpAndRound) {
    EXPECT_DOUBLE_EQ(Lerp(0.0, 10.0, 1.0, 20.0, 0.25), 12.5);
    EXPECT_DOUBLE_EQ(Lerp(2.0, 10.0, 2.0 + 1e-9, 20.0, 7.0), 15.0);  // coincident positions
    EXPECT_DOUBLE_EQ(Lerp(0.0, 0.0, 1.0, 1.0, 2.0), 2.0);            // extrapolates
    EXPECT_EQ(Round(2.5), 3.0);
    EXPECT_EQ(Round(-2.5), -3.0);
    EXPECT_EQ(Round(-2.4), -2.0);
    EXPECT_EQ(Round(0.0), 0.0);
}
