// A link whose match dispatch runs the reference evaluator: generation and the colour path can be
// tested on their own, and the real kernels are later held against the same numbers.
#pragma once

#include <cstring>

#include "link/LinkReference.h"
#include "link/TKLinkGenericTrafo.h"

class TKReferenceLinkTrafo : public TKLinkGenericTrafo {
public:
    void Match16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                 const int32_t* dstStrides, TKProgress*) override {
        Run(count, src, dst, srcStrides, dstStrides);
    }
    void Match8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                const int32_t* dstStrides, TKProgress*) override {
        Run(count, src, dst, srcStrides, dstStrides);
    }
    void Match8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                    const int32_t* dstStrides, TKProgress*) override {
        Run(count, src, dst, srcStrides, dstStrides);
    }

private:
    template <class In, class Out>
    void Run(int32_t count, const In* const* src, Out* const* dst, const int32_t* srcStrides,
             const int32_t* dstStrides) {
        uint32_t in[kMaxSrcDim], out[kMaxDstDim];
        for (int32_t i = 0; i < count; ++i) {
            for (int32_t c = 0; c < fSrcDim; ++c) {
                In sample;
                std::memcpy(&sample, reinterpret_cast<const uint8_t*>(src[c]) + int64_t(i) * srcStrides[c], sizeof sample);
                in[c] = sample;
            }
            LinkReference::Pixel(*this, in, int32_t(8 * sizeof(In)), out, int32_t(8 * sizeof(Out)));
            for (int32_t o = 0; o < fDstDim; ++o) {
                const Out sample = static_cast<Out>(out[o]);
                std::memcpy(reinterpret_cast<uint8_t*>(dst[o]) + int64_t(i) * dstStrides[o], &sample, sizeof sample);
            }
        }
    }
};
