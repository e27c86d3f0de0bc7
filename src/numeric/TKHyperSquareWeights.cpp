// TKHyperSquareWeights: the weight rules as a trafo.
#include "numeric/TKHyperSquareWeights.h"

#include "numeric/TKHyperSquareWeightRules.h"

TKHyperSquareWeights::TKHyperSquareWeights(int32_t mode) : fMode(mode) {
    if ((mode & 0xFF) > TKWeightRules::kLastPlainMode || mode < 0) TKThrow(UndefProc);
}

int32_t TKHyperSquareWeights::GetDstDim(int32_t srcDim) const {
    return srcDim >= 0 && srcDim <= kMaxChannels ? (1 << srcDim) : 0;
}

TKVector TKHyperSquareWeights::Trafo(const TKVector& fractions) const {
    const int32_t n = fractions.GetDim();
    if (n > kMaxChannels) TKThrow(DimMismatch);
    TKVector weights(1 << n);
    CalcWeights(fractions.Values(), n, weights.MutableValues());
    return weights;
}

void TKHyperSquareWeights::CalcWeights(const double* f, int32_t n, double* w) const {
    TKWeightRules::Compute(fMode & 0xFF, f, n, w);
}
