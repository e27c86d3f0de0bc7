// TKBezierSpline: a piecewise cubic Bezier curve over 0..1 built from m+1 points (m segments,
// 3m+1 control points). Built plainly it is the uniform cubic B-spline of the points, which
// smooths them; built with a limit, the control points are adjusted until the curve passes
// through every point within that distance.
#pragma once

#include <cstdint>

#include "numeric/TKDoubleFunc.h"
#include "numeric/TKMatrix.h"

class TKBezierSpline : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKBezierSpline, TKDoubleToVectorFunc)
public:
    // The smallest limit accepted for an interpolating curve.
    static constexpr double kMinLimit = 1.28e-06;

    // Points are the columns of `points`; at least 3 (two segments), else ArgErr.
    explicit TKBezierSpline(const TKMatrix& points);
    // Through the points: each inner knot ends within `limit` of its point. A limit below
    // kMinLimit, or points that never settle (NaN), are ArgErr.
    TKBezierSpline(const TKMatrix& points, double limit);

    // ArgErr for t outside 0..1 (NaN included).
    TKVector Eval(double t) const override;

    int32_t GetSegmentCount() const { return fSegments; }
    // The 3m+1 control points as columns.
    const TKMatrix& GetControlPoints() const { return fControl; }

private:
    void Build(const TKMatrix& points);
    void DrawThrough(const TKMatrix& points, double limit);

    TKMatrix fControl;
    int32_t fSegments = 0;
};
