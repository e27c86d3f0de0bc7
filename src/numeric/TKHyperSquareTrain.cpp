// Training of hyper-square trafos: each (source, target) pair moves the corners of its cell by
// their share of the error, so that the interpolation passes through the pair.
#include <algorithm>
#include <vector>

#include "numeric/TKHyperSquareTrafo.h"

void TKHyperSquareTrafo::Train(const TKMatrix& sources, const TKMatrix& targets, int32_t flags) {
    if (sources.GetHeight() != targets.GetHeight()) TKThrow(DimMismatch);
    fFlags = flags;
    for (int32_t row = 0; row < sources.GetHeight(); ++row) TrainPoint(sources.GetRow(row), targets.GetRow(row));
}

void TKHyperSquareTrafo::TrainPoint(const TKVector& source, const TKVector& target) {
    int32_t cell = 0;
    const TKVector w = CalcWeights(source, cell);
    double sum = 0.0, squares = 0.0, largest = 0.0;
    for (int32_t m = 0; m < w.GetDim(); ++m) {
        sum += w[m];
        squares += w[m] * w[m];
        largest = std::max(largest, w[m]);
    }
    if (!(sum > 0.0)) return;
    const TKVector delta = CalcError(Trafo(source), target);
    // Scaling by sum / norm makes the update of a point exactly on a corner the whole error, and
    // spreads it over the corners of an inner point so that the interpolation moves by it.
    const double norm = (fFlags & kTrainMaxNorm) ? largest : squares;
    const double scale = norm > 0.0 ? sum / norm : 1.0;
    const double rate = GetTrainRate();
    for (int32_t m = 0; m < w.GetDim(); ++m) {
        double weight = w[m] * scale;
        if (fFlags & kTrainClampWeights) weight = std::clamp(weight, 0.0, 1.0);
        weight *= rate;
        if (weight != 0.0) AddToCorner(uint32_t(m), weight, delta * weight, cell);
    }
}
