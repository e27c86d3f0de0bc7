// Curves through points in any number of dimensions, parameterised over 0..1: the polygon
// (TKLinearSpline), a quadratic blend (TKSquareSpline) and a smooth spline that bends each
// segment towards the shape of its neighbours (TKSmoothSpline). The points are the columns of
// a matrix, so that each row is one dimension.
#pragma once

#include <cstdint>

#include "numeric/TKDoubleFunc.h"
#include "numeric/TKMatrix.h"

// The points of a spline and where a parameter falls among them.
class TKSplinePoints {
public:
    TKSplinePoints() = default;
    explicit TKSplinePoints(const TKMatrix& points) : fPoints(points) {}

    int32_t Count() const { return fPoints.GetWidth(); }
    int32_t Dim() const { return fPoints.GetHeight(); }
    const TKMatrix& Matrix() const { return fPoints; }
    TKVector Point(int32_t index) const { return fPoints.GetColumn(index); }

    // For 0 < t < 1 with at least two points: the segment i (0..Count-2) and the fraction f
    // of t*(Count-1) within it.
    void Locate(double t, int32_t& segment, double& fraction) const;

private:
    TKMatrix fPoints;
};

class TKLinearSpline : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKLinearSpline, TKDoubleToVectorFunc)
public:
    explicit TKLinearSpline(const TKMatrix& points) : fPoints(points) {}
    TKVector Eval(double t) const override;
    const TKMatrix& GetPoints() const { return fPoints.Matrix(); }

private:
    TKSplinePoints fPoints;
};

// The polygon plus (f^2 - f) times the step before and the step after the segment.
class TKSquareSpline : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKSquareSpline, TKDoubleToVectorFunc)
public:
    explicit TKSquareSpline(const TKMatrix& points) : fPoints(points) {}
    TKVector Eval(double t) const override;
    const TKMatrix& GetPoints() const { return fPoints.Matrix(); }

private:
    TKSplinePoints fPoints;
};

// The polygon, bulged at each end of a segment by the offset of that end point from the chord
// of its neighbours, weighted f(1-f)^2; it passes through every point.
class TKSmoothSpline : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKSmoothSpline, TKDoubleToVectorFunc)
public:
    explicit TKSmoothSpline(const TKMatrix& points) : fPoints(points) {}
    TKVector Eval(double t) const override;
    const TKMatrix& GetPoints() const { return fPoints.Matrix(); }

private:
    TKSplinePoints fPoints;
};
