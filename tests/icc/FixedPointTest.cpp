// The fixed-point rules of ICC files: s15Fixed16, 8.8 gammas and 16-bit ranges.
#include "icc/TKICCFixed.h"
#include "support/TestSupport.h"

TEST(ICCFixed, S15Fixed16RoundsHalfUpAndSaturates) {
    EXPECT_EQ(TKDoubleToS15Fixed16(1.0), 0x10000);
    EXPECT_EQ(TKDoubleToS15Fixed16(0.9642), 0xF6D6);  // the D50 X of every ICC header: 63190.5 -> 63190
    EXPECT_EQ(TKDoubleToS15Fixed16(32767.5), 0x7FFFFFFF);
    EXPECT_EQ(TKDoubleToS15Fixed16(-32768.5), int32_t(0x80000000u));
    // Truncation towards zero after adding 0.5: -0.00001 becomes 0, -1.5/65536 becomes -1.
    EXPECT_EQ(TKDoubleToS15Fixed16(-0.00001), 0);
    EXPECT_EQ(TKDoubleToS15Fixed16(-1.5 / 65536), -1);
    EXPECT_EQ(TKDoubleToS15Fixed16(1.5 / 65536), 2);
    EXPECT_DOUBLE_EQ(TKS15Fixed16ToDouble(-0x8000), -0.5);
    EXPECT_EQ(TKDoubleToS15Fixed16(0.0 / 0.0), 0);
}

TEST(ICCFixed, Gamma8_8IsSigned) {
    EXPECT_DOUBLE_EQ(TKFixed8_8ToDouble(0x0233), 2.19921875);  // the 2.2 of Adobe RGB compatible profiles
    EXPECT_DOUBLE_EQ(TKFixed8_8ToDouble(0x8000), -128.0);
    EXPECT_EQ(TKDoubleToFixed8_8(2.2), 0x0233);
    EXPECT_EQ(TKDoubleToFixed8_8(300.0), 0x7FFF);
    EXPECT_EQ(TKDoubleToFixed8_8(-300.0), 0x8001);
}

TEST(ICCFixed, WordRanges) {
    EXPECT_DOUBLE_EQ(TKWordToRange(0xFFFF, -128, 127.99609375), 127.99609375);
    EXPECT_DOUBLE_EQ(TKWordToRange(0x8000, 0, 1), 32768.0 / 65535.0);
    EXPECT_EQ(TKRangeToWord(-1, 0, 1), 0);
    EXPECT_EQ(TKRangeToWord(65534.5 / 65535.0, 0, 1), 0xFFFF);
    EXPECT_EQ(TKRangeToWord(0.5, 0, 1), 32768);  // 32767.5 rounds up
    EXPECT_EQ(TKRangeToWord(50, 0, 100), 32768);
}
