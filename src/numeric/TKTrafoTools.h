// Numerical helpers around trafos: the Jacobian by finite differences, how evenly a trafo
// spreads a straight line, and distance statistics of round trips and of tables.
#pragma once

#include <cstdint>

#include "numeric/TKTrafo.h"

// Count, sum, maximum and spread of a series of distances.
class TKDistanceStatistic {
public:
    void Add(double distance);
    int32_t Count() const { return fCount; }
    double Sum() const { return fSum; }
    double Max() const { return fMax; }
    double Mean() const { return fCount ? fSum / fCount : 0.0; }
    // Standard deviation of the distances around their mean (population form); 0 when empty.
    double Sigma() const;

private:
    int32_t fCount = 0;
    double fSum = 0.0;
    double fMax = 0.0;
    double fSumSquares = 0.0;
};

// Finite-difference Jacobian at `source`: row i holds (trafo(source + step e_i) - trafo(source))
// / step. A channel above 1 - step steps down instead, and its row keeps the positive step as
// divisor, so it carries the opposite sign of the slope. Rows are source channels, columns
// destination channels. ArgErr unless step > 0; DimMismatch if the trafo's answer has
// another dimension than GetDstDim promises.
TKMatrix CalcJacobian(const TKTrafo& trafo, const TKVector& source, double step);

// For `count` points evenly on the line from `from` to `to`, the relative position of each
// image between the images of the ends: a / (a + b), with a and b its distances to them
// (0 where both are 0). An even trafo gives 0, 1/(count-1), ..., 1.
TKVector CalcLinePosition(const TKTrafo& trafo, const TKVector& from, const TKVector& to, int32_t count);

// Distances of each row from its image through trafoA and then trafoB.
TKDistanceStatistic CalcRoundTripStatistic(const TKTrafo& trafoA, const TKTrafo& trafoB, const TKMatrix& matrix);

// Distances of each source row's image from the target row. DimMismatch unless both tables
// have as many rows.
TKDistanceStatistic CalcTableStatistic(const TKTrafo& trafo, const TKMatrix& source, const TKMatrix& target);
