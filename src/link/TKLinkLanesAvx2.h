// Eight lanes of 32 bits in an AVX2 register: the wide lane set of the pixel kernels. Only
// TKLinkKernelsAvx2.cpp includes this, inside its AVX2 target region and its own namespace.
// Table reads are gathers; every gather of a 16- or 8-bit entry reads a full 32-bit word, which
// the link's tables allow for by their padding (TKLinkGeneric::kTablePadding).
#pragma once

#include <immintrin.h>

#include <cstdint>
#include <cstring>

#include "link/TKLinkLanes.h"

inline namespace TK_LINK_KERNEL_ISA {

struct TKLanes8 {
    __m256i v;
    TKLanes8() = default;
    explicit TKLanes8(__m256i x) : v(x) {}
    explicit TKLanes8(uint32_t x) : v(_mm256_set1_epi32(int32_t(x))) {}
};
struct TKLaneMask8 {
    __m256i m;
};

inline TKLanes8 operator+(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_add_epi32(a.v, b.v)); }
inline TKLanes8 operator-(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_sub_epi32(a.v, b.v)); }
// The low 32 bits of the product, as the scalar kernels' unsigned multiply.
inline TKLanes8 operator*(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_mullo_epi32(a.v, b.v)); }
inline TKLanes8 operator&(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_and_si256(a.v, b.v)); }
inline TKLanes8 operator|(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_or_si256(a.v, b.v)); }
inline TKLanes8 operator>>(TKLanes8 a, uint32_t n) {
    return TKLanes8(_mm256_srl_epi32(a.v, _mm_cvtsi32_si128(int32_t(n))));
}
inline TKLanes8 operator<<(TKLanes8 a, uint32_t n) {
    return TKLanes8(_mm256_sll_epi32(a.v, _mm_cvtsi32_si128(int32_t(n))));
}
inline TKLaneMask8 operator==(TKLanes8 a, TKLanes8 b) { return {_mm256_cmpeq_epi32(a.v, b.v)}; }
inline TKLanes8 TKLaneSelect(TKLaneMask8 take, TKLanes8 a, TKLanes8 b) {
    return TKLanes8(_mm256_blendv_epi8(b.v, a.v, take.m));
}
inline TKLanes8 TKLaneMin(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_min_epu32(a.v, b.v)); }
inline TKLanes8 TKLaneMax(TKLanes8 a, TKLanes8 b) { return TKLanes8(_mm256_max_epu32(a.v, b.v)); }

// x / cell by the same reciprocal as one lane: (x * r) >> 64 from the two 32-bit halves of r,
// (x * high + ((x * low) >> 32)) >> 32, which neither overflows nor differs from the 128-bit
// product's high word (the dropped low bits of x * low can't carry into bit 64).
inline TKLanes8 TKLaneDivide(TKLanes8 x, uint64_t reciprocal, uint32_t) {
    const __m256i low = _mm256_set1_epi64x(int64_t(reciprocal & 0xFFFFFFFFu));
    const __m256i high = _mm256_set1_epi64x(int64_t(reciprocal >> 32));
    auto quotient = [&](__m256i words) {  // the low word of each 64-bit lane
        const __m256i partLow = _mm256_mul_epu32(words, low);
        const __m256i partHigh = _mm256_mul_epu32(words, high);
        return _mm256_srli_epi64(_mm256_add_epi64(partHigh, _mm256_srli_epi64(partLow, 32)), 32);
    };
    const __m256i even = quotient(x.v);
    const __m256i odd = quotient(_mm256_srli_epi64(x.v, 32));
    return TKLanes8(_mm256_blend_epi32(even, _mm256_slli_epi64(odd, 32), 0xAA));
}

struct TKLinkAvx2Lanes {
    static constexpr int32_t kWidth = 8;
    using V = TKLanes8;

    static V Lookup16(const uint16_t* table, V index) {
        return V(_mm256_and_si256(_mm256_i32gather_epi32(reinterpret_cast<const int*>(table), index.v, 2),
                                  _mm256_set1_epi32(0xFFFF)));
    }
    static V Lookup8(const uint8_t* table, V index) {
        return V(_mm256_and_si256(_mm256_i32gather_epi32(reinterpret_cast<const int*>(table), index.v, 1),
                                  _mm256_set1_epi32(0xFF)));
    }
    static V Lookup32(const uint32_t* table, V index) {
        return V(_mm256_i32gather_epi32(reinterpret_cast<const int*>(table), index.v, 4));
    }
    static V Pick(const uint32_t* table8, V index) {
        return V(_mm256_permutevar8x32_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(table8)), index.v));
    }

    // Three and four outputs: a node's values are one 64-bit load per lane (with three outputs
    // the fourth value read is the next node's first, whose products are never used). One
    // register holds pixels 0, 1 | 4, 5 and another 2, 3 | 6, 7, so that the closing transpose of
    // the per-pixel sums gives every output's sums in pixel order. Plain loads beat gathers here.
    // Weights below 2^15 (cells of up to 32767, every grid but those of 2 and 3 points) let two
    // nodes share one signed multiply-add: with values biased by -32768 the sum of w * v is the
    // sum of w * (v - 32768) plus 32768 times the weights' sum, one cell, exactly and within 32
    // bits. Larger weights take the exact 32-bit products of 16-bit unsigned multiplies.
    // Other output counts: one 32-bit gather per output and node.
    template <int32_t Outputs, int32_t Count>
    static void Accumulate(const uint16_t* nodes, int32_t outputs, const V* index, const V* weight,
                           uint32_t weightSum, V* sum) {
        if constexpr ((Outputs == 3 || Outputs == 4) && Count % 2 == 0) {
            constexpr size_t kNodeBytes = 2 * Outputs;
            const auto* base = reinterpret_cast<const uint8_t*>(nodes);
            alignas(32) uint32_t at[Count][8];
            for (int32_t i = 0; i < Count; ++i) _mm256_store_si256(reinterpret_cast<__m256i*>(at[i]), index[i].v);
            // One node of pixels a, b | c, d as four 64-bit words.
            auto load = [&](const uint32_t* lanes, int32_t a, int32_t b, int32_t c, int32_t d) {
                auto two = [&](int32_t x, int32_t y) {
                    const __m128i first = _mm_loadl_epi64(
                        reinterpret_cast<const __m128i*>(base + size_t(lanes[x]) * kNodeBytes));
                    return _mm_castpd_si128(_mm_loadh_pd(
                        _mm_castsi128_pd(first), reinterpret_cast<const double*>(base + size_t(lanes[y]) * kNodeBytes)));
                };
                return _mm256_set_m128i(two(c, d), two(a, b));
            };
            __m256i p04 = _mm256_setzero_si256(), p15 = p04, p26 = p04, p37 = p04;
            if (weightSum < 0x8000) {
                const __m256i bias = _mm256_set1_epi16(int16_t(-32768));
                // Dword k of each 128-bit half, four times: bytes 4k to 4k + 3.
                const __m256i s0 = _mm256_set1_epi32(0x03020100), s1 = _mm256_set1_epi32(0x07060504);
                const __m256i s2 = _mm256_set1_epi32(0x0B0A0908), s3 = _mm256_set1_epi32(0x0F0E0D0C);
                for (int32_t i = 0; i < Count; i += 2) {
                    const __m256i pair = _mm256_or_si256(weight[i].v, _mm256_slli_epi32(weight[i + 1].v, 16));
                    const __m256i firstA = load(at[i], 0, 1, 4, 5), secondA = load(at[i + 1], 0, 1, 4, 5);
                    const __m256i firstB = load(at[i], 2, 3, 6, 7), secondB = load(at[i + 1], 2, 3, 6, 7);
                    auto madd = [&](__m256i values, __m256i pattern) {
                        return _mm256_madd_epi16(_mm256_xor_si256(values, bias), _mm256_shuffle_epi8(pair, pattern));
                    };
                    p04 = _mm256_add_epi32(p04, madd(_mm256_unpacklo_epi16(firstA, secondA), s0));
                    p15 = _mm256_add_epi32(p15, madd(_mm256_unpackhi_epi16(firstA, secondA), s1));
                    p26 = _mm256_add_epi32(p26, madd(_mm256_unpacklo_epi16(firstB, secondB), s2));
                    p37 = _mm256_add_epi32(p37, madd(_mm256_unpackhi_epi16(firstB, secondB), s3));
                }
                const __m256i correction = _mm256_set1_epi32(int32_t(32768u * weightSum));
                p04 = _mm256_add_epi32(p04, correction);
                p15 = _mm256_add_epi32(p15, correction);
                p26 = _mm256_add_epi32(p26, correction);
                p37 = _mm256_add_epi32(p37, correction);
            } else {
                const __m256i spreadA = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5, 0, 1, 0, 1, 0,
                                                         1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5);
                const __m256i spreadB = _mm256_setr_epi8(8, 9, 8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13, 8, 9,
                                                         8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13);
                for (int32_t i = 0; i < Count; ++i) {
                    const __m256i valuesA = load(at[i], 0, 1, 4, 5), valuesB = load(at[i], 2, 3, 6, 7);
                    const __m256i wA = _mm256_shuffle_epi8(weight[i].v, spreadA);
                    const __m256i wB = _mm256_shuffle_epi8(weight[i].v, spreadB);
                    const __m256i lowA = _mm256_mullo_epi16(valuesA, wA), highA = _mm256_mulhi_epu16(valuesA, wA);
                    const __m256i lowB = _mm256_mullo_epi16(valuesB, wB), highB = _mm256_mulhi_epu16(valuesB, wB);
                    p04 = _mm256_add_epi32(p04, _mm256_unpacklo_epi16(lowA, highA));
                    p15 = _mm256_add_epi32(p15, _mm256_unpackhi_epi16(lowA, highA));
                    p26 = _mm256_add_epi32(p26, _mm256_unpacklo_epi16(lowB, highB));
                    p37 = _mm256_add_epi32(p37, _mm256_unpackhi_epi16(lowB, highB));
                }
            }
            const __m256i t0 = _mm256_unpacklo_epi32(p04, p15), t1 = _mm256_unpackhi_epi32(p04, p15);
            const __m256i t2 = _mm256_unpacklo_epi32(p26, p37), t3 = _mm256_unpackhi_epi32(p26, p37);
            sum[0] = V(_mm256_unpacklo_epi64(t0, t2));
            sum[1] = V(_mm256_unpackhi_epi64(t0, t2));
            sum[2] = V(_mm256_unpacklo_epi64(t1, t3));
            if constexpr (Outputs == 4) sum[3] = V(_mm256_unpackhi_epi64(t1, t3));
        } else {
            const int32_t outs = Outputs ? Outputs : outputs;
            const __m256i lowHalf = _mm256_set1_epi32(0xFFFF);
            const auto* base = reinterpret_cast<const int*>(nodes);
            for (int32_t o = 0; o < outs; ++o) sum[o] = V(_mm256_setzero_si256());
            for (int32_t i = 0; i < Count; ++i) {
                const __m256i first = _mm256_mullo_epi32(index[i].v, _mm256_set1_epi32(outs));
                for (int32_t o = 0; o < outs; ++o) {
                    const __m256i at = _mm256_add_epi32(first, _mm256_set1_epi32(o));
                    const __m256i value = _mm256_and_si256(_mm256_i32gather_epi32(base, at, 2), lowHalf);
                    sum[o].v = _mm256_add_epi32(sum[o].v, _mm256_mullo_epi32(value, weight[i].v));
                }
            }
        }
    }

    static void Spill(V v, uint32_t* lanes) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes), v.v); }
    // Every lane holds the last lane's value.
    static V BroadcastLast(V v) { return V(_mm256_permutevar8x32_epi32(v.v, _mm256_set1_epi32(7))); }
    static bool AllEqual(V a, V b) { return _mm256_movemask_epi8(_mm256_cmpeq_epi32(a.v, b.v)) == -1; }

    // ---- Pixel memory: exactly the bytes of the eight pixels are read and written ----

    // Lane i from p + i * step (any step, also negative or smaller than a sample).
    template <class S>
    static V LoadStrided(const uint8_t* p, int32_t step) {
        auto at = [&](int32_t i) {
            S s;
            std::memcpy(&s, p + ptrdiff_t(i) * step, sizeof s);
            return int32_t(s);
        };
        return V(_mm256_setr_epi32(at(0), at(1), at(2), at(3), at(4), at(5), at(6), at(7)));
    }
    // Eight samples one after the other.
    template <class S>
    static V LoadPacked(const uint8_t* p) {
        if constexpr (sizeof(S) == 1) return V(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
        else return V(_mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))));
    }
    // Eight pixels of Channels samples each, `step` bytes apart: false if no wide form exists for
    // the shape. Pixels of 4 or 8 bytes are read as words at any step (the spot colour planes of
    // a merge link make steps longer than the pixel); 3-sample pixels only when packed.
    template <class S, int32_t Channels>
    static bool LoadInterleaved(const uint8_t* p, int32_t step, V* channels) {
        constexpr int32_t kBytes = Channels * int32_t(sizeof(S));
        if (step != kBytes && kBytes != 4 && kBytes != 8) return false;
        if constexpr (sizeof(S) == 1 && Channels == 4) {
            const __m256i all = step == kBytes ? _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))
                                               : WordsAt<uint32_t>(p, step);
            const __m256i byte = _mm256_set1_epi32(0xFF);
            for (int32_t c = 0; c < 4; ++c) channels[c] = V(_mm256_and_si256(_mm256_srli_epi32(all, 8 * c), byte));
            return true;
        } else if constexpr (sizeof(S) == 1 && Channels == 3) {
            // Bytes 0..15 and 8..23: pixels 0..3 at 3i, pixels 4..7 at 4 + 3i of the second half.
            const __m256i all = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(p + 8),
                                                    reinterpret_cast<const __m128i*>(p));
            for (int32_t c = 0; c < 3; ++c) {
                const int8_t z = -1;
                const __m256i pick = _mm256_setr_epi8(
                    int8_t(c), z, z, z, int8_t(3 + c), z, z, z, int8_t(6 + c), z, z, z, int8_t(9 + c), z, z, z,
                    int8_t(4 + c), z, z, z, int8_t(7 + c), z, z, z, int8_t(10 + c), z, z, z, int8_t(13 + c), z, z, z);
                channels[c] = V(_mm256_shuffle_epi8(all, pick));
            }
            return true;
        } else if constexpr (sizeof(S) == 2 && (Channels == 3 || Channels == 4)) {
            // Two pixels per 128-bit half: pixels 0, 1 | 2, 3 and 4, 5 | 6, 7, read where they start
            // (48 bytes for three channels: the last pair from byte 32, four bytes in).
            constexpr int32_t kPixel = 2 * Channels;
            constexpr int32_t kLastPair = Channels == 4 ? 48 : 32;
            constexpr int32_t kShift = Channels == 4 ? 0 : 4;
            auto half = [&](int32_t offset) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + offset)); };
            __m256i first = _mm256_setzero_si256(), second = first;
            if (step == kBytes) {
                first = _mm256_set_m128i(half(2 * kPixel), half(0));
                second = _mm256_set_m128i(half(kLastPair), half(4 * kPixel));
            } else if constexpr (Channels == 4) {  // pixel words 0, 1 | 2, 3 and 4, 5 | 6, 7
                first = WordsAt<uint64_t>(p, step);
                second = WordsAt<uint64_t>(p + ptrdiff_t(4) * step, step);
            }
            const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
            for (int32_t c = 0; c < Channels; ++c) {
                const int8_t z = -1, a = int8_t(2 * c), b = int8_t(kPixel + 2 * c);
                const int8_t a2 = int8_t(a + kShift), b2 = int8_t(b + kShift);
                const __m256i pickFirst = _mm256_setr_epi8(a, int8_t(a + 1), z, z, b, int8_t(b + 1), z, z, z, z, z, z,
                                                           z, z, z, z, a, int8_t(a + 1), z, z, b, int8_t(b + 1), z, z,
                                                           z, z, z, z, z, z, z, z);
                const __m256i pickSecond = _mm256_setr_epi8(z, z, z, z, z, z, z, z, a, int8_t(a + 1), z, z, b,
                                                            int8_t(b + 1), z, z, z, z, z, z, z, z, z, z, a2,
                                                            int8_t(a2 + 1), z, z, b2, int8_t(b2 + 1), z, z);
                const __m256i mixed = _mm256_or_si256(_mm256_shuffle_epi8(first, pickFirst),
                                                      _mm256_shuffle_epi8(second, pickSecond));
                channels[c] = V(_mm256_permutevar8x32_epi32(mixed, order));
            }
            return true;
        } else {
            return false;
        }
    }

    template <class D>
    static void StoreStrided(uint8_t* p, int32_t step, V v) {
        uint32_t lanes[8];
        Spill(v, lanes);
        for (int32_t i = 0; i < 8; ++i) {
            const D d = static_cast<D>(lanes[i]);
            std::memcpy(p + ptrdiff_t(i) * step, &d, sizeof d);
        }
    }
    // Values of at most 16 bits (8 for bytes) packed into eight samples.
    template <class D>
    static void StorePacked(uint8_t* p, V v) {
        const __m128i words = _mm256_castsi256_si128(
            _mm256_permute4x64_epi64(_mm256_packus_epi32(v.v, v.v), _MM_SHUFFLE(3, 1, 2, 0)));
        if constexpr (sizeof(D) == 2) _mm_storeu_si128(reinterpret_cast<__m128i*>(p), words);
        else _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi16(words, words));
    }
    template <class D, int32_t Outputs>
    static bool StoreInterleaved(uint8_t* p, int32_t step, const V* out) {
        if (step != Outputs * int32_t(sizeof(D))) return false;
        if constexpr (sizeof(D) == 1 && (Outputs == 3 || Outputs == 4)) {
            __m256i all = _mm256_or_si256(out[0].v, _mm256_slli_epi32(out[1].v, 8));
            all = _mm256_or_si256(all, _mm256_slli_epi32(out[2].v, 16));
            if constexpr (Outputs == 4) {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), _mm256_or_si256(all, _mm256_slli_epi32(out[3].v, 24)));
            } else {
                const int8_t z = -1;
                const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z, 0, 1, 2,
                                                         4, 5, 6, 8, 9, 10, 12, 13, 14, z, z, z, z);
                all = _mm256_shuffle_epi8(all, squeeze);
                StoreTwelve(p, _mm256_castsi256_si128(all));
                StoreTwelve(p + 12, _mm256_extracti128_si256(all, 1));
            }
            return true;
        } else if constexpr (sizeof(D) == 2 && (Outputs == 3 || Outputs == 4)) {
            const __m256i low = _mm256_or_si256(out[0].v, _mm256_slli_epi32(out[1].v, 16));
            const __m256i high = Outputs == 4 ? _mm256_or_si256(out[2].v, _mm256_slli_epi32(out[3].v, 16)) : out[2].v;
            const __m256i p0145 = _mm256_unpacklo_epi32(low, high), p2367 = _mm256_unpackhi_epi32(low, high);
            const __m256i p0123 = _mm256_permute2x128_si256(p0145, p2367, 0x20);
            const __m256i p4567 = _mm256_permute2x128_si256(p0145, p2367, 0x31);
            if constexpr (Outputs == 4) {
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), p0123);
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(p + 32), p4567);
            } else {
                const int8_t z = -1;
                const __m256i squeeze = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z, 0, 1, 2,
                                                         3, 4, 5, 8, 9, 10, 11, 12, 13, z, z, z, z);
                const __m256i a = _mm256_shuffle_epi8(p0123, squeeze), b = _mm256_shuffle_epi8(p4567, squeeze);
                StoreTwelve(p, _mm256_castsi256_si128(a));
                StoreTwelve(p + 12, _mm256_extracti128_si256(a, 1));
                StoreTwelve(p + 24, _mm256_castsi256_si128(b));
                StoreTwelve(p + 36, _mm256_extracti128_si256(b, 1));
            }
            return true;
        } else {
            return false;
        }
    }

private:
    // Words of 4 bytes (eight pixels) or 8 bytes (four pixels, two per 128-bit half) `step` apart.
    template <class Word>
    static __m256i WordsAt(const uint8_t* p, int32_t step) {
        auto at = [&](int32_t i) {
            Word w;
            std::memcpy(&w, p + ptrdiff_t(i) * step, sizeof w);
            return w;
        };
        if constexpr (sizeof(Word) == 4)
            return _mm256_setr_epi32(int32_t(at(0)), int32_t(at(1)), int32_t(at(2)), int32_t(at(3)), int32_t(at(4)),
                                     int32_t(at(5)), int32_t(at(6)), int32_t(at(7)));
        else
            return _mm256_setr_epi64x(int64_t(at(0)), int64_t(at(1)), int64_t(at(2)), int64_t(at(3)));
    }

    static void StoreTwelve(uint8_t* p, __m128i bytes) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(p), bytes);
        const int32_t tail = _mm_extract_epi32(bytes, 2);
        std::memcpy(p + 8, &tail, 4);
    }
};

}  // inline namespace TK_LINK_KERNEL_ISA
