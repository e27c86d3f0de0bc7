// A slow, obvious evaluator of a link's tables by the integer rules of the pixel kernels:
// one pixel at a time, no floating point, no unrolling. Every kernel must agree with it bit for bit.
#pragma once

#include <cstdint>
#include <cstring>

#include "link/TKLinkGeneric.h"

namespace LinkReference {

// Which family of kernel reads the grid: shifted cells (shift and mask; grids of 2^k + 1 points,
// or 2 points) or divided cells (division by Cell; any grid). The dispatch also sends pixels of
// shift grids to divided kernels where no shifted kernel exists for their sample sizes.
enum class Cells { kByGrid, kShifted, kDivided };

inline bool UsesShiftedCells(const TKLinkGeneric& link) {
    return link.GridShift() >= 1 || link.GridPoints() == 2;
}

// The family the dispatch of Match16, Match8 and Match8To16 picks for a link.
inline Cells DispatchedCells(const TKLinkGeneric& link, int32_t srcBits, int32_t dstBits) {
    if (!UsesShiftedCells(link)) return Cells::kDivided;
    const int32_t n = link.GetSrcDim();
    if ((n == 3 || n == 4) && link.GetDstDim() < 9) return Cells::kShifted;  // Match3, Match4
    // MatchShift / MatchShiftN have no 8-to-16-bit form: MatchGrid8To16 / MatchGridN8To16 stand in.
    return srcBits == 8 && dstBits == 16 ? Cells::kDivided : Cells::kShifted;
}

inline bool IsShifted(const TKLinkGeneric& link, Cells cells) {
    return cells == Cells::kByGrid ? UsesShiftedCells(link) : cells == Cells::kShifted;
}

// Cell size in 16-bit position units for a family.
inline uint32_t CellSize(const TKLinkGeneric& link, Cells cells = Cells::kByGrid) {
    const uint32_t g = uint32_t(link.GridPoints());
    if (IsShifted(link, cells)) return link.GridShift() >= 1 ? (0xFFFFu >> link.GridShift()) + 1 : 0xFFFFu;
    if (g < 2) return 0xFFFF;
    return (g + 65533u) / (g - 1);
}

// Position of channel c after the input stage.
inline uint32_t InputPosition(const TKLinkGeneric& link, int32_t c, uint32_t sample, int32_t srcBits) {
    if (srcBits == 8) {
        if (link.HasInputCurves()) return link.Input8()[size_t(c) * link.Input8Size() + sample];
        return sample * 0x101u;
    }
    if (link.HasInputCurves()) return link.InputCurves()[size_t(c) * link.InputCurveSize() + (sample >> 4)];
    return sample;
}

// Output sample of channel o from the grid result v.
inline uint32_t OutputSample(const TKLinkGeneric& link, int32_t o, uint32_t v, int32_t dstBits) {
    if (dstBits == 8) {
        if (link.HasOutputCurves()) return link.Output8()[size_t(o) * link.Output8Size() + (v >> 4)];
        return v >> 8;
    }
    if (link.HasOutputCurves()) return link.OutputCurves()[size_t(o) * link.OutputCurveSize() + (v >> 4)];
    return v;
}

inline uint32_t NodeValue(TKLinkGeneric& link, uint32_t node, int32_t o) {
    link.EnsureNode(node);
    return link.Nodes()[size_t(node) * link.GetDstDim() + o];
}

// One pixel. src holds SrcDim samples of srcBits (8 or 16), dst receives DstDim samples of
// dstBits. splitChannel3: with four channels and more, channel 3 is interpolated linearly on
// top of a simplex of the others (all dispatched kernels); false gives the one-simplex form of
// Match4Simplex. cells: the kernel family (kByGrid: shifted wherever the grid allows it).
inline void Pixel(TKLinkGeneric& link, const uint32_t* src, int32_t srcBits, uint32_t* dst, int32_t dstBits,
                  bool splitChannel3 = true, Cells cells = Cells::kByGrid) {
    const int32_t n = link.GetSrcDim();
    const int32_t outs = link.GetDstDim();
    const uint32_t cell = CellSize(link, cells);
    const bool shifted = IsShifted(link, cells);
    const int32_t k = link.GridShift();
    const uint32_t mask = k >= 1 ? (0xFFFFu >> k) : 0xFFFFu;
    const uint32_t g = uint32_t(link.GridPoints());

    uint32_t f[TKLinkGeneric::kMaxSrcDim];
    uint32_t base = 0;
    for (int32_t c = 0; c < n; ++c) {
        uint32_t v = InputPosition(link, c, src[c], srcBits);
        uint32_t q;
        if (shifted) {
            f[c] = v == 0xFFFF ? cell : (v & mask);
            q = v >> (16 - k);
        } else {
            q = v / cell;
            f[c] = v % cell;
            if (q >= g - 1) {
                q = g - 2;
                f[c] = cell;
            }
        }
        base += uint32_t(link.AxisOffset(c, int32_t(q)));
    }

    // The simplex channels in descending order of fraction; an element moves forward only past a
    // strictly smaller one. Channel 3 stays out of the sort when it is split.
    const bool split = splitChannel3 && n >= 4;
    int32_t order[TKLinkGeneric::kMaxSrcDim];
    int32_t m = 0;
    for (int32_t c = 0; c < n; ++c)
        if (!(split && c == 3)) order[m++] = c;
    for (int32_t i = 1; i < m; ++i)
        for (int32_t j = i; j > 0 && f[order[j - 1]] < f[order[j]]; --j) {
            int32_t t = order[j];
            order[j] = order[j - 1];
            order[j - 1] = t;
        }

    uint32_t weight[TKLinkGeneric::kMaxSrcDim + 1];
    weight[0] = cell - f[order[0]];
    for (int32_t i = 1; i < m; ++i) weight[i] = f[order[i - 1]] - f[order[i]];
    weight[m] = f[order[m - 1]];

    uint32_t sum[TKLinkGeneric::kMaxDstDim] = {};
    uint32_t node = base;
    for (int32_t i = 0; i <= m; ++i) {
        if (i > 0) node += uint32_t(link.Stride(order[i - 1]));
        if (!split) {
            for (int32_t o = 0; o < outs; ++o) sum[o] += NodeValue(link, node, o) * weight[i];
            continue;
        }
        const uint32_t f3 = f[3];
        const uint32_t upper = f3 >= cell ? weight[i] : weight[i] * f3 / cell;
        const uint32_t lower = weight[i] - upper;
        const uint32_t farNode = node + uint32_t(link.Stride(3));
        for (int32_t o = 0; o < outs; ++o)
            sum[o] += NodeValue(link, node, o) * lower + NodeValue(link, farNode, o) * upper;
    }

    for (int32_t o = 0; o < outs; ++o) {
        uint32_t v = shifted ? (sum[o] >> (16 - k)) : (sum[o] / cell);
        dst[o] = OutputSample(link, o, v, dstBits);
    }
}

// A whole kernel call: `count` pixels given by per-channel sample pointers and byte strides, as
// the kernels take them. In and Out are uint8_t or uint16_t.
template <class In, class Out>
void Match(TKLinkGeneric& link, int32_t count, const In* const* src, Out* const* dst, const int32_t* srcStrides,
           const int32_t* dstStrides, bool splitChannel3 = true, Cells cells = Cells::kByGrid) {
    uint32_t in[TKLinkGeneric::kMaxSrcDim], out[TKLinkGeneric::kMaxDstDim];
    for (int32_t i = 0; i < count; ++i) {
        for (int32_t c = 0; c < link.GetSrcDim(); ++c) {
            In sample;
            std::memcpy(&sample, reinterpret_cast<const uint8_t*>(src[c]) + int64_t(i) * srcStrides[c], sizeof sample);
            in[c] = sample;
        }
        Pixel(link, in, int32_t(8 * sizeof(In)), out, int32_t(8 * sizeof(Out)), splitChannel3, cells);
        for (int32_t o = 0; o < link.GetDstDim(); ++o) {
            const Out sample = static_cast<Out>(out[o]);
            std::memcpy(reinterpret_cast<uint8_t*>(dst[o]) + int64_t(i) * dstStrides[o], &sample, sizeof sample);
        }
    }
}

}  // namespace LinkReference
