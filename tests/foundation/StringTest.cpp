// TKString: sharing, the capacity and growth rules, reading, searching, comparison, editing.
#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(String, EmptyStringsHaveNoBlockAndReadAsEmpty) {
    TKString empty;
    EXPECT_EQ(empty.Length(), 0);
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_STREQ(empty.CString(), "");
    EXPECT_EQ(empty.LockBuffer(1)[0], 0);  // even a locked empty string is terminated
    empty.UnlockBuffer(0);
    EXPECT_TRUE(TKString(nullptr).IsEmpty());
    EXPECT_TRUE(TKString("abc", 0).IsEmpty());
    EXPECT_TRUE(TKString("abc", -4).IsEmpty());
}

TEST(String, CopiesShareTheBlockAndWritesCopyIt) {
    TKString a("colour");
    TKString b = a;
    EXPECT_EQ(a.CString(), b.CString());  // one block
    b.Append("s");
    EXPECT_NE(a.CString(), b.CString());
    EXPECT_STREQ(a.CString(), "colour");
    EXPECT_STREQ(b.CString(), "colours");
    TKString c = a;
    c.ToUpper();
    EXPECT_STREQ(a.CString(), "colour");
    EXPECT_STREQ(c.CString(), "COLOUR");
    TKString d = a;
    d.Remove(0, 1);
    d.Insert(0, "k");
    EXPECT_STREQ(a.CString(), "colour");
    EXPECT_STREQ(d.CString(), "kolour");
    TKString e = a;
    e.ReplaceChar('o', '0');
    EXPECT_STREQ(a.CString(), "colour");
    EXPECT_STREQ(e.CString(), "c0l0ur");
    a = a;  // self-assignment keeps the text
    EXPECT_STREQ(a.CString(), "colour");
}

TEST(String, AppendingFromItselfAndLongLoops) {
    TKString s("ab");
    s.Append(s);
    s.Append(s.CString() + 1, 2);  // bytes inside its own block
    EXPECT_STREQ(s.CString(), "ababba");
    TKString big;
    for (int i = 0; i < 100000; ++i) big.Append(char('a' + i % 26));
    EXPECT_EQ(big.Length(), 100000);
    EXPECT_EQ(big.At(99999), char('a' + 99999 % 26));
    EXPECT_EQ(int(std::strlen(big.CString())), 100000);
}

TEST(String, FormatAndRawBuffer) {
    EXPECT_STREQ(TKString::Format("%d-%s-%.2f", 7, "x", 1.5).CString(), "7-x-1.50");
    EXPECT_EQ(TKString::Format("%s", "").Length(), 0);
    TKString s;
    s.AppendFormat("%03d", 5).AppendFormat("/%c", 'z');
    EXPECT_STREQ(s.CString(), "005/z");
    char* raw = s.LockBuffer(64);
    std::strcpy(raw, "written directly");
    s.UnlockBuffer();  // length unknown: computed on demand
    EXPECT_EQ(s.Length(), 16);
}

TEST(String, ReadingAndIndexErrors) {
    TKString s("profile");
    EXPECT_EQ(s.At(0), 'p');
    EXPECT_EQ(s.At(6), 'e');
    EXPECT_TKERROR(s.At(7), IndexError);
    EXPECT_TKERROR(s.At(-1), IndexError);
    EXPECT_STREQ(s.Left(3).CString(), "pro");
    EXPECT_STREQ(s.Left(99).CString(), "profile");
    EXPECT_STREQ(s.Right(4).CString(), "file");
    EXPECT_STREQ(s.Right(0).CString(), "");
    EXPECT_STREQ(s.Mid(3).CString(), "file");
    EXPECT_STREQ(s.Mid(3, -1).CString(), "file");
    EXPECT_STREQ(s.Mid(2, 2).CString(), "of");
    EXPECT_STREQ(s.Mid(20, 2).CString(), "");
    EXPECT_TKERROR(s.Insert(8, "x"), IndexError);
    EXPECT_TKERROR(s.Insert(-1, "x"), IndexError);
    EXPECT_TKERROR(s.Remove(8, 1), IndexError);
}

TEST(String, Searching) {
    TKString s("Lab Lab LAB");
    EXPECT_EQ(s.Find(""), 0);
    EXPECT_EQ(s.Find("Lab"), 0);
    EXPECT_EQ(s.Find("Lab", 1), 4);
    EXPECT_EQ(s.Find("lab", 5, true), 8);
    EXPECT_EQ(s.Find("lab", 5, false), -1);
    EXPECT_EQ(s.Find("Lab", 20), -1);
    EXPECT_EQ(s.Find(nullptr), -1);
    EXPECT_EQ(s.FindLast("Lab"), 4);
    EXPECT_EQ(s.FindLast("lab", true), 8);
    EXPECT_EQ(s.FindLast("xyz"), -1);
    EXPECT_EQ(s.FindChar('a', 2), 5);
    EXPECT_EQ(s.FindLastChar('a'), 5);
    EXPECT_EQ(s.FindAnyOf("BX"), 10);
    EXPECT_EQ(s.FindAnyOf("xyz"), -1);
    EXPECT_EQ(TKString().Find(""), 0);
    EXPECT_EQ(TKString().FindLast("a"), -1);
    // Case folding covers only A to Z: a byte of 0xC9 does not equal 0xE9.
    EXPECT_EQ(TKString("caf\xC9").Find("\xE9", 0, true), -1);
}

TEST(String, Comparison) {
    TKString s("Apple");
    EXPECT_TRUE(s.Equals("Apple"));
    EXPECT_FALSE(s.Equals("apple"));
    EXPECT_FALSE(s.Equals(nullptr));
    EXPECT_EQ(s.Compare("Apple"), 0);
    EXPECT_LT(s.Compare("Banana"), 0);
    EXPECT_GT(s.Compare("Ap"), 0);
    EXPECT_EQ(s.Compare(s.CString()), 0);
    EXPECT_TKERROR(s.Compare(nullptr), ArgErr);
    EXPECT_TKERROR(s.CompareNoCase(nullptr), ArgErr);
    EXPECT_EQ(s.CompareNoCase("aPPLE"), 0);
    EXPECT_LT(s.CompareNoCase("apples"), 0);
    EXPECT_GT(s.CompareNoCase("APP"), 0);
    // Bytes compare unsigned, and only A to Z fold: "_" (0x5F) lies between "Z" and "a".
    EXPECT_LT(TKString("a").CompareNoCase("\xE9"), 0);
    EXPECT_GT(TKString("a").CompareNoCase("_"), 0);
    EXPECT_NE(TKString("\xC9").CompareNoCase("\xE9"), 0);
    EXPECT_TRUE(TKString("b") < TKString("c"));
    EXPECT_TRUE(TKString("b") == TKString("b"));
}

// Short patterns over "ab*?" are checked against a reference below.
TEST(String, WildcardMatch) {
    EXPECT_TRUE(TKString::Match("*.icc", "a.icc"));
    EXPECT_FALSE(TKString::Match("*.icc", "a.icm"));
    EXPECT_TRUE(TKString::Match("a*b*c", "aXXbYYc"));
    EXPECT_FALSE(TKString::Match("a*b*c", "aXXcYYb"));
    EXPECT_FALSE(TKString::Match("a*cd", "acd!"));
    EXPECT_FALSE(TKString::Match(nullptr, "a"));
    EXPECT_FALSE(TKString::Match("a", nullptr));
    EXPECT_TRUE(TKString("sRGB.icc").Match("s*.icc"));
    // A pattern full of stars against a long text that cannot match: the search must end
    // quickly instead of trying every way to split the text.
    TKString text;
    for (int i = 0; i < 20000; ++i) text.Append('a');
    EXPECT_FALSE(TKString::Match("*a*a*a*a*a*a*a*a*a*a*a*a*b", text.CString()));
    EXPECT_TRUE(TKString::Match("*a*a*a*a*a*a*a*a*a*a*a*a*a", text.CString()));
    // A pattern of many thousand stars needs no deep recursion.
    TKString stars;
    for (int i = 0; i < 10000; ++i) stars.Append("*a");
    EXPECT_TRUE(TKString::Match(stars.CString(), text.CString()));
    stars.Append('b');
    EXPECT_FALSE(TKString::Match(stars.CString(), text.CString()));
}

namespace {
// The textbook dynamic-programming matcher, as an independent reference.
bool ReferenceMatch(const std::string& p, const std::string& t) {
    std::vector<std::vector<char>> m(p.size() + 1, std::vector<char>(t.size() + 1, 0));
    m[0][0] = 1;
    for (size_t i = 1; i <= p.size(); ++i) {
        for (size_t j = 0; j <= t.size(); ++j) {
            if (p[i - 1] == '*')
                m[i][j] = m[i - 1][j] || (j > 0 && m[i][j - 1]);
            else
                m[i][j] = j > 0 && m[i - 1][j - 1] && (p[i - 1] == '?' || p[i - 1] == t[j - 1]);
        }
    }
    return m[p.size()][t.size()];
}
}  // namespace

TEST(String, WildcardMatchAgreesWithAReferenceOnRandomInputs) {
    std::mt19937 random(2024);
    const char patternBytes[] = "ab*?";
    for (int round = 0; round < 20000; ++round) {
        std::string p, t;
        for (size_t n = random() % 8; n > 0; --n) p += patternBytes[random() % 4];
        for (size_t n = random() % 10; n > 0; --n) t += "ab"[random() % 2];
        ASSERT_EQ(TKString::Match(p.c_str(), t.c_str()), ReferenceMatch(p, t)) << p << " vs " << t;
    }
}

TEST(String, ReplaceTrimCase) {
    TKString s("a-b-c-d");
    EXPECT_EQ(s.Replace("-", "+", 2), 2);
    EXPECT_STREQ(s.CString(), "a+b+c-d");
    EXPECT_EQ(s.Replace("-", "--"), 1);
    EXPECT_STREQ(s.CString(), "a+b+c--d");
    EXPECT_EQ(s.Replace("+", ""), 2);
    EXPECT_STREQ(s.CString(), "abc--d");
    EXPECT_EQ(s.Replace("", "x"), 0);
    EXPECT_EQ(s.Replace("zz", "x"), 0);
    TKString t("  \t text \r\n");
    TKString shared = t;
    t.Trim();
    EXPECT_STREQ(t.CString(), "text");
    EXPECT_STREQ(shared.CString(), "  \t text \r\n");
    TKString u("xxabcxx");
    EXPECT_STREQ(TKString(u).Trim("x", true, false).CString(), "abcxx");
    EXPECT_STREQ(TKString(u).Trim("x", false, true).CString(), "xxabc");
    EXPECT_STREQ(TKString("xxxx").Trim("x").CString(), "");
    // Case changes touch only A to Z, so UTF-8 bytes survive unchanged.
    EXPECT_STREQ(TKString("Caf\xC3\xA9 1a").ToUpper().CString(), "CAF\xC3\xA9 1A");
    EXPECT_STREQ(TKString("CAF\xC3\x89").ToLower().CString(), "caf\xC3\x89");
}

TEST(String, InsertRemove) {
    TKString s("color");
    s.Insert(4, "u");
    EXPECT_STREQ(s.CString(), "colour");
    s.Insert(6, "s");
    s.Insert(0, "[");
    EXPECT_STREQ(s.CString(), "[colours");
    s.Remove(0, 1);
    s.Remove(4, -1);
    EXPECT_STREQ(s.CString(), "colo");
    s.Remove(1, 100);
    EXPECT_STREQ(s.CString(), "c");
    s.Remove(1, 5);  // at the end: nothing to remove
    EXPECT_STREQ(s.CString(), "c");
}
