// Jacobian, line spread and distance statistics of trafos.
#include "numeric/TKTrafoTools.h"

#include <algorithm>
#include <cmath>

void TKDistanceStatistic::Add(double distance) {
    ++fCount;
    fSum += distance;
    fSumSquares += distance * distance;
    fMax = fCount == 1 ? distance : std::max(fMax, distance);
}

double TKDistanceStatistic::Sigma() const {
    if (fCount == 0) return 0.0;
    double mean = Mean();
    double variance = fSumSquares / fCount - mean * mean;
    return variance > 0.0 ? std::sqrt(variance) : 0.0;  // rounding can push it below 0
}

TKMatrix CalcJacobian(const TKTrafo& trafo, const TKVector& source, double step) {
    if (!(step > 0.0)) TKThrow(ArgErr);
    int32_t srcDim = trafo.GetSrcDim() > 0 ? trafo.GetSrcDim() : source.GetDim();
    if (source.GetDim() != srcDim) TKThrow(DimMismatch);
    TKVector r0 = trafo.Trafo(source);
    int32_t dstDim = trafo.GetDstDim(srcDim);
    if (r0.GetDim() != dstDim) TKThrow(DimMismatch);
    TKMatrix jacobian(srcDim, dstDim, r0.GetType());
    for (int32_t i = 0; i < srcDim; ++i) {
        TKVector moved(source);
        moved[i] += moved[i] > 1.0 - step ? -step : step;
        TKVector row = trafo.Trafo(moved);
        row.Subtract(r0);
        row.Divide(step);
        jacobian.SetRow(i, row);
    }
    return jacobian;
}

TKVector CalcLinePosition(const TKTrafo& trafo, const TKVector& from, const TKVector& to, int32_t count) {
    if (count < 0) TKThrow(ArgErr);
    if (from.GetDim() != to.GetDim()) TKThrow(DimMismatch);
    TKVector positions(count);
    if (count == 0) return positions;
    TKVector start = trafo.Trafo(from);
    TKVector end = trafo.Trafo(to);
    for (int32_t k = 0; k < count; ++k) {
        double t = count > 1 ? double(k) / (count - 1) : 0.0;
        TKVector point = to * t + from * (1.0 - t);
        point.SetType(from.GetType());
        TKVector image = trafo.Trafo(point);
        double a = image.Distance(start);
        double b = image.Distance(end);
        if (a + b > 0.0) positions[k] = a / (a + b);
    }
    return positions;
}

namespace {
// Adds the row distances of two tables of the same size to a statistic.
TKDistanceStatistic RowDistances(const TKMatrix& a, const TKMatrix& b) {
    if (a.GetHeight() != b.GetHeight() || a.GetWidth() != b.GetWidth()) TKThrow(DimMismatch);
    TKDistanceStatistic statistic;
    for (int32_t r = 0; r < a.GetHeight(); ++r) statistic.Add(a.GetRow(r).Distance(b.GetRow(r)));
    return statistic;
}
}  // namespace

TKDistanceStatistic CalcRoundTripStatistic(const TKTrafo& trafoA, const TKTrafo& trafoB, const TKMatrix& matrix) {
    return RowDistances(trafoB.TrafoMatrix(trafoA.TrafoMatrix(matrix)), matrix);
}

TKDistanceStatistic CalcTableStatistic(const TKTrafo& trafo, const TKMatrix& source, const TKMatrix& target) {
    if (source.GetHeight() != target.GetHeight()) TKThrow(DimMismatch);
    return RowDistances(trafo.TrafoMatrix(source), target);
}
