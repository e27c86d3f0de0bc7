// TKString Unicode conversions, checked against the byte sequences of the Unicode standard:
// U+00E9 is C3 A9 in UTF-8, U+20AC is E2 82 AC (UTF-16 20AC), U+1F600 is F0 9F 98 80
// (UTF-16 surrogate pair D83D DE00).
#include <string>
#include <vector>

#include "foundation/TKString.h"
#include "support/TestSupport.h"

namespace {
std::vector<uint8_t> Bytes(const TKString& s) {
    const auto* p = reinterpret_cast<const uint8_t*>(s.CString());
    return std::vector<uint8_t>(p, p + s.Length());
}
const char kSample[] = "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80" "A";  // é € 😀 A
}  // namespace

TEST(StringUnicode, ToUTF16BothByteOrders) {
    TKString s(kSample);
    EXPECT_EQ(Bytes(s.ToUTF16(0, false)),
              (std::vector<uint8_t>{0x00, 0xE9, 0x20, 0xAC, 0xD8, 0x3D, 0xDE, 0x00, 0x00, 0x41}));
    EXPECT_EQ(Bytes(s.ToUTF16(1, false)),
              (std::vector<uint8_t>{0xE9, 0x00, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, 0x41, 0x00}));
    // The byte order mark is 65279 (U+FEFF) in the chosen order.
    std::vector<uint8_t> bom = Bytes(TKString("A").ToUTF16(1, true));
    EXPECT_EQ(bom, (std::vector<uint8_t>{0xFF, 0xFE, 0x41, 0x00}));
    EXPECT_EQ(Bytes(TKString("A").ToUTF16(0, true)), (std::vector<uint8_t>{0xFE, 0xFF, 0x00, 0x41}));
    // The result also reads as a terminated wide string.
    TKString wide = TKString("A").ToUTF16(0, false);
    EXPECT_EQ(wide.CString()[2], 0);
    EXPECT_EQ(wide.CString()[3], 0);
}

TEST(StringUnicode, FromUTF16AndUTF32) {
    const uint8_t be[] = {0x00, 0xE9, 0x20, 0xAC, 0xD8, 0x3D, 0xDE, 0x00, 0x00, 0x41};
    EXPECT_STREQ(TKString::FromUTF16(be, sizeof be, 2, 0).CString(), kSample);
    const uint8_t le[] = {0xE9, 0x00, 0xAC, 0x20, 0x3D, 0xD8, 0x00, 0xDE, 0x41, 0x00};
    EXPECT_STREQ(TKString::FromUTF16(le, sizeof le, 2, 1).CString(), kSample);
    const uint8_t utf32le[] = {0xE9, 0, 0, 0, 0x00, 0xF6, 0x01, 0x00};
    EXPECT_STREQ(TKString::FromUTF16(utf32le, sizeof utf32le, 4, 1).CString(), "\xC3\xA9\xF0\x9F\x98\x80");
    // A byte order mark in the data overrides the caller's order and is dropped.
    const uint8_t marked[] = {0xFF, 0xFE, 0xAC, 0x20};
    EXPECT_STREQ(TKString::FromUTF16(marked, sizeof marked, 2, 0).CString(), "\xE2\x82\xAC");
    // Stops at a zero unit; ignores a trailing odd byte.
    const uint8_t terminated[] = {0x00, 0x41, 0x00, 0x00, 0x00, 0x42};
    EXPECT_STREQ(TKString::FromUTF16(terminated, sizeof terminated, 2, 0).CString(), "A");
    const uint8_t odd[] = {0x00, 0x41, 0x00};
    EXPECT_STREQ(TKString::FromUTF16(odd, sizeof odd, 2, 0).CString(), "A");
    EXPECT_TRUE(TKString::FromUTF16(nullptr, 4, 2, 0).IsEmpty());
    EXPECT_TRUE(TKString::FromUTF16(be, -2, 2, 0).IsEmpty());
    EXPECT_TRUE(TKString::FromUTF16(be, 4, 3, 0).IsEmpty());
}

TEST(StringUnicode, BrokenSurrogatesBecomeReplacementCharacters) {
    const uint8_t lone[] = {0xD8, 0x3D, 0x00, 0x41, 0xDE, 0x00};  // high, 'A', low
    EXPECT_STREQ(TKString::FromUTF16(lone, sizeof lone, 2, 0).CString(), "\xEF\xBF\xBD" "A\xEF\xBF\xBD");
    const uint8_t beyond[] = {0x00, 0x11, 0x00, 0x00};  // U+110000 in UTF-32
    EXPECT_STREQ(TKString::FromUTF16(beyond, sizeof beyond, 4, 0).CString(), "\xEF\xBF\xBD");
}

TEST(StringUnicode, InvalidUTF8IsReplacedAndDecodingGoesOn) {
    auto units = [](const char* utf8) {
        std::vector<uint8_t> b = Bytes(TKString(utf8).ToUTF16(0, false));
        std::vector<int> u;
        for (size_t i = 0; i + 1 < b.size(); i += 2) u.push_back(b[i] << 8 | b[i + 1]);
        return u;
    };
    // A continuation byte where a character should start, and bytes that never start one.
    EXPECT_EQ(units("a\x80" "b"), (std::vector<int>{'a', 0xFFFD, 'b'}));
    EXPECT_EQ(units("\xFF\xFE"), (std::vector<int>{0xFFFD, 0xFFFD}));
    // Overlong "/" (C0 AF), an encoded surrogate (ED A0 80), a value above U+10FFFF (F4 90 80 80).
    EXPECT_EQ(units("\xC0\xAF"), (std::vector<int>{0xFFFD, 0xFFFD}));
    EXPECT_EQ(units("\xED\xA0\x80"), (std::vector<int>{0xFFFD, 0xFFFD, 0xFFFD}));
    EXPECT_EQ(units("\xF4\x90\x80\x80").size(), 4u);
    // A sequence cut short keeps the byte that cut it.
    EXPECT_EQ(units("\xE2\x82" "A"), (std::vector<int>{0xFFFD, 0xFFFD, 'A'}));
    EXPECT_EQ(units("\xE2"), (std::vector<int>{0xFFFD}));
    // The largest values of each length still decode.
    EXPECT_EQ(units("\xDF\xBF\xEF\xBF\xBF\xF4\x8F\xBF\xBF"), (std::vector<int>{0x7FF, 0xFFFF, 0xDBFF, 0xDFFF}));
}

TEST(StringUnicode, RoundTripOverAllPlanes) {
    TKString all;
    std::vector<uint8_t> utf16;
    for (uint32_t cp = 1; cp <= 0x10FFFF; cp += (cp < 0x800 ? 1 : 97)) {
        if (cp >= 0xD800 && cp <= 0xDFFF) continue;
        uint8_t le[4] = {uint8_t(cp), uint8_t(cp >> 8), uint8_t(cp >> 16), 0};
        all.Append(TKString::FromUTF16(le, 4, 4, 1));
    }
    TKString wide = all.ToUTF16(1, true);
    EXPECT_TRUE(TKString::FromUTF16(wide.CString(), wide.Length(), 2, 1) == all);
}

TEST(StringUnicode, Latin1BothWays) {
    TKString utf8 = TKString::FromLatin1("caf\xE9 \xA0\xFF", -1);
    EXPECT_STREQ(utf8.CString(), "caf\xC3\xA9 \xC2\xA0\xC3\xBF");
    EXPECT_STREQ(TKString::FromLatin1("a\xE9z", 2).CString(), "a\xC3\xA9");
    EXPECT_TRUE(TKString::FromLatin1(nullptr, 3).IsEmpty());
    EXPECT_STREQ(utf8.ToLatin1().CString(), "caf\xE9 \xA0\xFF");
    // Characters beyond Latin-1 become "?"; a byte that is not UTF-8 stays as it was.
    EXPECT_STREQ(TKString("\xE2\x82\xAC 5").ToLatin1().CString(), "? 5");
    EXPECT_STREQ(TKString("\xE9t\xE9").ToLatin1().CString(), "\xE9t\xE9");
    std::string every;
    for (int c = 1; c < 256; ++c) every.push_back(char(c));
    TKString round = TKString::FromLatin1(every.c_str(), int32_t(every.size())).ToLatin1();
    EXPECT_EQ(std::string(round.CString(), size_t(round.Length())), every);
}
