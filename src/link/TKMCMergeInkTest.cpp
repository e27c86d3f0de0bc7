// The skip test of merge links. Spot planes of interleaved pixels are read as whole 64-bit words
// under a mask that keeps only the spot samples, so the test streams through memory at the speed
// of a copy instead of stepping sample by sample; planes of their own are a plain OR of words.
// With AVX2 the words are read 32 bytes at a time.
#include "link/TKMCMergeInkTest.h"

#include <algorithm>
#include <cstring>
#include <numeric>

#include "link/TKMCMergeInkTestAvx2.h"

namespace {

// Mask periods between two tests for ink: an early stop reads at most this many more.
constexpr int64_t kGroupsPerTest = 32;
// Pixels wider than this are tested sample by sample: a masked scan would read mostly other bytes.
constexpr int64_t kMaxMaskedPixelBytes = 64;
// Words of a wide register: the mask is laid out over a whole number of them.
constexpr int64_t kVectorWords = 4;

uint64_t LoadWord(const uint8_t* p) {
    uint64_t w;
    std::memcpy(&w, p, sizeof w);
    return w;
}

// Bytes [begin, end) ORed under a mask of `period` words that repeats from `begin` on; the mask
// holds lcm(period, kVectorWords) words.
bool MaskedScan(const uint8_t* begin, const uint8_t* end, const uint64_t* mask, int64_t period) {
    const uint8_t* p = begin;
#if TK_LINK_HAS_AVX2
    if (TKLinkKernelIsa() == TKLinkIsa::kAvx2) {
        const int64_t blockWords = std::lcm(period, kVectorWords);
        const int64_t blocks = (end - begin) / (8 * blockWords);
        if (TKMaskedScanAvx2(begin, blocks, mask, int32_t(blockWords / kVectorWords))) return true;
        p += blocks * 8 * blockWords;  // a whole number of periods: the mask starts again
    }
#endif
    const int64_t words = (end - p) / 8;
    const int64_t groups = words / period;
    uint64_t any = 0;
    for (int64_t g = 0; g < groups; ++g, p += 8 * period) {
        for (int64_t k = 0; k < period; ++k) any |= LoadWord(p + 8 * k) & mask[k];
        if (g % kGroupsPerTest == kGroupsPerTest - 1 && any) return true;
    }
    const auto* maskBytes = reinterpret_cast<const uint8_t*>(mask);
    for (int64_t b = 0; p + b < end; ++b) any |= uint64_t(p[b] & maskBytes[b]);
    return any != 0;
}

template <class Sample>
bool SampleBySample(int32_t count, const Sample* const* planes, const int32_t* strides, int32_t channels) {
    for (int32_t c = 0; c < channels; ++c) {
        const Sample* p = planes[c];
        for (int32_t i = 0; i < count; ++i, p += strides[c])
            if (*p) return true;
    }
    return false;
}

// The planes as byte ranges: one plane per range when they are apart, or all in one range with
// a mask when they are the samples of interleaved pixels.
template <class Sample>
bool HaveInk(int32_t count, const Sample* const* planes, const int32_t* strides, int32_t channels) {
    if (count < 1 || channels < 1) return false;
    const int64_t step = strides[0];
    const int64_t pixelBytes = step * int64_t(sizeof(Sample));
    const uint8_t* low = reinterpret_cast<const uint8_t*>(planes[0]);
    const uint8_t* high = low;
    bool sameStep = step > 0;
    for (int32_t c = 1; c < channels; ++c) {
        const uint8_t* p = reinterpret_cast<const uint8_t*>(planes[c]);
        sameStep = sameStep && strides[c] == step;
        low = std::min(low, p);
        high = std::max(high, p);
    }
    const bool onePixel = sameStep && high - low + int64_t(sizeof(Sample)) <= pixelBytes;
    if (step == 1 && channels > 1 && !onePixel) {
        // Planes of their own, each a contiguous run.
        for (int32_t c = 0; c < channels; ++c)
            if (HaveInk(count, planes + c, strides + c, 1)) return true;
        return false;
    }
    if (!onePixel || pixelBytes > kMaxMaskedPixelBytes) return SampleBySample(count, planes, strides, channels);

    // The mask repeats where pixel and word boundaries meet again.
    const int64_t period = pixelBytes / std::gcd(pixelBytes, int64_t(8));
    uint64_t mask[kMaxMaskedPixelBytes * kVectorWords] = {};
    auto* maskBytes = reinterpret_cast<uint8_t*>(mask);
    for (int64_t b = 0; b < period * 8; b += pixelBytes)
        for (int32_t c = 0; c < channels; ++c) {
            const int64_t at = b + (reinterpret_cast<const uint8_t*>(planes[c]) - low);
            std::memset(maskBytes + at, 0xFF, sizeof(Sample));
        }
    for (int64_t w = period; w < std::lcm(period, kVectorWords); ++w) mask[w] = mask[w - period];
    const uint8_t* end = high + sizeof(Sample) + (int64_t(count) - 1) * pixelBytes;
    return MaskedScan(low, end, mask, period);
}

}  // namespace

bool TKPlanesHaveInk(int32_t count, const uint8_t* const* planes, const int32_t* strides, int32_t channels) {
    return HaveInk(count, planes, strides, channels);
}

bool TKPlanesHaveInk(int32_t count, const uint16_t* const* planes, const int32_t* strides, int32_t channels) {
    return HaveInk(count, planes, strides, channels);
}
