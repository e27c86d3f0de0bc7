// TKWeightInterpolation: evaluation by weights on the corners of one cell.
#include "numeric/TKWeightInterpolation.h"

TKVector TKWeightInterpolation::GetCornerSrc(uint32_t, int32_t) const { TKThrow(UndefProc); }

void TKWeightInterpolation::SetCornerDst(uint32_t, const TKVector&, int32_t) { TKThrow(UndefProc); }

int32_t TKWeightInterpolation::CornerNode(uint32_t corner, int32_t cell) const { return cell + int32_t(corner); }

void TKWeightInterpolation::CalcCornerWeights(const TKVector& source, std::vector<double>& weights,
                                              std::vector<uint32_t>& corners, int32_t& cell) const {
    weights.clear();
    corners.clear();
    const TKVector w = CalcWeights(source, cell);
    for (int32_t m = 0; m < w.GetDim(); ++m)
        if (w[m] != 0.0) {
            weights.push_back(w[m]);
            corners.push_back(uint32_t(m));
        }
}

void TKWeightInterpolation::CalcCornerList(const TKVector& source, std::vector<int32_t>& nodes) const {
    std::vector<double> weights;
    std::vector<uint32_t> corners;
    int32_t cell = 0;
    CalcCornerWeights(source, weights, corners, cell);
    nodes.clear();
    for (uint32_t corner : corners) nodes.push_back(CornerNode(corner, cell));
}

TKVector TKWeightInterpolation::Trafo(const TKVector& source) const {
    const int32_t srcDim = GetSrcDim();
    if (srcDim > 0 && source.GetDim() != srcDim) TKThrow(DimMismatch);
    int32_t cell = 0;
    const TKVector w = CalcWeights(source, cell);
    if (w.GetDim() == 0) return GetCornerDst(0, cell) * 0.0;
    TKVector result = GetCornerDst(0, cell) * w[0];
    for (int32_t m = 1; m < w.GetDim(); ++m)
        if (w[m] != 0.0) result += GetCornerDst(uint32_t(m), cell) * w[m];
    return result;
}
