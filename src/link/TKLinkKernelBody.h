// The one interpolation body behind every pixel kernel of a link, written over a traits struct:
// sample types in and out, input channel count, shifted or divided cells, split of channel 3,
// and the lanes a step computes (one pixel, or eight in AVX2 registers: TKLinkLanes.h).
// Integer arithmetic only; all state lives in locals, so threads may share a link.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "foundation/TKError.h"
#include "foundation/TKProgress.h"
#include "link/TKLinkGeneric.h"
#include "link/TKLinkKernelMath.h"
#include "link/TKLinkLanes.h"

inline namespace TK_LINK_KERNEL_ISA {

template <class SrcSample, class DstSample, int32_t MinChannels, int32_t MaxChannels, bool ShiftedCells,
          bool SplitChannel3, int32_t MaxOutputs, int32_t Outputs = 0, class LaneSet = TKLinkScalarLanes>
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
    // Pixels per step of the unrolled forms; the loops and left-over pixels take one lane.
    using Lanes = LaneSet;
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

template <class Sample, class L = TKLinkScalarLanes>
inline typename L::V InputPosition(const Tables& t, int32_t c, typename L::V sample) {
    if constexpr (sizeof(Sample) == 1) {
        // A byte widens to 16 bits as sample * 0x101.
        return t.hasIn ? L::Lookup16(t.input8 + size_t(c) * TKLinkGeneric::kInput8Size, sample)
                       : sample | (sample << 8);
    } else {
        // 12 bits of curve index keep the curves in cache; the low four bits are dropped on purpose.
        return t.hasIn ? L::Lookup16(t.inputCurves + size_t(c) * size_t(t.inputCurveSize), sample >> 4) : sample;
    }
}

template <class Sample, class L = TKLinkScalarLanes>
inline typename L::V OutputSample(const Tables& t, int32_t o, typename L::V v) {
    if constexpr (sizeof(Sample) == 1) {
        return t.hasOut ? L::Lookup8(t.output8 + size_t(o) * size_t(t.output8Size), v >> 4) : v >> 8;
    } else {
        return t.hasOut ? L::Lookup16(t.outputCurves + size_t(o) * size_t(t.outputCurveSize), v >> 4) : v;
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

// Orders three keys descending by compare-exchanges, which compile to conditional moves (on
// random pixels a comparison tree mispredicts about every other pixel) or to vector min and max.
template <class V>
inline void SortThreeKeys(V& a, V& b, V& c) {
    auto exchange = [](V& x, V& y) {
        const V high = TKLaneMax(x, y);
        y = TKLaneMin(x, y);
        x = high;
    };
    exchange(a, b);
    exchange(b, c);
    exchange(a, b);
}

// Where each 8-bit sample value lands in the grid, per channel: its cell's node offset and its
// fraction.
template <int32_t Channels>
struct LandingTable {
    uint32_t offset[Channels][256];
    uint32_t fraction[Channels][256];
};

template <class T>
class Kernel {
public:
    Kernel(TKLinkGeneric& link, const Tables& tables, const AxisTable* axis, int32_t n, int32_t outs)
        : fLink(link), fT(tables), fAxis(axis), fN(n), fOuts(outs),
          fMath(TKLinkCellMath::For(link.GridPoints(), link.GridShift())) {
        for (int32_t c = 0; c < n; ++c) fStride[c] = uint32_t(link.Stride(c));
        // Sorted keys carry 2 - c for channel c, so a tie of fractions keeps the channel order.
        for (int32_t c = 0; c < 3 && c < n; ++c) fStrideOfKey[2 - c] = fStride[c];
        fCornerStep = n >= 3 ? fStride[0] + fStride[1] + fStride[2] : 0;
    }

    // The 3-channel simplex and the 4-channel simplex with channel 3 split, fully unrolled, on
    // shifted and divided cells alike: only Locate and Result differ between them.
    static constexpr bool kUnrolled = (T::kChannels == 3 && !T::kSplit) || (T::kChannels == 4 && T::kSplit);

    // An 8-bit sample takes one of 256 values, so where it lands, its cell offset and fraction,
    // can be worked out once per call for long calls: the same integers, two loads per channel.
    // On divided cells this saves a division per channel and pixel.
    static constexpr bool kCanLand = kUnrolled && sizeof(typename T::Src) == 1;
    using Landings = LandingTable<kUnrolled ? T::kChannels : 1>;

    void Land(Landings& table) {
        for (int32_t c = 0; c < T::kChannels; ++c)
            for (uint32_t sample = 0; sample < 256; ++sample) {
                const uint32_t v = InputPosition<typename T::Src>(fT, c, sample);
                uint32_t f = 0;
                table.offset[c][sample] = fMath.template Locate<T::kShifted>(v, f) * fStride[c];
                table.fraction[c][sample] = f;
            }
        fLanding = &table;
    }

    // One pixel from raw samples to output samples.
    void Pixel(const uint32_t* samples, uint32_t* out) {
        if constexpr (kUnrolled) Unrolled<TKLinkScalarLanes, false>(samples, out);
        else PixelGeneric(samples, out);
    }

    // The same through the table Land filled.
    void PixelLanded(const uint32_t* samples, uint32_t* out) { Unrolled<TKLinkScalarLanes, true>(samples, out); }

    // One pixel per lane of L. The base node is the sum of the channels' cell offsets, k * stride
    // for cell k (what AxisOffset holds). The simplex order comes from sorting keys of fraction
    // and channel; the vertices are the base, the base plus the stride of the largest fraction's
    // channel, the far corner less the stride of the smallest one's, and the far corner.
    template <class L, bool Landed>
    void Unrolled(const typename L::V* samples, typename L::V* out) {
        using V = typename L::V;
        constexpr int32_t n = T::kChannels;
        V f[4];
        V node(0u);
        for (int32_t c = 0; c < n; ++c) {
            if constexpr (Landed) {
                node = node + L::Lookup32(fLanding->offset[c], samples[c]);
                f[c] = L::Lookup32(fLanding->fraction[c], samples[c]);
            } else {
                const V v = InputPosition<typename T::Src, L>(fT, c, samples[c]);
                node = node + fMath.template Locate<T::kShifted>(v, f[c]) * V(fStride[c]);
            }
        }
        V k0 = (f[0] << 2) | V(2u), k1 = (f[1] << 2) | V(1u), k2 = f[2] << 2;
        SortThreeKeys(k0, k1, k2);
        const V f0 = k0 >> 2, f1 = k1 >> 2, f2 = k2 >> 2;
        const V n0 = node, n3 = node + V(fCornerStep);
        const V n1 = n0 + L::Pick(fStrideOfKey, k0 & V(3u)), n2 = n3 - L::Pick(fStrideOfKey, k2 & V(3u));
        const V w0 = V(fMath.cell) - f0, w1 = f0 - f1, w2 = f1 - f2, w3 = f2;
        V sum[T::kMaxOutputs];
        if constexpr (T::kSplit) {
            const V f3 = f[3], s3(fStride[3]);
            const V t0 = fMath.UpperShare(w0, f3), t1 = fMath.UpperShare(w1, f3);
            const V t2 = fMath.UpperShare(w2, f3), t3 = fMath.UpperShare(w3, f3);
            const V nodes[8] = {n0, n0 + s3, n1, n1 + s3, n2, n2 + s3, n3, n3 + s3};
            const V weights[8] = {w0 - t0, t0, w1 - t1, t1, w2 - t2, t2, w3 - t3, t3};
            Accumulate<L, 8>(nodes, weights, sum);
        } else {
            const V nodes[4] = {n0, n1, n2, n3};
            const V weights[4] = {w0, w1, w2, w3};
            Accumulate<L, 4>(nodes, weights, sum);
        }
        for (int32_t o = 0; o < Outputs(); ++o)
            out[o] = OutputSample<typename T::Dst, L>(fT, o, fMath.template Result<T::kShifted>(sum[o]));
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
        for (int32_t c = 0; c < n; ++c)
            if (!(split && c == 3)) order[m++] = c;
        SortDescending(f, order, m);

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
                AccumulateOne(node, w - upper, sum);
                AccumulateOne(node + fStride[3], upper, sum);
            } else {
                AccumulateOne(node, w, sum);
            }
        }
        for (int32_t o = 0; o < Outputs(); ++o)
            out[o] = OutputSample<typename T::Dst>(fT, o, fMath.template Result<T::kShifted>(sum[o]));
    }

    int32_t Channels() const { return T::kChannels ? T::kChannels : fN; }
    int32_t Outputs() const { return T::kOutputs ? T::kOutputs : fOuts; }

private:
    // The lazy path: one pointer test on a complete link. CalcNode fills the node once under the
    // link's lock; its flag is published after the values, so the reads that follow see them.
    void Touch(uint32_t node) {
        if (fT.flags && !fT.flags[node].load(std::memory_order_acquire)) fLink.CalcNode(node);
    }

    void AccumulateOne(uint32_t node, uint32_t w, uint32_t* sum) {
        Touch(node);
        const uint16_t* values = fT.nodes + size_t(node) * size_t(Outputs());
        for (int32_t o = 0; o < Outputs(); ++o) sum[o] += uint32_t(values[o]) * w;
    }

    // sum(o) = the weighted sum of Count nodes per lane. On a lazy link every node of every lane
    // is made sure of first, one by one, before any lane reads the table.
    template <class L, int32_t Count>
    void Accumulate(const typename L::V* nodes, const typename L::V* weights, typename L::V* sum) {
        if (fT.flags) {
            uint32_t lanes[L::kWidth];
            for (int32_t i = 0; i < Count; ++i) {
                if constexpr (L::kWidth == 1) {
                    Touch(nodes[i]);
                } else {
                    L::Spill(nodes[i], lanes);
                    for (uint32_t node : lanes) Touch(node);
                }
            }
        }
        L::template Accumulate<T::kOutputs, Count>(fT.nodes, Outputs(), nodes, weights, fMath.cell, sum);
    }

    TKLinkGeneric& fLink;
    const Tables fT;  // a copy: the kernel's stores of samples can't alias it
    const AxisTable* fAxis;
    const int32_t fN;
    const int32_t fOuts;
    const TKLinkCellMath fMath;
    uint32_t fStride[TKLinkGeneric::kMaxSrcDim];
    uint32_t fStrideOfKey[8] = {};
    uint32_t fCornerStep = 0;
    const Landings* fLanding = nullptr;
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

// Pixels `first` to `count` - 1 through per-channel pointers (at pixel `first`) with byte
// strides; a pixel equal to the previous one copies its result without table work.
template <class T>
void WalkChannels(Kernel<T>& kernel, int32_t first, int32_t count, const uint8_t** in, const int32_t* inStep,
                  uint8_t** to, const int32_t* toStep, TKProgress* progress) {
    using Src = typename T::Src;
    using Dst = typename T::Dst;
    const int32_t channels = kernel.Channels();
    const int32_t outputs = kernel.Outputs();
    uint32_t samples[TKLinkGeneric::kMaxSrcDim];
    uint32_t previous[TKLinkGeneric::kMaxSrcDim];
    uint32_t out[T::kMaxOutputs];
    bool havePrevious = false;
    for (int32_t i = first; i < count; ++i) {
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

// The bytes `count` samples of `size` bytes cover from `p` with byte step `step`.
struct ByteSpan {
    uintptr_t begin, end;
    bool Meets(const ByteSpan& other) const { return begin < other.end && other.begin < end; }
};
inline ByteSpan SpanOf(const uint8_t* p, int32_t step, int32_t count, size_t size) {
    const intptr_t reach = intptr_t(step) * (count - 1);
    const uintptr_t start = uintptr_t(p);
    return reach < 0 ? ByteSpan{start - uintptr_t(-reach), start + size} : ByteSpan{start, start + uintptr_t(reach) + size};
}

// True if the channel pointers are one pixel's samples side by side with a common step.
template <class Sample, class Pointer>
bool Interleaved(Pointer const* p, const int32_t* step, int32_t channels) {
    for (int32_t c = 1; c < channels; ++c)
        if (reinterpret_cast<const uint8_t*>(p[c]) != reinterpret_cast<const uint8_t*>(p[0]) + size_t(c) * sizeof(Sample) ||
            step[c] != step[0])
            return false;
    return true;
}

// Wide steps read eight pixels before they write any, and write output by output: the same
// bytes as pixel by pixel only when no output sample lands on an input sample of a later pixel
// or on another output sample. That holds for separate buffers, for pixels converted in place
// with a step that holds both pixels, and for outputs that don't overlap one another; other
// layouts, which a careful host doesn't make, go pixel by pixel.
template <class T>
bool WideStepsKeepOrder(int32_t count, const uint8_t* const* in, const int32_t* inStep, uint8_t* const* to,
                        const int32_t* toStep, int32_t channels, int32_t outputs) {
    using Src = typename T::Src;
    using Dst = typename T::Dst;
    const bool inInterleaved = Interleaved<Src>(in, inStep, channels);
    const bool toInterleaved = Interleaved<Dst>(to, toStep, outputs);
    if (inInterleaved && toInterleaved && to[0] == in[0] && inStep[0] > 0 && toStep[0] == inStep[0] &&
        size_t(inStep[0]) >= size_t(channels) * sizeof(Src) && size_t(toStep[0]) >= size_t(outputs) * sizeof(Dst))
        return true;  // in place
    ByteSpan outSpans[TKLinkGeneric::kMaxDstDim];
    for (int32_t o = 0; o < outputs; ++o) outSpans[o] = SpanOf(to[o], toStep[o], count, sizeof(Dst));
    for (int32_t c = 0; c < channels; ++c) {
        const ByteSpan span = SpanOf(in[c], inStep[c], count, sizeof(Src));
        for (int32_t o = 0; o < outputs; ++o)
            if (span.Meets(outSpans[o])) return false;
    }
    if (toInterleaved && size_t(toStep[0]) >= size_t(outputs) * sizeof(Dst)) return true;
    for (int32_t o = 0; o < outputs; ++o)
        for (int32_t p = o + 1; p < outputs; ++p)
            if (outSpans[o].Meets(outSpans[p])) return false;
    return true;
}

// Whole steps of L::kWidth pixels; returns how many pixels were done, a multiple of the width.
// A step whose pixels all equal the last pixel before it copies that pixel's result.
template <class T>
int32_t WalkLanes(Kernel<T>& kernel, int32_t count, const uint8_t* const* in, const int32_t* inStep,
                  uint8_t* const* to, const int32_t* toStep, TKProgress* progress) {
    using L = typename T::Lanes;
    using V = typename L::V;
    using Src = typename T::Src;
    using Dst = typename T::Dst;
    constexpr int32_t kWidth = L::kWidth;
    constexpr int32_t kChannels = T::kChannels;
    const int32_t outputs = kernel.Outputs();
    const bool inInterleaved = Interleaved<Src>(in, inStep, kChannels);
    const bool toInterleaved = T::kOutputs > 0 && Interleaved<Dst>(to, toStep, outputs);
    V samples[kChannels], out[T::kMaxOutputs];
    V lastSamples[kChannels], lastOut[T::kMaxOutputs];
    for (V& v : lastOut) v = V(0u);
    int32_t i = 0;
    for (; i + kWidth <= count; i += kWidth) {
        const ptrdiff_t at = ptrdiff_t(i);
        if (!(inInterleaved && L::template LoadInterleaved<Src, kChannels>(in[0] + at * inStep[0], inStep[0], samples)))
            for (int32_t c = 0; c < kChannels; ++c)
                samples[c] = inStep[c] == int32_t(sizeof(Src)) ? L::template LoadPacked<Src>(in[c] + at * inStep[c])
                                                               : L::template LoadStrided<Src>(in[c] + at * inStep[c], inStep[c]);
        bool same = i > 0;
        for (int32_t c = 0; c < kChannels && same; ++c) same = L::AllEqual(samples[c], lastSamples[c]);
        if (same) {
            for (int32_t o = 0; o < outputs; ++o) out[o] = lastOut[o];
        } else {
            kernel.template Unrolled<L, false>(samples, out);
            for (int32_t c = 0; c < kChannels; ++c) lastSamples[c] = L::BroadcastLast(samples[c]);
            for (int32_t o = 0; o < outputs; ++o) lastOut[o] = L::BroadcastLast(out[o]);
        }
        if (!(toInterleaved && L::template StoreInterleaved<Dst, T::kOutputs>(to[0] + at * toStep[0], toStep[0], out)))
            for (int32_t o = 0; o < outputs; ++o) {
                if (toStep[o] == int32_t(sizeof(Dst))) L::template StorePacked<Dst>(to[o] + at * toStep[o], out[o]);
                else L::template StoreStrided<Dst>(to[o] + at * toStep[o], toStep[o], out[o]);
            }
        // The width divides 65536: a step ends on each pixel the progress is reported at.
        if (((i + kWidth - 1) & 0xFFFF) == 0xFFFF && progress)
            progress->SetProgress(double(i + kWidth - 1) / double(count - 1));
    }
    return i;
}

// The pixel loop of every kernel: samples in through per-channel pointers with byte strides.
template <class T>
void Run(TKLinkGeneric& link, const AxisTable* axis, int32_t count, const void* const* src, void* const* dst,
         const int32_t* srcStrides, const int32_t* dstStrides, TKProgress* progress) {
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
    if constexpr (T::Lanes::kWidth > 1 && Kernel<T>::kUnrolled) {
        if (count >= T::Lanes::kWidth &&
            WideStepsKeepOrder<T>(count, in, inStep, to, toStep, channels, outputs)) {
            const int32_t done = WalkLanes<T>(kernel, count, in, inStep, to, toStep, progress);
            for (int32_t c = 0; c < channels; ++c) in[c] += ptrdiff_t(done) * inStep[c];
            for (int32_t o = 0; o < outputs; ++o) to[o] += ptrdiff_t(done) * toStep[o];
            return WalkChannels<T>(kernel, done, count, in, inStep, to, toStep, progress);
        }
    }
    if constexpr (T::kChannels > 0 && T::kOutputs > 0 && T::kChannels * sizeof(Src) <= 8 &&
                  T::kOutputs * sizeof(Dst) <= 8) {
        if (Interleaved<Src>(in, inStep, channels) && Interleaved<Dst>(to, toStep, outputs)) {
            if constexpr (Kernel<T>::kCanLand) {
                // The table costs about as much as a thousand pixels; shorter calls go without.
                if (count >= kLandingMinPixels) {
                    typename Kernel<T>::Landings table;
                    kernel.Land(table);
                    return WalkInterleaved<T>(
                        [&](const uint32_t* samples, uint32_t* out) { kernel.PixelLanded(samples, out); }, count,
                        in[0], inStep[0], to[0], toStep[0], progress);
                }
            }
            return WalkInterleaved<T>([&](const uint32_t* samples, uint32_t* out) { kernel.Pixel(samples, out); },
                                      count, in[0], inStep[0], to[0], toStep[0], progress);
        }
    }
    WalkChannels<T>(kernel, 0, count, in, inStep, to, toStep, progress);
}

}  // namespace TKLinkKernelDetail

}  // inline namespace TK_LINK_KERNEL_ISA
