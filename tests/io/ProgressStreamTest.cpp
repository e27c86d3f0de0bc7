// Progress on streams: the filter that reports the position, and the progress that writes lines.
#include <string>
#include <vector>

#include "foundation/TKProgress.h"
#include "io/TKBuffer.h"
#include "io/TKProgressFilter.h"
#include "io/TKStreamProgress.h"
#include "support/TestSupport.h"

namespace {

class RecordingProgress : public TKProgress {
public:
    void SetProgress(double fraction) override { fractions.push_back(fraction); }
    std::vector<double> fractions;
};

TKRefPtr<TKBuffer> BufferOf(size_t size) {
    std::vector<uint8_t> bytes(size);
    for (size_t i = 0; i < size; ++i) bytes[i] = uint8_t(i);
    return TKRefPtr<TKBuffer>(new TKBuffer(bytes.data(), uint32_t(size)), true);
}

std::string TextOf(TKBuffer& buffer) {
    uint32_t size = 0;
    const uint8_t* data = buffer.GetData(&size);
    return std::string(reinterpret_cast<const char*>(data), size);
}

}  // namespace

TEST(ProgressFilter, ReportsTheReadFractionOfTheRest) {
    auto buffer = BufferOf(1000);
    buffer->Seek(200, kSeekStart);  // the job is the 800 bytes from here
    RecordingProgress progress;
    auto filter = TKMakeRef<TKProgressFilter>(buffer.Get(), false, &progress);
    EXPECT_EQ(filter->Length(), 800);
    uint8_t block[100];
    size_t got = 0;
    for (int i = 0; i < 8; ++i) filter->Read(block, sizeof block, &got);
    EXPECT_EQ(got, 100u);
    EXPECT_EQ(block[0], uint8_t(900 % 256));
    ASSERT_EQ(progress.fractions.size(), 8u);
    EXPECT_DOUBLE_EQ(progress.fractions.front(), 0.125);
    EXPECT_DOUBLE_EQ(progress.fractions.back(), 1.0);
    filter->Read(block, sizeof block, &got);  // at the end: nothing new to report
    EXPECT_EQ(got, 0u);
    EXPECT_EQ(progress.fractions.size(), 8u);
}

TEST(ProgressFilter, ByteByByteReadsReportOncePerMille) {
    auto buffer = BufferOf(10000);
    RecordingProgress progress;
    auto filter = TKMakeRef<TKProgressFilter>(buffer.Get(), false, &progress);
    uint8_t byte;
    for (int i = 0; i < 10000; ++i) filter->Read(&byte, 1);
    // One report for each per mille from 0 to 1000.
    EXPECT_EQ(progress.fractions.size(), 1001u);
    EXPECT_DOUBLE_EQ(progress.fractions.back(), 1.0);
}

TEST(ProgressFilter, WritesCountAgainstTheGivenLength) {
    auto buffer = TKMakeRef<TKBuffer>();
    RecordingProgress progress;
    {
        auto filter = TKMakeRef<TKProgressFilter>(buffer.Get(), false, &progress, 400);
        std::string text(100, 'w');
        for (int i = 0; i < 5; ++i) filter->Write(text.data(), text.size());
        EXPECT_EQ(filter->Done(), 500);
    }
    EXPECT_EQ(progress.fractions, (std::vector<double>{0.25, 0.5, 0.75, 1.0}));  // clamped at the end
    EXPECT_EQ(TextOf(*buffer).size(), 500u);
}

TEST(ProgressFilter, CancelStopsTheReader) {
    auto buffer = BufferOf(1000);
    TKStopProgress stop;
    auto filter = TKMakeRef<TKProgressFilter>(buffer.Get(), false, &stop);
    uint8_t block[10];
    filter->Read(block, sizeof block);
    stop.Stop();
    EXPECT_TKERROR(filter->Read(block, sizeof block), Cancel);
}

TEST(ProgressFilter, WithoutProgressOrLengthItIsAPlainFilter) {
    auto buffer = BufferOf(100);
    auto quiet = TKMakeRef<TKProgressFilter>(buffer.Get(), false, nullptr);
    uint8_t block[100];
    size_t got = 0;
    quiet->Read(block, sizeof block, &got);
    EXPECT_EQ(got, 100u);
    RecordingProgress progress;
    auto empty = TKMakeRef<TKBuffer>();
    auto none = TKMakeRef<TKProgressFilter>(empty.Get(), false, &progress);
    none->Read(block, sizeof block, &got);
    EXPECT_EQ(got, 0u);
    EXPECT_TRUE(progress.fractions.empty());
}

TEST(StreamProgress, WritesAPercentLinePerChange) {
    auto buffer = TKMakeRef<TKBuffer>();
    {
        TKStreamProgress progress(buffer.Get(), false);
        progress.SetProgress(0.0);
        progress.SetProgress(0.001);  // still 0 %
        progress.SetProgress(0.5);
        progress.SetProgress(-1.0);  // a marker writes nothing
        progress.SetSubTask(2);
        progress.SetProgress(0.5);  // a new sub-task starts its own lines
        progress.SetProgress(1.7);
        EXPECT_EQ(progress.LastPercent(), 100);
    }
    EXPECT_EQ(TextOf(*buffer), "0%\n50%\n[2] 50%\n[2] 100%\n");
}
