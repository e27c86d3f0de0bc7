// The kernel body compiled for AVX2 with eight lanes per step. Everything this file compiles
// after the target switch lives in its own namespace (TK_LINK_KERNEL_ISA), so no function built
// for AVX2 can stand in for a plain one elsewhere; the standard and project headers come first,
// compiled for the plain target.
#include "link/TKLinkKernelsAvx2.h"

#if TK_LINK_HAS_AVX2

#include <immintrin.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "foundation/TKError.h"
#include "foundation/TKProgress.h"
#include "link/TKLinkGeneric.h"

#define TK_LINK_KERNEL_ISA TKLinkAvx2
TK_AVX2_FUNCTIONS_BEGIN

#include "link/TKLinkKernelBody.h"
#include "link/TKLinkLanesAvx2.h"

template <class S, class D, int32_t Channels, bool Split, bool Shifted, int32_t Outputs>
void TKLinkRunAvx2(TKLinkGeneric& link, const int32_t (*axis)[TKLinkGeneric::kMaxGridPoints], int32_t count,
                   const void* const* src, void* const* dst, const int32_t* srcStrides, const int32_t* dstStrides,
                   TKProgress* progress) {
    // The unrolled forms keep one sum per output in locals: at most eight.
    using Traits = TKLinkKernelTraits<S, D, Channels, Channels, Shifted, Split, 8, Outputs, TKLinkAvx2Lanes>;
    TKLinkKernelDetail::Run<Traits>(link, axis, count, src, dst, srcStrides, dstStrides, progress);
}

// Every shape the dispatch may send here: sample sizes, 3 channels or 4 split, cells, outputs.
using TKLinkRunFunction = void(TKLinkGeneric&, const int32_t (*)[TKLinkGeneric::kMaxGridPoints], int32_t,
                               const void* const*, void* const*, const int32_t*, const int32_t*, TKProgress*);
#define TK_LINK_AVX2_OUTPUTS(S, D, Channels, Split, Shifted)            \
    template TKLinkRunFunction TKLinkRunAvx2<S, D, Channels, Split, Shifted, 3>; \
    template TKLinkRunFunction TKLinkRunAvx2<S, D, Channels, Split, Shifted, 4>; \
    template TKLinkRunFunction TKLinkRunAvx2<S, D, Channels, Split, Shifted, 0>;
#define TK_LINK_AVX2_SAMPLES(S, D)                                                          \
    TK_LINK_AVX2_OUTPUTS(S, D, 3, false, true) TK_LINK_AVX2_OUTPUTS(S, D, 3, false, false) \
    TK_LINK_AVX2_OUTPUTS(S, D, 4, true, true) TK_LINK_AVX2_OUTPUTS(S, D, 4, true, false)
TK_LINK_AVX2_SAMPLES(uint8_t, uint8_t)
TK_LINK_AVX2_SAMPLES(uint8_t, uint16_t)
TK_LINK_AVX2_SAMPLES(uint16_t, uint8_t)
TK_LINK_AVX2_SAMPLES(uint16_t, uint16_t)
#undef TK_LINK_AVX2_SAMPLES
#undef TK_LINK_AVX2_OUTPUTS

TK_AVX2_FUNCTIONS_END

#endif  // TK_LINK_HAS_AVX2
