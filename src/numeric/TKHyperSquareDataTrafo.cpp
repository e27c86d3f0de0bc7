// TKHyperSquareDataTrafo: a single cube from a matrix of corner values.
#include "numeric/TKHyperSquareDataTrafo.h"

TKHyperSquareDataTrafo::TKHyperSquareDataTrafo(int32_t mode, const TKMatrix& corners) : TKHyperSquareTrafo(mode) {
    if (!corners.IsEmpty()) SetMatrix(corners);
}

void TKHyperSquareDataTrafo::SetMatrix(const TKMatrix& corners) {
    const int32_t height = corners.GetHeight();
    if (height < 1 || (height & (height - 1)) != 0 || height > (1 << TKHyperSquareWeights::kMaxChannels))
        TKThrow(ArgErr);
    fCorners = corners;
}

int32_t TKHyperSquareDataTrafo::GetSrcDim() const {
    int32_t n = 0;
    for (int32_t height = fCorners.GetHeight(); height > 1; height /= 2) ++n;
    return n;
}

int32_t TKHyperSquareDataTrafo::GetDstDim(int32_t) const { return fCorners.GetWidth(); }

int32_t TKHyperSquareDataTrafo::GetDstType(int32_t) const { return fCorners.GetType(); }

TKVector TKHyperSquareDataTrafo::GetCornerSrc(uint32_t corner, int32_t) const {
    const int32_t n = GetSrcDim();
    TKVector position(n);
    for (int32_t d = 0; d < n; ++d) position[d] = (corner >> (n - 1 - d)) & 1u ? 1.0 : 0.0;
    return position;
}

TKVector TKHyperSquareDataTrafo::GetCornerDst(uint32_t corner, int32_t) const {
    if (int32_t(corner) >= fCorners.GetHeight()) TKThrow(IndexError);
    return fCorners.GetRow(int32_t(corner));
}

void TKHyperSquareDataTrafo::SetCornerDst(uint32_t corner, const TKVector& value, int32_t) {
    if (int32_t(corner) >= fCorners.GetHeight()) TKThrow(IndexError);
    fCorners.SetRow(int32_t(corner), value);
}

TKVector TKHyperSquareDataTrafo::CalcWeights(const TKVector& source, int32_t& cell) const {
    const int32_t n = GetSrcDim();
    if (source.GetDim() != n) TKThrow(DimMismatch);
    cell = 0;
    TKVector weights(1 << n);
    Rule().CalcWeights(source.Values(), n, weights.MutableValues());
    return weights;
}
