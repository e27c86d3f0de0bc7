// The one interpolation body behind every pixel kernel of a link, written over a traits struct:
// sample types in and out, input channel count, shifted or divided cells, split of channel 3.
// Integer arithmetic only; all state lives in locals, so threads may share a link.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "foundation/TKError.h"
#include "foundation/TKProgress.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkKernelMath.h"

template <class SrcSample, class DstSample, int32_t MinChannels, int32_t MaxChannels, bool ShiftedCells,
          bool SplitChannel3, int32_t MaxOutputs, int32_t Outputs = 0>
struct TKLinkKernelTraits {
    using Src = SrcSample;
    using Dst = DstSample;
    static constexpr int32_t kMinChannels = MinChannels;
    static constexpr int32_t kMaxChannels = MaxChannels;
    // A fixed channel count lets the compiler unroll; 0: the link's SrcDim.
    static constexpr int32_t kChannels = MinChannels == MaxChannels ? MinChannels : 0;
    static constexpr bool kShifted = ShiftedCells;
    // With four channels and more, channel 3 is interpolated linearly on top of a simplex of the
    // others: 2n node reads instead of a sort of all n fractions.
    static constexpr bool kSplit = SplitChannel3;
    static constexpr int32_t kMaxOutputs = MaxOutputs;
    static constexpr int32_t kOutputs = Outputs;  // 0: the link's DstDim (at most kMaxOutputs)
};

namespace TKLinkKernelDetail {

// AxisOffset of one channel: entry k is k grid steps of that channel, in nodes.
using AxisTable = int32_t[TKLinkGeneric::kMaxGridPoints];

// Per-call view of the link's tables, copied into locals once.
struct Tables {
    const uint16_t* inputCurves;
    const uint16_t* input8;
    const uint16_t* outputCurves;
    const uint8_t* output8;
    const uint16_t* nodes;
    const std::atomic<uint8_t>* flags;  // null on a complete link
    int32_t inputCurveSize;
    int32_t outputCurveSize;
    int32_t output8Size;
    bool hasIn;
    bool hasOut;
};

template <class Sample>
inline uint32_t InputPosition(const Tables& t, int32_t c, uint32_t sample) {
    if constexpr (sizeof(Sample) == 1) {
        return t.hasIn ? t.input8[size_t(c) * TKLinkGeneric::kInput8Size + sample] : sample * 0x101u;
    } else {
        // 12 bits of curve index keep the curves in cache; the low four bits are dropped on purpose.
        return t.hasIn ? t.inputCurves[size_t(c) * size_t(t.inputCurveSize) + (sample >> 4)] : sample;
    }
}

template <class Sample>
inline uint32_t OutputSample(const Tables& t, int32_t o, uint32_t v) {
    if constexpr (sizeof(Sample) == 1) {
        return t.hasOut ? t.output8[size_t(o) * size_t(t.output8Size) + (v >> 4)] : v >> 8;
    } else {
        return t.hasOut ? t.outputCurves[size_t(o) * size_t(t.outputCurveSize) + (v >> 4)] : v;
    }
}

// Orders the three fractions a, b, c (channels 0, 1, 2) descending by a comparison tree.
inline void SortThree(const uint32_t* f, int32_t* order) {
    const uint32_t a = f[0], b = f[1], c = f[2];
    if (b < a) {
        if (c < b) order[0] = 0, order[1] = 1, order[2] = 2;
        else if (c < a) order[0] = 0, order[1] = 2, order[2] = 1;
        else order[0] = 2, order[1] = 0, order[2] = 1;
    } else {
        if (b <= c) order[0] = 2, order[1] = 1, order[2] = 0;
        else if (c < a) order[0] = 1, order[1] = 0, order[2] = 2;
        else order[0] = 1, order[1] = 2, order[2] = 0;
    }
}

// Insertion sort of `order` by descending fraction: an element moves forward only past a strictly
// smaller one, so equal fractions keep their channel order.
inline void SortDescending(const uint32_t* f, int32_t* order, int32_t m) {
    for (int32_t i = 1; i < m; ++i) {
        const int32_t moving = order[i];
        int32_t j = i;
        for (; j > 0 && f[order[j - 1]] < f[moving]; --j) order[j] = order[j - 1];
        order[j] = moving;
    }
}

// One vertex step of a simplex: the fraction in the high half, the node stride in the low half,
// so that ordering by key orders by fraction.
inline uint64_t VertexKey(uint32_t fraction, uint32_t stride) { return (uint64_t(fraction) << 32) | stride; }

// Orders three vertex keys descending by a sorting network of compare-exchanges that compile to
// conditional moves: on random pixels the comparison tree mispredicts about every other pixel.
// Equal fractions may come out in another order than the tree's; the node between them gets the
// weight f(s(i-1)) - f(s(i)) = 0, so the sums, and every output bit, stay the same.
inline void SortThreeKeys(uint64_t& a, uint64_t& b, uint64_t& c) {
    auto exchange = [](uint64_t& x, uint64_t& y) {
        const uint64_t high = x > y ? x : y;
        y = x > y ? y : x;
        x = high;
    };
    exchange(a, b);
    exchange(b, c);
    exchange(a, b);
}

// Where one 8-bit sample value lands in the grid: the node offset of its cell and its fraction.
struct Landing {
    uint32_t offset;
    uint32_t fraction;
};

template <class T>
class Kernel {
public:
    Kernel(TKLinkGeneric& link, const Tables& tables, const AxisTable* axis, int32_t n, int32_t outs)
        : fLink(link), fT(tables), fAxis(axis), fN(n), fOuts(outs),
          fMath(TKLinkCellMath::For(link.GridPoints(), link.GridShift())) {
        for (int32_t c = 0; c < n; ++c) fStride[c] = uint32_t(link.Stride(c));
    }

    // The 3-channel simplex and the 4-channel simplex with channel 3 split, fully unrolled, on
    // shifted and divided cells alike: only Locate and Result differ between them.
    static constexpr bool kUnrolled = (T::kChannels == 3 && !T::kSplit) || (T::kChannels == 4 && T::kSplit);

    // An 8-bit sample takes one of 256 values, so where it lands, its cell offset and fraction,
    // can be worked out once per call for long calls: the same integers, one load per channel.
    // On divided cells this saves a division per channel and pixel.
    static constexpr bool kCanLand = kUnrolled && sizeof(typename T::Src) == 1;
    using LandingTable = Landing[T::kChannels][256];

    void Land(LandingTable& table) const {
        for (int32_t c = 0; c < T::kChannels; ++c)
            for (uint32_t sample = 0; sample < 256; ++sample) {
                const uint32_t v = InputPosition<typename T::Src>(fT, c, sample);
                uint32_t f = 0;
                const uint32_t q = fMath.template Locate<T::kShifted>(v, f);
                table[c][sample] = {uint32_t(fAxis[c][q]), f};
            }
    }

    // One pixel from raw samples to output samples.
    void Pixel(const uint32_t* samples, uint32_t* out) {
        if constexpr (kUnrolled) PixelUnrolled<false>(samples, out, nullptr);
        else PixelGeneric(samples, out);
    }

    // The same through a table filled by Land.
    void PixelLanded(const LandingTable& table, const uint32_t* samples, uint32_t* out) {
        PixelUnrolled<true>(samples, out, table);
    }

    template <bool Landed>
    void PixelUnrolled(const uint32_t* samples, uint32_t* out, const Landing (*table)[256]) {
        constexpr int32_t n = T::kChannels;
        uint32_t f[4];
        uint32_t node = 0;
        for (int32_t c = 0; c < n; ++c) {
            if constexpr (Landed) {
                const Landing& at = table[c][samples[c]];
                node += at.offset;
                f[c] = at.fraction;
            } else {
                const uint32_t v = InputPosition<typename T::Src>(fT, c, samples[c]);
                node += uint32_t(fAxis[c][fMath.template Locate<T::kShifted>(v, f[c])]);
            }
        }
        uint64_t k0 = VertexKey(f[0], fStride[0]), k1 = VertexKey(f[1], fStride[1]), k2 = VertexKey(f[2], fStride[2]);
        SortThreeKeys(k0, k1, k2);
        const uint32_t f0 = uint32_t(k0 >> 32), f1 = uint32_t(k1 >> 32), f2 = uint32_t(k2 >> 32);
        const uint32_t n0 = node, n1 = n0 + uint32_t(k0), n2 = n1 + uint32_t(k1), n3 = n2 + uint32_t(k2);
        const uint32_t w0 = fMath.cell - f0, w1 = f0 - f1, w2 = f1 - f2, w3 = f2;
        uint32_t sum[T::kMaxOutputs];
        if constexpr (T::kSplit) {
            const uint32_t f3 = f[3], s3 = fStride[3];
            const uint32_t t0 = fMath.UpperShare(w0, f3), t1 = fMath.UpperShare(w1, f3);
            const uint32_t t2 = fMath.UpperShare(w2, f3), t3 = fMath.UpperShare(w3, f3);
            const uint32_t nodes[8] = {n0, n0 + s3, n1, n1 + s3, n2, n2 + s3, n3, n3 + s3};
            const uint32_t weights[8] = {w0 - t0, t0, w1 - t1, t1, w2 - t2, t2, w3 - t3, t3};
            AccumulateAll<8>(nodes, weights, sum);
        } else {
            const uint32_t nodes[4] = {n0, n1, n2, n3};
            const uint32_t weights[4] = {w0, w1, w2, w3};
            AccumulateAll<4>(nodes, weights, sum);
        }
        for (int32_t o = 0; o < Outputs(); ++o)
            out[o] = OutputSample<typename T::Dst>(fT, o, fMath.template Result<T::kShifted>(sum[o]));
    }

    void PixelGeneric(const uint32_t* samples, uint32_t* out) {
        const int32_t n = Channels();
        uint32_t f[TKLinkGeneric::kMaxSrcDim];
        uint32_t node = 0;
        for (int32_t c = 0; c < n; ++c) {
            const uint32_t v = InputPosition<typename T::Src>(fT, c, samples[c]);
            node += uint32_t(fAxis[c][fMath.template Locate<T::kShifted>(v, f[c])]);
        }

        // The channels of the simplex, in descending order of fraction.
        const bool split = T::kSplit && n >= 4;
        int32_t order[TKLinkGeneric::kMaxSrcDim];
        int32_t m = 0;
        if constexpr (T::kChannels == 3 || (T::kChannels == 4 && T::kSplit)) {
            SortThree(f, order);
            m = 3;
        } else {
            for (int32_t c = 0; c < n; ++c)
                if (!(split && c == 3)) order[m++] = c;
            SortDescending(f, order, m);
        }

        uint32_t sum[T::kMaxOutputs];
        for (int32_t o = 0; o < Outputs(); ++o) sum[o] = 0;
        uint32_t previous = fMath.cell;
        for (int32_t i = 0; i <= m; ++i) {
            if (i > 0) node += fStride[order[i - 1]];
            const uint32_t fraction = i < m ? f[order[i]] : 0;
            const uint32_t w = previous - fraction;  // cell - f(s0), f(s(i-1)) - f(s(i)), f(s(n-1))
            previous = fraction;
            if (split) {
                const uint32_t upper = fMath.UpperShare(w, f[3]);
                Accumulate(node, w - upper, sum);
                Accumulate(node + fStride[3], upper, sum);
            } else {
                Accumulate(node, w, sum);
            }
        }
        for (int32_t o = 0; o < Outputs(); ++o)
            out[o] = OutputSample<typename T::Dst>(fT, o, fMath.template Result<T::kShifted>(sum[o]));
    }

    int32_t Channels() const { return T::kChannels ? T::kChannels : fN; }
    int32_t Outputs() const { return T::kOutputs ? T::kOutputs : fOuts; }

private:
    // The lazy path: one pointer test on a complete link.
    void Touch(uint32_t node) {
        if (fT.flags && !fT.flags[node].load(std::memory_order_acquire)) fLink.CalcNode(node);
    }

    void Accumulate(uint32_t node, uint32_t w, uint32_t* sum) {
        Touch(node);
        const uint16_t* values = fT.nodes + size_t(node) * size_t(Outputs());
        for (int32_t o = 0; o < Outputs(); ++o) sum[o] += uint32_t(values[o]) * w;
    }

    // sum(o) = the weighted sum of Count nodes. Four outputs (CMYK) take two nodes per SSE2 step:
    // a node is four 16-bit values in 8 bytes, and the exact 32-bit product of 16-bit unsigned
    // values is the low and high halves of the 16-bit multiplies, interleaved. The sums wrap as
    // the scalar ones would (they never do: the weights add up to one cell).
    template <int32_t Count>
    void AccumulateAll(const uint32_t* nodes, const uint32_t* weights, uint32_t* sum) {
#if defined(__SSE2__)
        if constexpr (T::kOutputs == 4 && Count % 2 == 0) {
            if (fT.flags)
                for (int32_t i = 0; i < Count; ++i) Touch(nodes[i]);
            __m128i total = _mm_setzero_si128();
#pragma GCC unroll 8
            for (int32_t i = 0; i < Count; i += 2) {
                const uint16_t* a = fT.nodes + size_t(nodes[i]) * 4;
                const uint16_t* b = fT.nodes + size_t(nodes[i + 1]) * 4;
                const __m128i values = _mm_castpd_si128(_mm_loadh_pd(
                    _mm_castsi128_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a))),
                    reinterpret_cast<const double*>(b)));
                __m128i w = _mm_cvtsi32_si128(int32_t(weights[i] | (weights[i + 1] << 16)));
                w = _mm_unpacklo_epi16(w, w);
                w = _mm_unpacklo_epi32(w, w);  // four lanes of the first weight, four of the second
                const __m128i low = _mm_mullo_epi16(values, w);
                const __m128i high = _mm_mulhi_epu16(values, w);
                total = _mm_add_epi32(total, _mm_add_epi32(_mm_unpacklo_epi16(low, high),
                                                           _mm_unpackhi_epi16(low, high)));
            }
            _mm_storeu_si128(reinterpret_cast<__m128i*>(sum), total);
            return;
        }
#endif
        for (int32_t o = 0; o < Outputs(); ++o) sum[o] = 0;
        for (int32_t i = 0; i < Count; ++i) Accumulate(nodes[i], weights[i], sum);
    }

    TKLinkGeneric& fLink;
    const Tables fT;  // a copy: the kernel's stores of samples can't alias it
    const AxisTable* fAxis;
    const int32_t fN;
    const int32_t fOuts;
    const TKLinkCellMath fMath;
    uint32_t fStride[TKLinkGeneric::kMaxSrcDim];
};

// Calls of at least this many pixels fill a landing table first (8-bit unrolled kernels).
constexpr int32_t kLandingMinPixels = 1024;

// The smallest unsigned word that holds `Bytes` bytes (at most 8).
template <size_t Bytes>
using WordOf = std::conditional_t<(Bytes <= 4), uint32_t, uint64_t>;

// A pixel's samples as one word for comparing equal pixels. Three- and six-byte pixels are read
// as two loads put together in registers: a copy into a wider zeroed word goes through memory,
// and its load then waits for the narrower stores, about a dozen cycles on every pixel.
template <size_t Bytes>
inline WordOf<Bytes> PixelKey(const uint8_t* p) {
    if constexpr (Bytes == 3 || Bytes == 6) {
        using Head = std::conditional_t<Bytes == 3, uint16_t, uint32_t>;
        using Tail = std::conditional_t<Bytes == 3, uint8_t, uint16_t>;
        Head head;
        Tail tail;
        std::memcpy(&head, p, sizeof head);
        std::memcpy(&tail, p + sizeof head, sizeof tail);
        return WordOf<Bytes>(head) | (WordOf<Bytes>(tail) << (8 * sizeof head));
    } else {
        static_assert(Bytes == 1 || Bytes == 2 || Bytes == 4 || Bytes == 8, "pixel sizes of 1 to 4 samples");
        using Exact = std::conditional_t<Bytes == 1, uint8_t,
                                         std::conditional_t<Bytes == 2, uint16_t, WordOf<Bytes>>>;
        Exact key;
        std::memcpy(&key, p, Bytes);
        return key;
    }
}

// Interleaved pixels of a kernel of fixed shape: a pixel's samples are read as one word, so a
// run of equal pixels costs a compare and a store each, and the result is stored as one word.
template <class T, class PixelFunction>
void WalkInterleaved(PixelFunction pixelFunction, int32_t count, const uint8_t* in, int32_t inStep, uint8_t* to,
                     int32_t toStep, TKProgress* progress) {
    using Src = typename T::Src;
    using Dst = typename T::Dst;
    constexpr size_t kInBytes = size_t(T::kChannels) * sizeof(Src);
    constexpr size_t kOutBytes = size_t(T::kOutputs) * sizeof(Dst);
    static_assert(kInBytes <= 8 && kOutBytes <= 8, "a pixel must fit one word");
    using InWord = WordOf<kInBytes>;
    using OutWord = WordOf<kOutBytes>;

    auto compute = [&](const uint8_t* pixel) {
        uint32_t samples[T::kChannels];
        for (int32_t c = 0; c < T::kChannels; ++c) {
            Src sample;
            std::memcpy(&sample, pixel + size_t(c) * sizeof(Src), sizeof sample);
            samples[c] = sample;
        }
        uint32_t out[T::kMaxOutputs];
        pixelFunction(samples, out);
        Dst result[T::kOutputs];
        for (int32_t o = 0; o < T::kOutputs; ++o) result[o] = static_cast<Dst>(out[o]);
        OutWord word = 0;
        std::memcpy(&word, result, kOutBytes);
        return word;
    };

    InWord previous = PixelKey<kInBytes>(in);
    OutWord result = compute(in);
    for (int32_t i = 0;;) {
        std::memcpy(to, &result, kOutBytes);
        if ((i & 0xFFFF) == 0xFFFF && progress) progress->SetProgress(double(i) / double(count - 1));
        if (++i == count) break;
        in += inStep;
        to += toStep;
        const InWord key = PixelKey<kInBytes>(in);
        if (key != previous) {
            previous = key;
            result = compute(in);
        }
    }
}

// The pixel loop of every kernel: samples in through per-channel pointers with byte strides,
// a run of pixels equal to the previous one copies its result without table work.
template <class T>
void Run(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst, const int32_t* srcStrides,
         const int32_t* dstStrides, TKProgress* progress) {
    const int32_t n = link.GetSrcDim();
    const int32_t outs = link.GetDstDim();
    if (count < 1 || n < 1 || outs < 1) return;
    if (!link.InputCurves() || !link.OutputCurves() || !link.Nodes()) TKThrow(PtrInvalid);
    // A kernel of fixed shape on a link of another shape would read past the caller's arrays or
    // mix cell arithmetic: refused once per call, never per pixel.
    if (n < T::kMinChannels || n > T::kMaxChannels || outs > T::kMaxOutputs || (T::kOutputs && outs != T::kOutputs))
        TKThrow(DimMismatch);
    if (T::kShifted && !(link.GridShift() >= 1 || link.GridPoints() == 2)) TKThrow(ArgErr);

    const Tables tables{link.InputCurves(), link.Input8(),      link.OutputCurves(),
                        link.Output8(),     link.Nodes(),       link.NodeFlags(),
                        link.InputCurveSize(), link.OutputCurveSize(), link.Output8Size(),
                        link.HasInputCurves(), link.HasOutputCurves()};
    Kernel<T> kernel(link, tables, axis, n, outs);
    const int32_t channels = kernel.Channels();
    const int32_t outputs = kernel.Outputs();

    // The caller's pointer arrays stay unchanged: the kernel walks copies.
    const uint8_t* in[TKLinkGeneric::kMaxSrcDim];
    uint8_t* to[TKLinkGeneric::kMaxDstDim];
    // Strides too: the byte stores of samples could alias the caller's arrays, which would reload
    // them for every pixel.
    int32_t inStep[TKLinkGeneric::kMaxSrcDim];
    int32_t toStep[TKLinkGeneric::kMaxDstDim];
    for (int32_t c = 0; c < channels; ++c) in[c] = static_cast<const uint8_t*>(src[c]), inStep[c] = srcStrides[c];
    for (int32_t o = 0; o < outputs; ++o) to[o] = static_cast<uint8_t*>(dst[o]), toStep[o] = dstStrides[o];

    using Src = typename T::Src;
    using Dst = typename T::Dst;
    if constexpr (T::kChannels > 0 && T::kOutputs > 0 && T::kChannels * sizeof(Src) <= 8 &&
                  T::kOutputs * sizeof(Dst) <= 8) {
        bool interleaved = true;
        for (int32_t c = 1; c < channels; ++c)
            interleaved = interleaved && in[c] == in[0] + size_t(c) * sizeof(Src) && inStep[c] == inStep[0];
        for (int32_t o = 1; o < outputs; ++o)
            interleaved = interleaved && to[o] == to[0] + size_t(o) * sizeof(Dst) && toStep[o] == toStep[0];
        if (interleaved) {
            if constexpr (Kernel<T>::kCanLand) {
                // The table costs about as much as a thousand pixels; shorter calls go without.
                if (count >= kLandingMinPixels) {
                    typename Kernel<T>::LandingTable table;
                    kernel.Land(table);
                    return WalkInterleaved<T>(
                        [&](const uint32_t* samples, uint32_t* out) { kernel.PixelLanded(table, samples, out); },
                        count, in[0], inStep[0], to[0], toStep[0], progress);
                }
            }
            return WalkInterleaved<T>([&](const uint32_t* samples, uint32_t* out) { kernel.Pixel(samples, out); },
                                      count, in[0], inStep[0], to[0], toStep[0], progress);
        }
    }

    uint32_t samples[TKLinkGeneric::kMaxSrcDim];
    uint32_t previous[TKLinkGeneric::kMaxSrcDim];
    uint32_t out[T::kMaxOutputs];
    bool havePrevious = false;
    for (int32_t i = 0; i < count; ++i) {
        bool same = havePrevious;
        for (int32_t c = 0; c < channels; ++c) {
            Src s;
            std::memcpy(&s, in[c], sizeof s);
            samples[c] = s;
            same = same && samples[c] == previous[c];
            in[c] += inStep[c];
        }
        if (!same) {
            kernel.Pixel(samples, out);
            for (int32_t c = 0; c < channels; ++c) previous[c] = samples[c];
            havePrevious = true;
        }
        for (int32_t o = 0; o < outputs; ++o) {
            const Dst d = static_cast<Dst>(out[o]);
            std::memcpy(to[o], &d, sizeof d);
            to[o] += toStep[o];
        }
        if ((i & 0xFFFF) == 0xFFFF && progress) progress->SetProgress(double(i) / double(count - 1));
    }
}

}  // namespace TKLinkKernelDetail
