// Lanes of the pixel kernels: the kernel body computes one pixel per lane, and a lane set says
// how many lanes a step has and how they reach memory. This file holds the one-lane set, plain
// 32-bit integers, used wherever no wider set runs and for the pixels left over after the
// wide steps. A wider set (TKLinkLanesAvx2.h) gives the same operations on vectors.
//
// Every lane header, and the body over them, lives in a namespace named after the instruction
// set it is compiled for (TK_LINK_KERNEL_ISA): the same inline functions compiled for AVX2 in
// one file and for plain x86-64 in another must never be merged by the linker.
#pragma once

#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#ifndef TK_LINK_KERNEL_ISA
#define TK_LINK_KERNEL_ISA TKLinkPortable
#endif

inline namespace TK_LINK_KERNEL_ISA {

// One-lane helpers on plain words, named like the vector operations so the body reads the same.
constexpr uint32_t TKLaneSelect(bool take, uint32_t a, uint32_t b) { return take ? a : b; }
constexpr uint32_t TKLaneMin(uint32_t a, uint32_t b) { return a < b ? a : b; }
constexpr uint32_t TKLaneMax(uint32_t a, uint32_t b) { return a > b ? a : b; }

// x / cell through the reciprocal floor(2^64 / cell) + 1 (see TKLinkCellMath).
constexpr uint32_t TKLaneDivide(uint32_t x, uint64_t reciprocal, uint32_t cell) {
#if defined(__SIZEOF_INT128__)
    (void)cell;
    return uint32_t((static_cast<unsigned __int128>(x) * reciprocal) >> 64);
#else
    (void)reciprocal;
    return x / cell;
#endif
}

struct TKLinkScalarLanes {
    static constexpr int32_t kWidth = 1;
    using V = uint32_t;

    static V Lookup16(const uint16_t* table, V index) { return table[index]; }
    static V Lookup8(const uint8_t* table, V index) { return table[index]; }
    static V Lookup32(const uint32_t* table, V index) { return table[index]; }
    // Entry `index` (0..7) of a table of eight words.
    static V Pick(const uint32_t* table8, V index) { return table8[index]; }

    // sum(o) = the sum over Count nodes of node(o) * weight, for `outputs` outputs of 16-bit
    // node values. Four outputs (CMYK) take two nodes per SSE2 step: a node is four 16-bit values
    // in 8 bytes, and the exact 32-bit product of 16-bit unsigned values is the low and high halves
    // of the 16-bit multiplies, interleaved. The sums wrap as plain ones would (they never do:
    // the weights add up to one cell).
    // weightSum: what the weights of a pixel add up to (one cell); wider lane sets use it.
    template <int32_t Outputs, int32_t Count>
    static void Accumulate(const uint16_t* nodes, int32_t outputs, const V* index, const V* weight, uint32_t,
                           V* sum) {
#if defined(__SSE2__)
        if constexpr (Outputs == 4 && Count % 2 == 0) {
            __m128i total = _mm_setzero_si128();
#pragma GCC unroll 8
            for (int32_t i = 0; i < Count; i += 2) {
                const uint16_t* a = nodes + size_t(index[i]) * 4;
                const uint16_t* b = nodes + size_t(index[i + 1]) * 4;
                const __m128i values = _mm_castpd_si128(_mm_loadh_pd(
                    _mm_castsi128_pd(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(a))),
                    reinterpret_cast<const double*>(b)));
                __m128i w = _mm_cvtsi32_si128(int32_t(weight[i] | (weight[i + 1] << 16)));
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
        const int32_t outs = Outputs ? Outputs : outputs;
        for (int32_t o = 0; o < outs; ++o) sum[o] = 0;
        for (int32_t i = 0; i < Count; ++i) {
            const uint16_t* values = nodes + size_t(index[i]) * size_t(outs);
            for (int32_t o = 0; o < outs; ++o) sum[o] += uint32_t(values[o]) * weight[i];
        }
    }

    // The node indices of lane `lane`, for the lazy check.
    static uint32_t Lane(V v, int32_t) { return v; }
};

}  // inline namespace TK_LINK_KERNEL_ISA
