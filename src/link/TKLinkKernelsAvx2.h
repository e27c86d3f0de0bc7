// The unrolled pixel kernels of links (3 channels, and 4 with channel 3 split) with eight pixels
// per step in AVX2 registers, for the dispatch in TKLinkKernels.cpp. Same output bits as the
// scalar kernels. Call only when TKLinkIsaAvailable(TKLinkIsa::kAvx2).
#pragma once

#include <cstdint>

#include "link/TKLinkGeneric.h"
#include "link/TKLinkKernelIsa.h"

#if TK_LINK_HAS_AVX2
// Outputs: 3 or 4, or 0 for any count up to 8.
template <class S, class D, int32_t Channels, bool Split, bool Shifted, int32_t Outputs>
void TKLinkRunAvx2(TKLinkGeneric& link, const int32_t (*axis)[TKLinkGeneric::kMaxGridPoints], int32_t count,
                   const void* const* src, void* const* dst, const int32_t* srcStrides, const int32_t* dstStrides,
                   TKProgress* progress);
#endif
