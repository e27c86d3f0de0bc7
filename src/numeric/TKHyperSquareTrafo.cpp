// TKHyperSquareTrafo: the weight rule it owns and the default corner update.
#include "numeric/TKHyperSquareTrafo.h"

TKHyperSquareTrafo::TKHyperSquareTrafo(int32_t mode) : fWeights(new TKHyperSquareWeights(mode), true) {}

TKHyperSquareTrafo::TKHyperSquareTrafo(const TKHyperSquareTrafo& other)
    : TKWeightInterpolation(other), fFlags(other.fFlags), fWeights(other.fWeights) {}

TKHyperSquareTrafo::~TKHyperSquareTrafo() = default;

const TKHyperSquareWeights& TKHyperSquareTrafo::Rule() const {
    if (!fWeights) TKThrow(PtrInvalid);
    return *fWeights;
}

TKVector TKHyperSquareTrafo::CalcError(const TKVector& value, const TKVector& target) const {
    return target - value;
}

void TKHyperSquareTrafo::AddToCorner(uint32_t corner, double, const TKVector& delta, int32_t cell) {
    SetCornerDst(corner, GetCornerDst(corner, cell) + delta, cell);
}

double TKHyperSquareTrafo::GetTrainRate() const { return 1.0; }
