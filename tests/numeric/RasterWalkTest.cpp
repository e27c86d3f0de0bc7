// The default raster walk: which pixel calls it makes for which raster, that every pixel is
// mapped exactly once, that pads stay untouched and that progress is reported.
#include <numeric>

#include "foundation/TKProgress.h"
#include "numeric/TrafoTestSupport.h"
#include "support/TestSupport.h"

namespace {
struct CollectingProgress : TKProgress {
    void SetProgress(double fraction) override { reports.push_back(fraction); }
    std::vector<double> reports;
};

// A raster of `channels` plus `pad` samples per pixel; pixels differ from each other
// unless `pattern` says otherwise: pattern(x, y) gives the value of every channel.
template <class S, class Pattern>
std::vector<S> MakeRaster(int w, int h, int channels, int pad, Pattern pattern) {
    std::vector<S> raster(size_t(w) * h * (channels + pad), S(0));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            for (int c = 0; c < channels; ++c) raster[(size_t(y) * w + x) * (channels + pad) + c] = S(pattern(x, y) + c);
    return raster;
}

// Every pixel came out as its source plus one, and pads kept the fill value.
template <class S>
void ExpectMappedOnce(const std::vector<S>& src, const std::vector<S>& dst, int channels, int srcPad, int dstPad,
                      S fill) {
    size_t pixels = src.size() / (channels + srcPad);
    for (size_t p = 0; p < pixels; ++p) {
        for (int c = 0; c < channels; ++c)
            ASSERT_EQ(dst[p * (channels + dstPad) + c], S(src[p * (channels + srcPad) + c] + 1)) << p;
        for (int c = channels; c < channels + dstPad; ++c) ASSERT_EQ(dst[p * (channels + dstPad) + c], fill);
    }
}

int32_t TotalPixels(const TKTestRecordingTrafo& t) {
    int32_t sum = 0;
    for (auto& call : t.calls) sum += call.count;
    return sum;
}
}  // namespace

TEST(RasterWalk, NarrowRasterGoesInOneCall) {
    TKTestRecordingTrafo t(3);
    auto src = MakeRaster<uint8_t>(19, 100, 3, 0, [](int x, int y) { return (x * 7 + y) & 0x7F; });
    std::vector<uint8_t> dst(src.size());
    CollectingProgress progress;
    t.TrafoRaster8(19, 100, src.data(), dst.data(), 0, 0, &progress);
    ASSERT_EQ(t.calls.size(), 1u);
    EXPECT_EQ(t.calls[0].count, 1900);
    EXPECT_EQ(t.calls[0].srcStride, 3);
    EXPECT_TRUE(t.calls[0].withProgress);  // the one call gets the progress object
    ExpectMappedOnce<uint8_t>(src, dst, 3, 0, 0, 0);
}

TEST(RasterWalk, WiderRasterIsPeeledRowByRow) {
    TKTestRecordingTrafo t(3);
    auto src = MakeRaster<uint8_t>(20, 100, 3, 0, [](int x, int y) { return (x * 7 + y) & 0x7F; });
    std::vector<uint8_t> dst(src.size());
    t.TrafoRaster8(20, 100, src.data(), dst.data(), 0, 0, nullptr);
    ASSERT_EQ(t.calls.size(), 100u);  // no runs either way: the direction stays along rows
    for (auto& call : t.calls) {
        EXPECT_EQ(call.count, 20);
        EXPECT_EQ(call.srcStride, 3);
        EXPECT_FALSE(call.withProgress);
    }
    ExpectMappedOnce<uint8_t>(src, dst, 3, 0, 0, 0);
}

TEST(RasterWalk, VerticalStripesTurnTheWalkDownTheColumns) {
    // Each column is one colour: runs go down, so the walk peels column by column.
    TKTestRecordingTrafo t(4);
    auto src = MakeRaster<uint8_t>(30, 40, 4, 1, [](int x, int) { return x * 3; });
    std::vector<uint8_t> dst(size_t(30) * 40 * 5, 0xEE);
    t.TrafoRaster8(30, 40, src.data(), dst.data(), 1, 1, nullptr);
    ASSERT_FALSE(t.calls.empty());
    EXPECT_EQ(t.calls[0].count, 40);                 // a whole column first
    EXPECT_EQ(t.calls[0].srcStride, 5 * 30);         // row stride: pixel stride 5 (4 + pad 1)
    EXPECT_EQ(TotalPixels(t), 30 * 40);
    ExpectMappedOnce<uint8_t>(src, dst, 4, 1, 1, uint8_t(0xEE));
}

TEST(RasterWalk, SixteenBitsWithPadsAndMixedStripes) {
    // Left half vertical stripes, right half horizontal stripes: the walk may switch
    // directions, and every pixel must still be mapped exactly once.
    TKTestRecordingTrafo t(2);
    auto src = MakeRaster<uint16_t>(60, 50, 2, 2, [](int x, int y) { return x < 30 ? x * 100 : 5000 + y * 100; });
    std::vector<uint16_t> dst(size_t(60) * 50 * 3, 0xBEEF);
    CollectingProgress progress;
    t.TrafoRaster16(60, 50, src.data(), dst.data(), 2, 1, &progress);
    EXPECT_EQ(TotalPixels(t), 60 * 50);
    ExpectMappedOnce<uint16_t>(src, dst, 2, 2, 1, uint16_t(0xBEEF));
    ASSERT_FALSE(progress.reports.empty());
    EXPECT_EQ(progress.reports[0], 0.0);
    EXPECT_TRUE(std::is_sorted(progress.reports.begin(), progress.reports.end()));
}

TEST(RasterWalk, ArgumentsAndLimits) {
    TKTestRecordingTrafo t(3);
    uint8_t pixel[3] = {};
    t.TrafoRaster8(0, 5, pixel, pixel, 0, 0, nullptr);
    t.TrafoRaster8(5, -1, pixel, pixel, 0, 0, nullptr);
    EXPECT_TRUE(t.calls.empty());
    EXPECT_TKERROR(t.TrafoRaster8(1, 1, nullptr, pixel, 0, 0, nullptr), ArgErr);
    EXPECT_TKERROR(t.TrafoRaster8(1, 1, pixel, pixel, -1, 0, nullptr), ArgErr);
    TKTestRecordingTrafo wide(65);
    EXPECT_TKERROR(wide.TrafoRaster8(1, 1, pixel, pixel, 0, 0, nullptr), BufferTooSmall);
    TKTrafo plain;  // no pixel form
    EXPECT_TKERROR(plain.TrafoRaster16(1, 1, reinterpret_cast<uint16_t*>(pixel), reinterpret_cast<uint16_t*>(pixel), 0, 0, nullptr), UndefProc);
}
