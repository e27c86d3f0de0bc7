// TKHyperSquareDataTrafo: one cube of 2^n corners held in a matrix, row m the value at corner
// mask m, interpolated by the trafo's weight rule over the unit cube.
#pragma once

#include "numeric/TKHyperSquareTrafo.h"

class TKHyperSquareDataTrafo : public TKHyperSquareTrafo {
    TK_DECLARE_CLASS(TKHyperSquareDataTrafo, TKHyperSquareTrafo)
public:
    explicit TKHyperSquareDataTrafo(int32_t mode, const TKMatrix& corners = TKMatrix());

    // Replaces the table. Its height must be a power of two (ArgErr otherwise).
    virtual void SetMatrix(const TKMatrix& corners);
    const TKMatrix& GetMatrix() const { return fCorners; }

    // The base-2 logarithm of the matrix height.
    int32_t GetSrcDim() const override;
    int32_t GetDstDim(int32_t srcDim) const override;
    int32_t GetDstType(int32_t srcType) const override;
    // The bits of the mask as 0 and 1, channel 0 from the top bit.
    TKVector GetCornerSrc(uint32_t corner, int32_t cell) const override;
    TKVector GetCornerDst(uint32_t corner, int32_t cell) const override;
    void SetCornerDst(uint32_t corner, const TKVector& value, int32_t cell) override;
    // The source is the position in the unit cube itself; it isn't clamped, so positions
    // outside extend the cube's interpolation (which is what inverting a cube needs).
    TKVector CalcWeights(const TKVector& source, int32_t& cell) const override;

private:
    TKMatrix fCorners;
};
