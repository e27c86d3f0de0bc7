// Stream helpers: ordered integers, checked binary reading, copying and text output.
#include <cstring>

#include "io/TKBinaryReader.h"
#include "io/TKBuffer.h"
#include "io/TKStreamTools.h"
#include "support/TestSupport.h"

namespace {
// A stream that hands out at most `fChunk` bytes per read and cannot seek, like a pipe.
class TKTrickleStream : public TKStreamImplemented {
public:
    TKTrickleStream(const void* data, size_t size, size_t chunk)
        : fData(static_cast<const uint8_t*>(data)), fSize(size), fChunk(chunk) {}
    void Read(void* destination, size_t count, size_t* bytesRead) override {
        size_t n = std::min({count, fChunk, fSize - fPos});
        if (destination) std::memcpy(destination, fData + fPos, n);
        fPos += n;
        if (bytesRead) *bytesRead = n;
    }

private:
    const uint8_t* fData;
    size_t fSize, fPos = 0, fChunk;
};
}  // namespace

TEST(Stream, OrderedIntegersRoundTripInBothOrders) {
    TKBuffer buffer;
    WriteInt16(buffer, 0x0102, kBigEndian);
    WriteInt32(buffer, 0x03040506, kLittleEndian);
    WriteInt64(buffer, -2, kBigEndian);
    WriteInt8(buffer, -5);
    const uint8_t expected[] = {1, 2, 6, 5, 4, 3, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFB};
    ASSERT_EQ(buffer.Size(), sizeof expected);
    EXPECT_EQ(std::memcmp(buffer.GetData(), expected, sizeof expected), 0);
    buffer.Seek(0, kSeekStart);
    EXPECT_EQ(ReadInt16(buffer, true, kBigEndian), 0x0102);
    EXPECT_EQ(ReadInt32(buffer, true, kLittleEndian), 0x03040506);
    EXPECT_EQ(ReadInt64(buffer, true, kBigEndian), -2);
    EXPECT_EQ(ReadInt8(buffer, true), -5);
}

TEST(Stream, ShortReadsAreFormatErrorsOnlyWhenStrict) {
    const uint8_t bytes[] = {0x12, 0x34};
    TKBuffer buffer(bytes, 2);
    EXPECT_TKERROR(ReadInt32(buffer, true, kBigEndian), FormatErr);
    buffer.Seek(0, kSeekStart);
    EXPECT_EQ(ReadInt32(buffer, false, kBigEndian), 0x12340000);
    EXPECT_EQ(ReadInt16(buffer, false, kLittleEndian), 0);
}

TEST(Stream, PascalStrings) {
    TKBuffer buffer;
    WritePascalString(buffer, "hello");
    WritePascalString(buffer, "");
    EXPECT_TKERROR(WritePascalString(buffer, TKString(std::string(256, 'x').c_str())), ArgErr);
    buffer.Seek(0, kSeekStart);
    EXPECT_STREQ(ReadPascalString(buffer, true).CString(), "hello");
    EXPECT_TRUE(ReadPascalString(buffer, true).IsEmpty());
    const uint8_t truncated[] = {9, 'a', 'b'};
    TKBuffer shortBuffer(truncated, 3);
    EXPECT_TKERROR(ReadPascalString(shortBuffer, true), FormatErr);
    shortBuffer.Seek(0, kSeekStart);
    EXPECT_STREQ(ReadPascalString(shortBuffer, false).CString(), "ab");
}

TEST(Stream, BinaryReaderRaisesEOFReachedOnTruncatedData) {
    const uint8_t bytes[] = {0x61, 0x63, 0x73, 0x70, 0x00, 0x01};
    TKBuffer buffer(bytes, sizeof bytes);
    TKBinaryReader reader(buffer, kBigEndian);
    EXPECT_EQ(reader.U32(), 0x61637370u);  // 'acsp'
    EXPECT_EQ(reader.Remaining(), 2);
    EXPECT_TKERROR(reader.U32(), EOFReached);
    buffer.Seek(4, kSeekStart);
    EXPECT_EQ(reader.U16(), 1);
    EXPECT_TKERROR(reader.U8(), EOFReached);
}

TEST(Stream, BinaryReaderChecksSizesBeforeAllocating) {
    const uint8_t bytes[16] = {};
    TKBuffer buffer(bytes, sizeof bytes);
    TKBinaryReader reader(buffer, kLittleEndian);
    // A size field of 4 GB in a 16-byte file must fail before any allocation.
    EXPECT_TKERROR(reader.Block(0xFFFFFFF0ull), EOFReached);
    EXPECT_TKERROR(reader.ValueArray<uint16_t>(uint64_t(1) << 62), EOFReached);
    EXPECT_TKERROR(reader.Skip(17), EOFReached);
    EXPECT_EQ(reader.Position(), 0);
    EXPECT_EQ(reader.Block(16).size(), 16u);
    // At the very end nothing is left either: still no allocation of what the field claims.
    EXPECT_TKERROR(reader.ValueArray<uint16_t>(uint64_t(1) << 62), EOFReached);
    EXPECT_TKERROR(reader.Block(UINT64_MAX), EOFReached);
}

TEST(Stream, BinaryReaderOnAStreamThatCannotTellItsLength) {
    const uint8_t bytes[] = {1, 0, 2, 0, 3, 0};
    TKTrickleStream trickle(bytes, sizeof bytes, 1);
    TKBinaryReader reader(trickle, kLittleEndian);
    uint16_t values[2];
    reader.Values(values, 2);
    EXPECT_EQ(values[0], 1);
    EXPECT_EQ(values[1], 2);
    EXPECT_TKERROR(reader.Block(1000), EOFReached);
}

TEST(Stream, FixedPointAndFloatsThroughReaderAndWriter) {
    TKBuffer buffer;
    TKBinaryWriter writer(buffer, kBigEndian);
    // s15Fixed16 of -0.5 is 0xFFFF8000; u8Fixed8 of 2.2 gamma is 0x0233 (ICC example values).
    writer.U32(0xFFFF8000u);
    writer.U16(0x0233);
    writer.F64(3.25);
    writer.F32(-1.5f);
    writer.Zeros(3);
    const int16_t shorts[] = {-1, 2};
    writer.Values(shorts, 2);
    buffer.Seek(0, kSeekStart);
    TKBinaryReader reader(buffer, kBigEndian);
    EXPECT_DOUBLE_EQ(reader.S15Fixed16(), -0.5);
    EXPECT_NEAR(reader.U8Fixed8(), 2.19921875, 1e-12);
    EXPECT_DOUBLE_EQ(reader.F64(), 3.25);
    EXPECT_FLOAT_EQ(reader.F32(), -1.5f);
    reader.Skip(3);
    EXPECT_EQ(reader.S16(), -1);
    EXPECT_EQ(reader.S16(), 2);
}

TEST(Stream, CopyStreamExactLengthAndToTheEnd) {
    std::vector<uint8_t> data(5000);
    for (size_t i = 0; i < data.size(); ++i) data[i] = uint8_t(i * 7);
    TKBuffer source(data.data(), uint32_t(data.size()));
    TKBuffer part;
    EXPECT_EQ(CopyStream(source, part, 3000, 1024), 3000);
    EXPECT_EQ(part.Size(), 3000u);
    TKBuffer rest;
    EXPECT_EQ(CopyStream(source, rest, 0, 1024), 2000);
    EXPECT_EQ(std::memcmp(rest.GetData(), data.data() + 3000, 2000), 0);
    source.Seek(0, kSeekStart);
    TKBuffer tooMuch;
    EXPECT_TKERROR(CopyStream(source, tooMuch, 6000, 1024), IOErr);
}

TEST(Stream, CopyStreamThroughATrickle) {
    const char text[] = "0123456789";
    TKTrickleStream trickle(text, 10, 3);
    TKBuffer out;
    // Copying to the end stops at the first short read: a slow source needs an explicit length.
    EXPECT_EQ(CopyStream(trickle, out, 0, 4), 3);
    TKTrickleStream again(text, 10, 3);
    EXPECT_EQ(ReadWholeData(again, 10).size(), 10u);
}

TEST(Stream, ReadWholeStreamGivesTheRest) {
    const char text[] = "header;body";
    TKBuffer buffer(text, 11);
    buffer.Seek(7, kSeekStart);
    EXPECT_STREQ(ReadWholeStream(buffer).CString(), "body");
}

TEST(Stream, TextHelpersFormatNumbersAndIgnoreNull) {
    TKBuffer buffer;
    TKWriteText(&buffer, 3.14159);
    TKWriteText(&buffer, "|");
    TKWriteText(&buffer, -7);
    TKWriteText(&buffer, TKString("|"));
    TKWriteText(&buffer, 4000000000u);
    TKWriteText(&buffer, "|");
    TKWriteText(&buffer, -9000000000LL);
    TKWriteFormat(&buffer, "|%s=%02d", "k", 5);
    EXPECT_STREQ(buffer.ToString().CString(), "   3.14|-7|4000000000|-9000000000|k=05");
    TKWriteText(nullptr, 1);
    TKWriteFormat(nullptr, "%d", 1);
}

TEST(Stream, UTF16StringsRoundTripInBothOrders) {
    for (int32_t order : {int32_t(kBigEndian), int32_t(kLittleEndian)}) {
        TKBuffer buffer;
        // "Farbräume €" with a character outside the basic plane (U+1F3A8) written as a pair.
        const TKString text("Farbr\xC3\xA4ume \xE2\x82\xAC\xF0\x9F\x8E\xA8");
        WriteUTF16String(buffer, text, true, order);
        EXPECT_EQ(buffer.Size(), 4u + 2u * 14u);
        buffer.Seek(0, kSeekStart);
        EXPECT_EQ(ReadInt32(buffer, true, order), 14);  // 12 units, a pair, the terminator
        buffer.Seek(0, kSeekStart);
        EXPECT_STREQ(ReadUTF16String(buffer, true, order).CString(), text.CString());
        TKBuffer bare;
        WriteUTF16String(bare, "ab", false, order);
        EXPECT_EQ(bare.Size(), 8u);
    }
}

TEST(Stream, UTF16ZerosInsideBecomeBlanksAndTrailingZerosGo) {
    const uint8_t bytes[] = {0, 0, 0, 5, 0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0};
    TKBuffer buffer(bytes, sizeof bytes);
    EXPECT_STREQ(ReadUTF16String(buffer, true, kBigEndian).CString(), "a b");
    const uint8_t empty[] = {0, 0, 0, 0};
    TKBuffer none(empty, 4);
    EXPECT_TRUE(ReadUTF16String(none, true, kBigEndian).IsEmpty());
}

TEST(Stream, UTF16CountsBeyondTheDataAreRefusedOrClipped) {
    // A count of two billion units in a 10-byte block must not allocate four gigabytes.
    const uint8_t bytes[] = {0x7F, 0xFF, 0xFF, 0xFF, 0, 'o', 0, 'k', 0, '!'};
    TKBuffer buffer(bytes, sizeof bytes);
    EXPECT_TKERROR(ReadUTF16String(buffer, true, kBigEndian), FormatErr);
    buffer.Seek(0, kSeekStart);
    EXPECT_STREQ(ReadUTF16String(buffer, false, kBigEndian).CString(), "ok!");
    TKTrickleStream trickle(bytes, sizeof bytes, 3);
    EXPECT_TKERROR(ReadUTF16String(trickle, true, kBigEndian), FormatErr);
}
