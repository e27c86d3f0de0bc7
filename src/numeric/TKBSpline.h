// TKBSpline: a uniform B-spline of any degree over 0..1 with the points as control polygon.
// Open curves use a clamped knot vector and start and end on the first and last point; closed
// curves repeat the first `degree` points behind the last and run once around, ending where
// they started.
#pragma once

#include <cstdint>

#include "numeric/TKDoubleFunc.h"
#include "numeric/TKMatrix.h"

class TKBSpline : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKBSpline, TKDoubleToVectorFunc)
public:
    // Points are columns. The degree must be at least 1; an open curve needs more points than
    // its degree, a closed one at least as many. ArgErr otherwise.
    TKBSpline(const TKMatrix& points, int32_t degree, bool closed);

    // t is clamped into 0..1; NaN is ArgErr.
    TKVector Eval(double t) const override;

    int32_t GetDegree() const { return fDegree; }
    bool IsClosed() const { return fClosed; }

private:
    TKMatrix fControl;  // the points, with the wrap-around copies of a closed curve
    int32_t fDegree;
    bool fClosed;
};
