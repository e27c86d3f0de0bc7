// The default raster walk of TKTrafo. Pixel forms of links remember the last pixel, so the
// longer the runs of equal pixels they see, the faster they go: the walk peels the raster row
// by row or column by column, whichever way it repeats more, and hands each line to the
// pixel form in one call.
#include <algorithm>
#include <cstring>

#include "foundation/TKProgress.h"
#include "numeric/TKTrafo.h"

namespace {
// Samples of progress between two reports of the walk.
constexpr int64_t kReportStep = 65535;

template <class Sample>
using PixelForm = void (TKTrafo::*)(int32_t, const Sample* const*, Sample* const*, const int32_t*, const int32_t*,
                                    TKProgress*) const;

// Per-channel pointers into an interleaved raster with their pixel and row strides.
template <class Sample>
struct Planes {
    Planes(Sample* base, int32_t channels, int32_t pad, int32_t width) : channels(channels) {
        int64_t pixel = int64_t(channels) + pad;
        int64_t row = pixel * width;
        if (row > INT32_MAX) TKThrow(ArgErr);  // strides are 32-bit samples
        for (int32_t c = 0; c < channels; ++c) {
            pointers[c] = base + c;
            pixelStrides[c] = int32_t(pixel);
            rowStrides[c] = int32_t(row);
        }
    }
    void Advance(int64_t samples) {
        for (int32_t c = 0; c < channels; ++c) pointers[c] += samples;
    }
    int32_t channels;
    Sample* pointers[TKTrafo::kMaxPixelChannels] = {};
    int32_t pixelStrides[TKTrafo::kMaxPixelChannels] = {};
    int32_t rowStrides[TKTrafo::kMaxPixelChannels] = {};
};

// Successive pixels from `first` on, `step` samples apart, equal to their predecessor; at most `limit`.
template <class Sample>
int32_t RunLength(const Sample* first, int64_t step, int32_t channels, int32_t limit) {
    int32_t run = 0;
    for (const Sample* p = first; run < limit; p += step, ++run)
        if (std::memcmp(p, p + step, sizeof(Sample) * size_t(channels)) != 0) break;
    return run;
}

template <class Sample>
void WalkRaster(const TKTrafo& trafo, PixelForm<Sample> pixels, int32_t width, int32_t height, const Sample* source,
                Sample* destination, int32_t srcPad, int32_t dstPad, TKProgress* progress) {
    if (width < 1 || height < 1) return;
    int32_t srcDim = trafo.GetSrcDim();
    int32_t dstDim = trafo.GetDstDim(srcDim);
    if (srcDim > TKTrafo::kMaxPixelChannels || dstDim > TKTrafo::kMaxPixelChannels) TKThrow(BufferTooSmall);
    if (!source || !destination || srcPad < 0 || dstPad < 0 || srcDim < 0 || dstDim < 0) TKThrow(ArgErr);
    Planes<const Sample> src(source, srcDim, srcPad, width);
    Planes<Sample> dst(destination, dstDim, dstPad, width);
    const int64_t total = int64_t(width) * height;

    int32_t probe = std::min(width, height) / 10;
    if (probe <= 1) {
        // Too narrow to choose a direction: the rows follow each other without gaps, so the
        // whole raster is one run of pixels (in slices if it has more than 2^31 - 1 of them).
        for (int64_t done = 0; done < total;) {
            int32_t count = int32_t(std::min<int64_t>(total - done, INT32_MAX));
            (trafo.*pixels)(count, src.pointers, dst.pointers, src.pixelStrides, dst.pixelStrides, progress);
            done += count;
            if (done == total) break;  // no pointer past the raster's end
            src.Advance(int64_t(count) * (int64_t(srcDim) + srcPad));
            dst.Advance(int64_t(count) * (int64_t(dstDim) + dstPad));
        }
        return;
    }

    int32_t x = 0, y = 0;
    int32_t remainW = width, remainH = height;
    bool alongRows = true;
    int64_t nextReport = 0;
    const int64_t srcPixel = int64_t(srcDim) + srcPad;
    const int64_t srcRow = srcPixel * width;
    while (x < width && y < height) {
        if (progress) {
            int64_t done = total - int64_t(remainW) * remainH;
            if (done >= nextReport) {
                progress->SetProgress(double(done) / double(total));
                nextReport = done + kReportStep;
            }
        }
        if (srcDim >= 1 && (x + y) % probe == 0 && x + probe < width && y + probe < height) {
            int32_t rowRun = RunLength(src.pointers[0], srcPixel, srcDim, probe);
            int32_t columnRun = RunLength(src.pointers[0], srcRow, srcDim, probe);
            if (rowRun > columnRun) alongRows = true;
            else if (columnRun > rowRun) alongRows = false;
        }
        if (alongRows) {
            (trafo.*pixels)(remainW, src.pointers, dst.pointers, src.pixelStrides, dst.pixelStrides, nullptr);
            --remainH;
            if (++y == height) break;
            src.Advance(srcRow);
            dst.Advance((int64_t(dstDim) + dstPad) * width);
        } else {
            (trafo.*pixels)(remainH, src.pointers, dst.pointers, src.rowStrides, dst.rowStrides, nullptr);
            --remainW;
            if (++x == width) break;
            src.Advance(srcPixel);
            dst.Advance(int64_t(dstDim) + dstPad);
        }
    }
}
}  // namespace

void TKTrafo::TrafoRaster8(int32_t width, int32_t height, const uint8_t* source, uint8_t* destination, int32_t srcPad,
                           int32_t dstPad, TKProgress* progress) const {
    WalkRaster<uint8_t>(*this, &TKTrafo::TrafoPixels8, width, height, source, destination, srcPad, dstPad, progress);
}

void TKTrafo::TrafoRaster16(int32_t width, int32_t height, const uint16_t* source, uint16_t* destination,
                            int32_t srcPad, int32_t dstPad, TKProgress* progress) const {
    WalkRaster<uint16_t>(*this, &TKTrafo::TrafoPixels16, width, height, source, destination, srcPad, dstPad,
                         progress);
}
