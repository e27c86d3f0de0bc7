// The token reader behind option strings, data base text and charts.
#include <string>

#include "foundation/TKString.h"
#include "support/TestSupport.h"

TEST(StringToken, DefaultSeparatorsSkipWhiteSpace) {
    TKString s("  a  b");
    int32_t pos = 0;
    EXPECT_STREQ(s.NextToken(&pos).CString(), "a");
    EXPECT_STREQ(s.NextToken(&pos).CString(), "b");
    EXPECT_EQ(pos, 6);
    EXPECT_STREQ(s.NextToken(&pos).CString(), "");
    EXPECT_STREQ(s.NextToken(&pos).CString(), "");
    EXPECT_EQ(pos, 6);
    TKString lines("one\ttwo\r\nthree\n");
    EXPECT_EQ(lines.CountTokens(), 3);
    EXPECT_STREQ(lines.Split(2).CString(), "three");
    EXPECT_STREQ(lines.Split(3).CString(), "");
    EXPECT_STREQ(lines.Split(-1).CString(), "");
    EXPECT_EQ(TKString().CountTokens(), 0);
    EXPECT_EQ(TKString(" \t ").CountTokens(), 0);
}

TEST(StringToken, QuotedTokensKeepQuotesAndBackslashes) {
    TKString s("\"x y\" z");
    int32_t pos = 0;
    EXPECT_STREQ(s.NextToken(&pos, true).CString(), "\"x y\"");
    EXPECT_STREQ(s.NextToken(&pos, true).CString(), "z");
    pos = 0;
    EXPECT_STREQ(s.NextToken(&pos, false).CString(), "\"x");  // unquoted reading splits it
    TKString escaped("\"a \\\" b\" c");
    pos = 0;
    EXPECT_STREQ(escaped.NextToken(&pos, true).CString(), "\"a \\\" b\"");
    EXPECT_STREQ(escaped.NextToken(&pos, true).CString(), "c");
    TKString open("\"never closed");
    pos = 0;
    EXPECT_STREQ(open.NextToken(&pos, true).CString(), "\"never closed");
    EXPECT_STREQ(open.Split(0, true).CString(), "\"never closed");
}

TEST(StringToken, OwnSeparatorsAreConsumedAndRunsCollapse) {
    TKString s("key=value;;next = 2");
    int32_t pos = 0;
    EXPECT_STREQ(s.NextToken(&pos, false, "=;").CString(), "key");
    EXPECT_EQ(pos, 4);  // after the "="
    EXPECT_STREQ(s.NextToken(&pos, false, "=;").CString(), "value");
    EXPECT_STREQ(s.NextToken(&pos, false, "=;").CString(), "next ");  // blanks inside stay
    EXPECT_STREQ(s.NextToken(&pos, false, "=;").CString(), "2");
    EXPECT_EQ(s.CountTokens("=;"), 4);
    EXPECT_EQ(s.CountTokens(""), 3);  // empty means white space: "key=value;;next", "=", "2"
}

TEST(StringToken, PositionChecksAndLongTokens) {
    TKString s("abc");
    int32_t pos = -1;
    EXPECT_TKERROR(s.NextToken(&pos), IndexError);
    EXPECT_TKERROR(s.NextToken(nullptr), ArgErr);
    pos = 99;
    EXPECT_STREQ(s.NextToken(&pos).CString(), "");
    EXPECT_EQ(pos, 3);
    // Tokens longer than the collecting block come out whole.
    std::string longWord(1000, 'w');
    longWord[97] = 'X';
    longWord[98] = 'Y';
    TKString text(("  " + longWord + " tail").c_str());
    pos = 0;
    TKString token = text.NextToken(&pos);
    EXPECT_EQ(token.Length(), 1000);
    EXPECT_STREQ(token.CString(), longWord.c_str());
    EXPECT_STREQ(text.NextToken(&pos).CString(), "tail");
}

TEST(StringToken, LeadingZeroBytesAreSkippedLikeBlanks) {
    TKString s("\0\0a,b", 5);
    int32_t pos = 0;
    EXPECT_STREQ(s.NextToken(&pos, false, ",").CString(), "a");
    EXPECT_STREQ(s.NextToken(&pos, false, ",").CString(), "b");
}
