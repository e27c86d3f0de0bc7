// The wide form of the merge links' skip test: 32 bytes per step under a repeating mask.
#pragma once

#include <cstdint>

#include "link/TKLinkKernelIsa.h"

#if TK_LINK_HAS_AVX2
// ORs `blocks` blocks of `vectors` 32-byte vectors from `begin`, each under the same `vectors`
// vectors of `mask`; true as soon as a test finds a bit set. Needs AVX2 (TKLinkIsaAvailable).
bool TKMaskedScanAvx2(const uint8_t* begin, int64_t blocks, const uint64_t* mask, int32_t vectors);
#endif
