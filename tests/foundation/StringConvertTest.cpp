// TKString conversions: numbers, signatures, quoting, hex, URL and high-byte escapes.
#include <clocale>
#include <climits>

#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(StringNumbers, Integers) {
    EXPECT_EQ(TKString("42abc").ToInt(), 42);
    EXPECT_EQ(TKString("  -17").ToInt(), -17);
    EXPECT_EQ(TKString("x").ToInt(), 0);
    EXPECT_EQ(TKString("99999999999").ToInt(), INT32_MAX);
    EXPECT_EQ(TKString("-9000000000").ToInt64(), -9000000000LL);
    EXPECT_EQ(TKString("123x4").ToInt64(), 123);
    EXPECT_EQ(TKString("").ToInt64(), 0);
    EXPECT_TRUE(TKString("").IsInteger());
    EXPECT_TRUE(TKString("-12").IsInteger());
    EXPECT_TRUE(TKString("0042").IsInteger());
    EXPECT_FALSE(TKString("-").IsInteger());
    EXPECT_FALSE(TKString("1.0").IsInteger());
    EXPECT_FALSE(TKString("+1").IsInteger());
    EXPECT_FALSE(TKString(" 1").IsInteger());
    EXPECT_STREQ(TKString::FromInt(-5).CString(), "-5");
    EXPECT_STREQ(TKString::FromLong(-1234567890123L).CString(), "-1234567890123");
    EXPECT_STREQ(TKString::FromULong(18446744073709551615UL).CString(), "18446744073709551615");
}

TEST(StringNumbers, DoublesReadCommaAndIgnoreTheHostLocale) {
    TKString s("1,5");
    EXPECT_DOUBLE_EQ(s.ToDouble(), 1.5);
    EXPECT_STREQ(s.CString(), "1,5");
    EXPECT_DOUBLE_EQ(TKString("-2.25e2").ToDouble(), -225.0);
    EXPECT_DOUBLE_EQ(TKString(" 0.5 rest").ToDouble(), 0.5);
    EXPECT_DOUBLE_EQ(TKString("abc").ToDouble(), 0.0);
    // A host that switched to a comma locale still gets "." read as the decimal point.
    const char* previous = std::setlocale(LC_NUMERIC, nullptr);
    std::string saved = previous ? previous : "C";
    if (std::setlocale(LC_NUMERIC, "de_DE.UTF-8")) {
        EXPECT_DOUBLE_EQ(TKString("3.75").ToDouble(), 3.75);
        std::setlocale(LC_NUMERIC, saved.c_str());
    }
}

TEST(StringNumbers, BoolsSignaturesAndZeros) {
    EXPECT_TRUE(TKString("1").ToBool());
    EXPECT_TRUE(TKString("-3").ToBool());
    EXPECT_TRUE(TKString("TRUE").ToBool());
    EXPECT_TRUE(TKString("Yes").ToBool());
    EXPECT_FALSE(TKString("0").ToBool());
    EXPECT_FALSE(TKString("no").ToBool());
    EXPECT_FALSE(TKString("yess").ToBool());
    EXPECT_FALSE(TKString("").ToBool());
    EXPECT_EQ(TKString("Lab").ToSignature(), 0x4C616220u);  // "Lab " with a trailing blank
    EXPECT_EQ(TKString("CMYKX").ToSignature(), 0x434D594Bu);
    EXPECT_EQ(TKString("").ToSignature(), 0u);
    EXPECT_STREQ(TKString::FromSignature(0x4C616220u).CString(), "Lab ");
    EXPECT_STREQ(TKString("1.500000").StripZeros().CString(), "1.5");
    EXPECT_STREQ(TKString("2.000000").StripZeros().CString(), "2");
    EXPECT_STREQ(TKString("100").StripZeros().CString(), "100");
    EXPECT_STREQ(TKString("0.0").StripZeros().CString(), "0");
    EXPECT_STREQ(TKString("1.5e10").StripZeros().CString(), "1.5e10");
}

TEST(StringQuoting, QuoteAndUnquoteRoundTrip) {
    TKString raw("say \"hi\" to C:\\dir");
    TKString quoted = raw.Quote(true);
    EXPECT_STREQ(quoted.CString(), "\"say \\\"hi\\\" to C:\\\\dir\"");
    EXPECT_STREQ(quoted.Unquote().CString(), raw.CString());
    EXPECT_STREQ(raw.Quote(false).CString(), "\"say \"hi\" to C:\\dir\"");
    EXPECT_STREQ(TKString("plain").Unquote().CString(), "plain");
    EXPECT_STREQ(TKString("\"").Unquote().CString(), "\"");
    EXPECT_STREQ(TKString("\"\"").Unquote().CString(), "");
    EXPECT_STREQ(TKString().Quote().CString(), "\"\"");
}

TEST(StringEncoding, Hex) {
    TKString bytes = TKString("00ff7Fa0").HexDecode();
    ASSERT_EQ(bytes.Length(), 4);
    EXPECT_EQ(uint8_t(bytes.At(1)), 0xFF);
    EXPECT_EQ(uint8_t(bytes.At(2)), 0x7F);
    EXPECT_EQ(uint8_t(bytes.At(3)), 0xA0);
    EXPECT_STREQ(TKString("\x01\xAB\xFF").HexEncode().CString(), "01ABFF");
    EXPECT_STREQ(TKString("Lab").HexEncode().HexDecode().CString(), "Lab");
    EXPECT_TKERROR(TKString("abc").HexDecode(), FormatErr);
    EXPECT_TKERROR(TKString("0g").HexDecode(), FormatErr);
    EXPECT_TKERROR(TKString("0 ").HexDecode(), FormatErr);
    EXPECT_TRUE(TKString().HexDecode().IsEmpty());
}

TEST(StringEncoding, URLAndHighBytes) {
    EXPECT_STREQ(TKString("a b%20c").URLEncode().CString(), "a%20b%2520c");
    EXPECT_STREQ(TKString("$&+,/:;=?@\n").URLEncode().CString(), "%24%26%2b%2c%2f%3a%3b%3d%3f%40%0a");
    EXPECT_STREQ(TKString("plain-text_1.icc").URLEncode().CString(), "plain-text_1.icc");
    EXPECT_STREQ(TKString("caf\xC3\xA9 50% & more").EscapeHigh().CString(), "caf%C3%A9 50%25 %26 more");
    EXPECT_STREQ(TKString("ascii").EscapeHigh().CString(), "ascii");
}
