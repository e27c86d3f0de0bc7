// A slow, obvious evaluator of one pixel through a link's tables, by the integer rules of the
// kernels, with the cell arithmetic chosen by the caller: the divided-cell kernels also run on
// grids of 2^k + 1 points (8-to-16-bit pixels there have no shifted kernel), and then they
// round differently from the shifted ones. Written without the kernels' shared helper.
#pragma once

#include <cstdint>

#include "link/TKLinkGeneric.h"

namespace KernelReference {

struct Cells {
    bool shifted;  // shift and mask (2^k + 1 or 2 points) or division by the cell size
};

inline void Pixel(TKLinkGeneric& link, const uint32_t* src, int32_t srcBits, uint32_t* dst, int32_t dstBits,
                  Cells cells, bool splitChannel3) {
    const int32_t n = link.GetSrcDim();
    const int32_t outs = link.GetDstDim();
    const uint32_t g = uint32_t(link.GridPoints());
    const int32_t k = link.GridShift();
    uint32_t cell = 0xFFFF;
    if (k >= 1) cell = 1u << (16 - k);
    else if (g > 2) cell = (65535 + (g - 1) - 1) / (g - 1);  // 65535 / (g - 1), rounded up

    uint32_t f[16];
    uint32_t base = 0;
    for (int32_t c = 0; c < n; ++c) {
        uint32_t v;
        if (srcBits == 8)
            v = link.HasInputCurves() ? link.Input8()[c * 256 + src[c]] : src[c] * 257;
        else
            v = link.HasInputCurves() ? link.InputCurves()[c * 4096 + src[c] / 16] : src[c];
        uint32_t q;
        if (cells.shifted) {
            q = v >> (16 - k);
            f[c] = v == 0xFFFF ? cell : v % cell;
        } else {
            q = v / cell;
            f[c] = v % cell;
            if (q + 1 >= g) {
                q = g - 2;
                f[c] = cell;
            }
        }
        base += q * uint32_t(link.Stride(c));
    }

    const bool split = splitChannel3 && n >= 4;
    int32_t order[16];
    int32_t m = 0;
    for (int32_t c = 0; c < n; ++c)
        if (!split || c != 3) order[m++] = c;
    // Stable sort by descending fraction (bubble passes: only strictly smaller ones are passed).
    for (int32_t pass = 0; pass < m; ++pass)
        for (int32_t i = m - 1; i > 0; --i)
            if (f[order[i - 1]] < f[order[i]]) {
                const int32_t t = order[i];
                order[i] = order[i - 1];
                order[i - 1] = t;
            }

    uint64_t sum[36] = {};
    uint32_t node = base;
    for (int32_t i = 0; i <= m; ++i) {
        if (i > 0) node += uint32_t(link.Stride(order[i - 1]));
        const uint32_t hi = i == 0 ? cell : f[order[i - 1]];
        const uint32_t lo = i == m ? 0 : f[order[i]];
        const uint32_t w = hi - lo;
        uint32_t far = 0;
        if (split) far = f[3] >= cell ? w : w * f[3] / cell;
        for (int32_t o = 0; o < outs; ++o) {
            link.EnsureNode(node);
            sum[o] += uint64_t(link.Nodes()[uint64_t(node) * outs + o]) * (w - far);
            if (split) {
                const uint32_t other = node + uint32_t(link.Stride(3));
                link.EnsureNode(other);
                sum[o] += uint64_t(link.Nodes()[uint64_t(other) * outs + o]) * far;
            }
        }
    }

    for (int32_t o = 0; o < outs; ++o) {
        const uint32_t v = uint32_t(cells.shifted ? sum[o] >> (16 - k) : sum[o] / cell);
        if (dstBits == 8)
            dst[o] = link.HasOutputCurves() ? link.Output8()[o * 4096 + v / 16] : v / 256;
        else
            dst[o] = link.HasOutputCurves() ? link.OutputCurves()[o * 4096 + v / 16] : v;
    }
}

}  // namespace KernelReference
