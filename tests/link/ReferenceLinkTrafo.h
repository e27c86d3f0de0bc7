// A link whose match dispatch runs the reference evaluator in the kernel family the real dispatch
// picks: generation and the colour path can be tested on their own, and the real kernels are held
// against the same numbers.
#pragma once

#include "link/LinkReference.h"
#include "link/TKLinkGenericTrafo.h"

class TKReferenceLinkTrafo : public TKLinkGenericTrafo {
public:
    void Match16(int32_t count, const uint16_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                 const int32_t* dstStrides, TKProgress*) override {
        LinkReference::Match(*this, count, src, dst, srcStrides, dstStrides, true,
                             LinkReference::DispatchedCells(*this, 16, 16));
    }
    void Match8(int32_t count, const uint8_t* const* src, uint8_t* const* dst, const int32_t* srcStrides,
                const int32_t* dstStrides, TKProgress*) override {
        LinkReference::Match(*this, count, src, dst, srcStrides, dstStrides, true,
                             LinkReference::DispatchedCells(*this, 8, 8));
    }
    void Match8To16(int32_t count, const uint8_t* const* src, uint16_t* const* dst, const int32_t* srcStrides,
                    const int32_t* dstStrides, TKProgress*) override {
        LinkReference::Match(*this, count, src, dst, srcStrides, dstStrides, true,
                             LinkReference::DispatchedCells(*this, 8, 16));
    }
};
