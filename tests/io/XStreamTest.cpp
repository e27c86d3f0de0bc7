// Filters and the text services of TKXStream: tokens, lines, saved positions, wrapped output.
#include <cstring>
#include <string>

#include "io/TKBuffer.h"
#include "io/TKXStream.h"
#include "support/TestSupport.h"

namespace {
// A buffer over a literal text.
struct Text {
    explicit Text(const char* text) : buffer(text, uint32_t(std::strlen(text))) {}
    TKBuffer buffer;
};
std::string Token(TKXStream& x, bool quoted, char* separator = nullptr) {
    char block[64];
    x.ReadToken(block, sizeof block, separator, quoted);
    return block;
}
std::string Line(TKXStream& x) {
    char block[64];
    return x.ReadLine(block, sizeof block) < 0 ? "<end>" : block;
}
}  // namespace

TEST(XStream, TokensWithAndWithoutQuotes) {
    Text source("\"a b\" c");
    TKXStream quoted(&source.buffer);
    char separator = 'x';
    EXPECT_EQ(Token(quoted, true, &separator), "\"a b\"");
    EXPECT_EQ(separator, ' ');
    EXPECT_EQ(Token(quoted, true, &separator), "c");
    EXPECT_EQ(separator, 0);  // end of data
    EXPECT_EQ(Token(quoted, true, &separator), "");
    source.buffer.Seek(0, kSeekStart);
    TKXStream plain(&source.buffer, false, 0);
    EXPECT_EQ(Token(plain, false), "\"a");
}

TEST(XStream, TokenSeparatorsAndEscapes) {
    Text source(" \t\r\n one\ttwo\nthree\r\"q\\\"uo\\\\te\"\n\"open");
    TKXStream x(&source.buffer);
    char separator = 0;
    EXPECT_EQ(Token(x, true, &separator), "one");
    EXPECT_EQ(separator, '\t');
    EXPECT_EQ(Token(x, true, &separator), "two");
    EXPECT_EQ(separator, '\n');
    EXPECT_EQ(Token(x, true, &separator), "three");
    EXPECT_EQ(separator, '\r');
    // The backslash is dropped and the quote it protects does not end the token.
    EXPECT_EQ(Token(x, true, &separator), "\"q\"uo\\te\"");
    EXPECT_EQ(separator, '\n');
    EXPECT_EQ(Token(x, true, &separator), "\"open");  // an unclosed quote ends with the data
    EXPECT_EQ(separator, 0);
}

TEST(XStream, TokenRightAfterAClosingQuote) {
    Text source("\"a\"b c");
    TKXStream x(&source.buffer);
    char separator = 0;
    EXPECT_EQ(Token(x, true, &separator), "\"a\"");
    EXPECT_EQ(separator, '"');
    EXPECT_EQ(Token(x, true, &separator), "b");
}

TEST(XStream, TokensThatDoNotFitAndSkippedTokens) {
    Text source("abcdefgh next");
    TKXStream x(&source.buffer);
    char small[8];
    EXPECT_TKERROR(x.ReadToken(small, sizeof small), BufferTooSmall);
    // A quoted token is no exception: a name longer than the buffer is never cut short silently.
    Text quoted("\"abcdefgh\" next");
    TKXStream q(&quoted.buffer);
    EXPECT_TKERROR(q.ReadToken(small, sizeof small, nullptr, true), BufferTooSmall);
    source.buffer.Seek(0, kSeekStart);
    TKXStream again(&source.buffer);
    char separator = 0;
    EXPECT_EQ(again.ReadToken(nullptr, 0, &separator), 0);  // skipped
    EXPECT_EQ(separator, ' ');
    EXPECT_EQ(Token(again, false), "next");
    char exact[9];
    source.buffer.Seek(0, kSeekStart);
    TKXStream fits(&source.buffer);
    EXPECT_EQ(fits.ReadToken(exact, sizeof exact), 8);
    EXPECT_STREQ(exact, "abcdefgh");
}

TEST(XStream, LinesWithEveryKindOfLineEnd) {
    Text source("x\r\ny\nz\rw\n\ru\n\nlast");
    TKXStream x(&source.buffer);
    EXPECT_EQ(Line(x), "x");
    EXPECT_EQ(Line(x), "y");
    EXPECT_EQ(Line(x), "z");
    EXPECT_EQ(Line(x), "w");
    EXPECT_EQ(Line(x), "u");
    EXPECT_EQ(Line(x), "");
    EXPECT_EQ(Line(x), "last");
    EXPECT_EQ(Line(x), "<end>");
}

TEST(XStream, LinesEndAtZeroBytesAndMustFit) {
    const char bytes[] = {'a', 0, 'b', '\n'};
    TKBuffer buffer(bytes, 4);
    TKXStream x(&buffer);
    EXPECT_EQ(Line(x), "a");
    EXPECT_EQ(Line(x), "b");
    Text longLine("0123456789\n");
    TKXStream y(&longLine.buffer);
    char small[10];
    EXPECT_TKERROR(y.ReadLine(small, sizeof small), BufferTooSmall);
    EXPECT_TKERROR(y.ReadLine(nullptr, 10), ArgErr);
}

TEST(XStream, UnbufferedLineReadingStepsBackInTheStream) {
    Text source("x\ry");
    TKXStream x(&source.buffer, false, 0);
    EXPECT_EQ(Line(x), "x");
    EXPECT_EQ(source.buffer.Tell(), 2);
    EXPECT_EQ(Line(x), "y");
}

TEST(XStream, SkipToFindsExactTokensOrNotFound) {
    // Only an exact token matches; a token longer than the 100-byte block is passed over.
    std::string text = "NUMBER_OF_FIELDS 3 BEGIN_DATA_FORMAT " + std::string(150, 'L') + " BEGIN_DATA 1 2";
    TKBuffer buffer(text.data(), uint32_t(text.size()));
    TKXStream x(&buffer);
    x.SkipTo("BEGIN_DATA");
    EXPECT_EQ(Token(x, false), "1");
    EXPECT_TKERROR(x.SkipTo("END_DATA"), NotFound);
    EXPECT_TKERROR(x.SkipTo(nullptr), ArgErr);
}

TEST(XStream, PositionStackHoldsTen) {
    Text source("0123456789abcdef");
    TKXStream x(&source.buffer);
    for (int i = 0; i < TKXStream::kMaxPositions; ++i) {
        x.PushPosition();
        x.ReadByte();
    }
    EXPECT_TKERROR(x.PushPosition(), BufferError);
    x.PopPosition();
    EXPECT_EQ(x.Tell(), 9);
    EXPECT_EQ(x.ReadByte(), '9');
    while (x.Depth() > 0) x.PopPosition();
    EXPECT_EQ(x.Tell(), 0);
    EXPECT_TKERROR(x.PopPosition(), BufferError);
}

TEST(XStream, ColumnsAndLineWrapping) {
    TKBuffer out;
    {
        TKXStream x(&out);
        x.SetLineLength(10);
        x.WriteText("12345");
        EXPECT_EQ(x.Column(), 5);
        x.WriteText("67890");  // exactly at the limit: no break
        x.WriteText("X");
        EXPECT_EQ(x.Column(), 1);
        x.WriteFormat("%d\r\nab", 7);
        EXPECT_EQ(x.Column(), 2);
        x.WriteString("cdefghijk");  // 2 + 9 > 10
        x.SetLineLength(0);
        x.WriteString(TKString(std::string(30, 'z').c_str()));
    }
    EXPECT_STREQ(out.ToString().CString(),
                 ("1234567890\nX7\r\nab\ncdefghijk" + std::string(30, 'z')).c_str());
}

TEST(Filter, BufferedReadingGivesThePositionBack) {
    std::string text(10000, 0);
    for (size_t i = 0; i < text.size(); ++i) text[i] = char('a' + i % 26);
    TKBuffer buffer(text.data(), uint32_t(text.size()));
    {
        TKBufferFilter filter(&buffer, false, 256);
        char block[300];
        size_t got = 0;
        filter.Read(block, 10, &got);
        EXPECT_EQ(got, 10u);
        EXPECT_EQ(filter.Tell(), 10);
        EXPECT_EQ(buffer.Tell(), 256);  // read ahead
        filter.Read(block, 300, &got);  // larger than the block: straight through
        EXPECT_EQ(std::string(block, 300), text.substr(10, 300));
        filter.Seek(-5, kSeekCurrent);
        EXPECT_EQ(filter.Tell(), 305);
        filter.Seek(20, kSeekEnd);
        EXPECT_EQ(filter.Tell(), 9980);
        filter.Read(block, 100, &got);
        EXPECT_EQ(got, 20u);
        EXPECT_TRUE(filter.AtEnd());
        filter.Seek(1000, kSeekStart);
        filter.Read(block, 3, &got);
    }
    EXPECT_EQ(buffer.Tell(), 1003);
}

TEST(Filter, BufferedWritingReachesTheStreamOnFlush) {
    TKBuffer buffer;
    TKBufferFilter filter(&buffer, false, 16);
    filter.Write("abc", 3);
    EXPECT_EQ(buffer.Size(), 0u);
    EXPECT_EQ(filter.Tell(), 3);
    std::string big(40, 'x');
    filter.Write(big.data(), big.size());
    EXPECT_EQ(buffer.Size(), 43u);
    filter.Write("tail", 4);
    filter.Finish();
    EXPECT_EQ(buffer.Size(), 47u);
    filter.Seek(0, kSeekStart);
    char first[3];
    filter.Read(first, 3);
    EXPECT_EQ(std::string(first, 3), "abc");
    filter.Write("!", 1);  // writing after reading lands at the read position
    filter.Flush();
    EXPECT_EQ(buffer.GetData()[3], '!');
}

TEST(Filter, OwnedStreamsAreReleasedAndReplaced) {
    auto* first = new TKBuffer;
    auto* second = new TKBuffer;
    TKFilter filter(first, true);
    filter.Write("a", 1);
    EXPECT_EQ(first->Size(), 1u);
    filter.SetStream(second, true);  // releases the first
    EXPECT_EQ(filter.GetStream(), second);
    filter.SetStream(nullptr, false);
    EXPECT_EQ(filter.GetStream(), nullptr);
}
