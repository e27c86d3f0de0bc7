// The byte layout of the link file's inner record: magics and the sizes that follow from the
// grid and the dimensions, computed in 64 bits and checked before anything is allocated.
#pragma once

#include <cstdint>

#include "foundation/TKError.h"
#include "link/TKLinkGeneric.h"

struct TKLinkFileLayout {
    static constexpr uint32_t kOuterBegin = 0x54474542;  // "BEGT"
    static constexpr uint32_t kOuterEnd = 0x54474545;    // "EEGT"
    static constexpr uint32_t kInnerBegin = 0x4C474E42;  // "BNGL"
    static constexpr uint32_t kInnerEnd = 0x4C474E45;    // "ENGL"
    // Magic, grid points, source and destination dimensions.
    static constexpr uint64_t kHeaderBytes = 16;

    uint64_t nodeBytes = 0;   // GridPoints^SrcDim * DstDim * 2
    uint64_t innerBytes = 0;  // the whole inner record, magics included

    // ArgErr for dimensions or a grid a link can't have; FormatErr for a grid too large to be
    // stored (its byte count must fit the 32-bit field and the link's table limit).
    static TKLinkFileLayout For(int32_t grid, int32_t srcDim, int32_t dstDim) {
        if (srcDim < 1 || srcDim > TKLinkGeneric::kMaxSrcDim || dstDim < 1 || dstDim > TKLinkGeneric::kMaxDstDim)
            TKThrowMsg(ArgErr, "link file: dimensions out of range");
        if (grid < TKLinkGeneric::kMinGridPoints || grid > TKLinkGeneric::kMaxGridPoints)
            TKThrowMsg(ArgErr, "link file: grid out of range");
        TKLinkFileLayout l;
        l.nodeBytes = uint64_t(dstDim) * 2;
        for (int32_t c = 0; c < srcDim; ++c) {
            l.nodeBytes *= uint64_t(grid);
            if (l.nodeBytes > TKLinkGeneric::kMaxNodeBytes || l.nodeBytes > UINT32_MAX)
                TKThrowMsg(FormatErr, "link file: grid too large");
        }
        const uint64_t curve = TKLinkGeneric::kCurveSize;
        l.innerBytes = kHeaderBytes + 3 * 4 + uint64_t(srcDim) * curve * 2 +
                       uint64_t(srcDim) * TKLinkGeneric::kInput8Size * 2 + 4 + uint64_t(dstDim) * curve * 2 +
                       uint64_t(dstDim) * curve + 4 + l.nodeBytes + 4;
        return l;
    }
};
