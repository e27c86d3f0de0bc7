// The memory stream: fixed and growing buffers, seeking, growth and the bounds of its block.
#include <cstring>

#include "io/TKBuffer.h"
#include "support/TestSupport.h"

TEST(Buffer, FixedBufferIsAPrivateCopyThatRefusesToGrow) {
    uint8_t host[10] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    TKBuffer buffer(host, 10);
    host[0] = 99;
    EXPECT_EQ(buffer.GetMode(), TKBuffer::kFixed);
    EXPECT_EQ(buffer.Size(), 10u);
    EXPECT_EQ(buffer.GetData()[0], 0);
    const uint8_t ten[10] = {};
    buffer.Write(ten, 10);  // overwriting in place is fine
    uint8_t one = 1;
    EXPECT_TKERROR(buffer.Write(&one, 1), BufferTooSmall);
    EXPECT_EQ(buffer.Size(), 10u);
}

TEST(Buffer, ReadStopsAtTheEndWithShortCounts) {
    const char text[] = "abcdef";
    TKBuffer buffer(text, 6);
    char out[8] = {};
    size_t got = 0;
    buffer.Read(out, 4, &got);
    EXPECT_EQ(got, 4u);
    buffer.Read(out, 4, &got);
    EXPECT_EQ(got, 2u);
    EXPECT_EQ(std::memcmp(out, "efcd", 4), 0);
    buffer.Read(out, 4, &got);
    EXPECT_EQ(got, 0u);
    buffer.Seek(1, kSeekStart);
    buffer.Read(nullptr, 2, &got);  // null skips
    EXPECT_EQ(got, 2u);
    EXPECT_EQ(buffer.Tell(), 3);
    EXPECT_EQ(buffer.Remaining(), 3u);
}

TEST(Buffer, SeekOriginsAndBadOrigins) {
    TKBuffer buffer(nullptr, 10);
    buffer.Seek(4, kSeekEnd);
    EXPECT_EQ(buffer.Tell(), 6);
    buffer.Seek(-2, kSeekCurrent);
    EXPECT_EQ(buffer.Tell(), 4);
    EXPECT_TKERROR(buffer.Seek(0, 3), ArgErr);
    EXPECT_TKERROR(buffer.Seek(-1, kSeekStart), FileSeekFailed);
    EXPECT_TKERROR(buffer.Seek(int64_t(1) << 40, kSeekStart), FileSeekFailed);
    EXPECT_TRUE(buffer.CanSeek());
    buffer.Seek(100, kSeekStart);  // no bounds test on seeking
    size_t got = 7;
    uint8_t b;
    buffer.Read(&b, 1, &got);
    EXPECT_EQ(got, 0u);
}

TEST(Buffer, GrowingBufferTakesThreeMillionBytesInOneWrite) {
    std::vector<uint8_t> big(3000000, 0xAB);
    TKBuffer buffer;
    EXPECT_EQ(buffer.GetData(), nullptr);
    buffer.Write(big.data(), big.size());
    EXPECT_EQ(buffer.Size(), 3000000u);
    EXPECT_EQ(buffer.ToDataPtr(), big);
}

TEST(Buffer, WritingPastTheEndLeavesAZeroGap) {
    TKBuffer buffer;
    buffer.Write("ab", 2);
    buffer.Seek(6, kSeekStart);
    buffer.Write("z", 1);
    EXPECT_EQ(buffer.Size(), 7u);
    const uint8_t* data = buffer.GetData();
    EXPECT_EQ(std::memcmp(data, "ab\0\0\0\0z", 7), 0);
    EXPECT_EQ(buffer.ToString().Length(), 7);
}

TEST(Buffer, ReserveKeepsWhatFitsAndClipsTheSize) {
    TKBuffer buffer;
    buffer.Write("abcdefgh", 8);
    buffer.Reserve(4);
    EXPECT_EQ(buffer.Size(), 4u);
    EXPECT_EQ(buffer.Tell(), 4);
    EXPECT_STREQ(buffer.ToString().CString(), "abcd");
    buffer.Reserve(0);
    EXPECT_EQ(buffer.GetData(), nullptr);
    EXPECT_EQ(buffer.Size(), 0u);
}

TEST(Buffer, FreedDataReadsAsNotOpen) {
    TKBuffer buffer;
    buffer.Write("abcd", 4);
    buffer.Seek(0, kSeekStart);
    buffer.FreeData();
    EXPECT_EQ(buffer.Size(), 4u);
    uint8_t b;
    EXPECT_TKERROR(buffer.Read(&b, 1), FileNotOpen);
    buffer.Write("x", 1);  // a new block is made
    EXPECT_EQ(buffer.GetData()[0], 'x');
}

TEST(Buffer, HugeWriteFailsWithACode) {
    TKBuffer buffer;
    buffer.Seek(UINT32_MAX - 2, kSeekStart);
    uint8_t bytes[8] = {};
    EXPECT_TKERROR(buffer.Write(bytes, 8), BufferTooSmall);
}

TEST(Buffer, SetSizeZeroFillsNewBytes) {
    TKBuffer buffer;
    buffer.Write("abcd", 4);
    buffer.SetSize(2);
    buffer.SetSize(4);
    EXPECT_EQ(std::memcmp(buffer.GetData(), "ab\0\0", 4), 0);
    buffer.SetSize(1000);
    EXPECT_EQ(buffer.Size(), 1000u);
    EXPECT_EQ(buffer.GetData()[999], 0);
}
