// The skip test's masked scan compiled for AVX2 alone, so the library still runs on any x86-64.
#include "link/TKMCMergeInkTestAvx2.h"

#if TK_LINK_HAS_AVX2

#include <immintrin.h>

TK_AVX2_FUNCTIONS_BEGIN

namespace {

// Bytes read between two tests for ink: an early stop reads at most this many more.
constexpr int64_t kBytesPerTest = 2048;

}  // namespace

bool TKMaskedScanAvx2(const uint8_t* begin, int64_t blocks, const uint64_t* mask, int32_t vectors) {
    const auto* p = reinterpret_cast<const __m256i*>(begin);
    const auto* m = reinterpret_cast<const __m256i*>(mask);
    const int64_t blocksPerTest = kBytesPerTest / (32 * int64_t(vectors)) + 1;
    __m256i any = _mm256_setzero_si256();
    for (int64_t b = 0; b < blocks; ++b, p += vectors) {
        for (int32_t k = 0; k < vectors; ++k)
            any = _mm256_or_si256(any, _mm256_and_si256(_mm256_loadu_si256(p + k), _mm256_loadu_si256(m + k)));
        if (b % blocksPerTest == blocksPerTest - 1 && !_mm256_testz_si256(any, any)) return true;
    }
    return !_mm256_testz_si256(any, any);
}

TK_AVX2_FUNCTIONS_END

#endif  // TK_LINK_HAS_AVX2
