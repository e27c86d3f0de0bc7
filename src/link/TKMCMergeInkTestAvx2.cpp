// The skip test's masked scan compiled for AVX2 alone, so the library still runs on any x86-64.
#include "link/TKMCMergeInkTestAvx2.h"

#if TK_LINK_HAS_AVX2

#include <immintrin.h>

#include <algorithm>

TK_AVX2_FUNCTIONS_BEGIN

namespace {

// Bytes read between two tests for ink: an early stop reads at most this many more.
constexpr int64_t kBytesPerTest = 2048;

// Vectors is the block's length when the compiler should unroll it (1: planes of their own or
// 4- and 8-byte pixels; 3: 6- and 12-byte pixels, CMYK and two spots), 0 when it is `vectors`.
template <int32_t Vectors>
bool Scan(const __m256i* p, int64_t blocks, const __m256i* m, int32_t vectors) {
    const int32_t n = Vectors ? Vectors : vectors;
    const int64_t blocksPerTest = kBytesPerTest / (32 * int64_t(n)) + 1;
    __m256i any = _mm256_setzero_si256();
    for (int64_t b = 0; b < blocks;) {
        // A counted stretch between tests: no division in the loop.
        const int64_t stretch = std::min(blocksPerTest, blocks - b);
        for (int64_t i = 0; i < stretch; ++i, p += n)
            for (int32_t k = 0; k < n; ++k)
                any = _mm256_or_si256(any, _mm256_and_si256(_mm256_loadu_si256(p + k), _mm256_loadu_si256(m + k)));
        b += stretch;
        if (!_mm256_testz_si256(any, any)) return true;
    }
    return false;
}

}  // namespace

bool TKMaskedScanAvx2(const uint8_t* begin, int64_t blocks, const uint64_t* mask, int32_t vectors) {
    const auto* p = reinterpret_cast<const __m256i*>(begin);
    const auto* m = reinterpret_cast<const __m256i*>(mask);
    if (vectors == 1) return Scan<1>(p, blocks, m, 1);
    if (vectors == 3) return Scan<3>(p, blocks, m, 3);
    return Scan<0>(p, blocks, m, vectors);
}

TK_AVX2_FUNCTIONS_END

#endif  // TK_LINK_HAS_AVX2
