// Pixel forms of TKTrafoList. A short batch runs pixel by pixel through one stack buffer; a
// longer one runs each member once over the whole batch, ping-ponging between two heap
// buffers, so that a call allocates exactly two blocks whatever the length of the list.
#include <algorithm>
#include <new>
#include <vector>

#include "numeric/TKTrafoList.h"

namespace {
// Below this many pixels a batch needs no heap memory.
constexpr int32_t kStackBatch = 10;

template <class Sample>
struct PixelCall;
template <>
struct PixelCall<uint8_t> {
    static void Run(const TKTrafo& t, int32_t n, const uint8_t* const* s, uint8_t* const* d, const int32_t* ss,
                    const int32_t* ds, TKProgress* p) {
        t.TrafoPixels8(n, s, d, ss, ds, p);
    }
};
template <>
struct PixelCall<uint16_t> {
    static void Run(const TKTrafo& t, int32_t n, const uint16_t* const* s, uint16_t* const* d, const int32_t* ss,
                    const int32_t* ds, TKProgress* p) {
        t.TrafoPixels16(n, s, d, ss, ds, p);
    }
};

void CheckChannels(int32_t channels) {
    if (channels > TKTrafo::kMaxPixelChannels) TKThrow(BufferTooSmall);
    if (channels < 0) TKThrow(ArgErr);
}

// An interleaved pixel buffer seen as per-channel pointers with one stride.
template <class Sample>
struct Interleaved {
    void Point(Sample* base, int32_t channels) {
        for (int32_t c = 0; c < channels; ++c) {
            pointers[c] = base + c;
            strides[c] = channels;
        }
    }
    Sample* pointers[TKTrafo::kMaxPixelChannels] = {};
    int32_t strides[TKTrafo::kMaxPixelChannels] = {};
};

template <class Sample>
std::vector<Sample> AllocateBuffer(int64_t samples) {
    if (samples > int64_t(INT32_MAX) * TKTrafo::kMaxPixelChannels) TKThrow(MemFullErr);
    try {
        return std::vector<Sample>(size_t(samples));
    } catch (const std::bad_alloc&) {
        TKThrow(MemFullErr);
    }
}
}  // namespace

template <class Sample>
void TKTrafoList::RunPixels(int32_t count, const Sample* const* src, Sample* const* dst, const int32_t* srcStrides,
                            const int32_t* dstStrides, TKProgress* progress) const {
    const int32_t members = fTrafos.Count();
    if (members == 1) return PixelCall<Sample>::Run(Member(0), count, src, dst, srcStrides, dstStrides, progress);
    if (count < 1 || members == 0) return;
    if (!src || !dst || !srcStrides || !dstStrides) TKThrow(ArgErr);

    // Channel counts along the chain: channels[0] enters member 0, channels[i + 1] leaves member i.
    std::vector<int32_t> channels(size_t(members) + 1);
    channels[0] = GetSrcDim();
    for (int32_t i = 0; i < members; ++i) channels[i + 1] = Member(i).GetDstDim(channels[i]);
    for (int32_t c : channels) CheckChannels(c);
    const int32_t srcDim = channels[0];
    const int32_t dstDim = channels[members];

    if (count < kStackBatch) {
        // Pixel by pixel, every member in place over one buffer.
        Sample buffer[TKTrafo::kMaxPixelChannels] = {};
        Interleaved<Sample> view;
        view.Point(buffer, TKTrafo::kMaxPixelChannels);
        for (int32_t p = 0; p < count; ++p) {
            for (int32_t c = 0; c < srcDim; ++c) buffer[c] = src[c][int64_t(p) * srcStrides[c]];
            for (int32_t i = 0; i < members; ++i)
                PixelCall<Sample>::Run(Member(i), 1, view.pointers, view.pointers, view.strides, view.strides, nullptr);
            for (int32_t c = 0; c < dstDim; ++c) dst[c][int64_t(p) * dstStrides[c]] = buffer[c];
        }
        return;
    }

    // Members at even positions write buffer A, those at odd positions buffer B; the last
    // member writes the caller's destination. Each buffer is as wide as its widest writer.
    int32_t width[2] = {0, 0};
    for (int32_t i = 0; i + 1 < members; ++i) width[i % 2] = std::max(width[i % 2], channels[i + 1]);
    std::vector<Sample> buffers[2] = {AllocateBuffer<Sample>(int64_t(count) * width[0]),
                                      AllocateBuffer<Sample>(int64_t(count) * width[1])};
    Interleaved<Sample> views[2];
    views[0].Point(buffers[0].data(), width[0]);
    views[1].Point(buffers[1].data(), width[1]);
    for (int32_t i = 0; i < members; ++i) {
        const Sample* const* in = i == 0 ? src : views[(i - 1) % 2].pointers;
        const int32_t* inStrides = i == 0 ? srcStrides : views[(i - 1) % 2].strides;
        Sample* const* out = i == members - 1 ? dst : views[i % 2].pointers;
        const int32_t* outStrides = i == members - 1 ? dstStrides : views[i % 2].strides;
        PixelCall<Sample>::Run(Member(i), count, in, out, inStrides, outStrides, nullptr);
    }
}

void TKTrafoList::TrafoPixels8(int32_t count, const uint8_t* const* src, uint8_t* const* dst,
                               const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    RunPixels<uint8_t>(count, src, dst, srcStrides, dstStrides, progress);
}

void TKTrafoList::TrafoPixels16(int32_t count, const uint16_t* const* src, uint16_t* const* dst,
                                const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) const {
    RunPixels<uint16_t>(count, src, dst, srcStrides, dstStrides, progress);
}
