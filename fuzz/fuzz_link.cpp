// Fuzz target: a link file from untrusted bytes through TKLoadLink16FromMemory, then 8- and
// 16-bit pixels (taken from the input's tail) matched through whatever loaded, interleaved and
// planar. Any error code is a valid outcome; a crash, an overrun or a leak is not.
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "tintara.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > UINT32_MAX) return 0;
    TKLinkRef link = TKNewTKLink16Ref();
    if (!link) return 0;
    if (TKLoadLink16FromMemory(link, data, uint32_t(size)) == 0) {
        const int32_t srcDim = TKGetTrafoSrcDim(link);
        const int32_t dstDim = TKGetTrafoDstDim(link);
        if (srcDim >= 1 && srcDim <= 16 && dstDim >= 1 && dstDim <= 36) {
            constexpr int32_t kCount = 64;
            uint16_t in16[kCount * 16] = {};
            uint16_t out16[kCount * 36];
            uint8_t in8[kCount * 16] = {};
            uint8_t out8[kCount * 36];
            const size_t tail = size < sizeof in16 ? size : sizeof in16;
            std::memcpy(in16, data + size - tail, tail);
            std::memcpy(in8, data + size - (tail < sizeof in8 ? tail : sizeof in8), tail < sizeof in8 ? tail : sizeof in8);
            TKLink16Match(link, kCount, in16, out16, 0, 0, nullptr, nullptr);
            TKLink8Match(link, kCount, in8, out8, 0, 0, nullptr, nullptr);
            const void* planes[16];
            void* outPlanes[36];
            for (int32_t c = 0; c < srcDim; ++c) planes[c] = in8 + c * 4;
            for (int32_t o = 0; o < dstDim; ++o) outPlanes[o] = out8 + o;
            TKLink8MatchPlanes(link, 16, planes, outPlanes, 1, 0, nullptr, nullptr);
            uint32_t length = 0;
            TKSaveLink16ToMemory(link, nullptr, 0, &length);
        }
    }
    TKFreeTKLink16Ref(link);
    return 0;
}
