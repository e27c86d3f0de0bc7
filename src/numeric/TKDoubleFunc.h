// Function objects of one variable: double to double, double to vector and vector to double,
// with the straight ramp and the straight path between two vectors. Curves are sampled from them.
#pragma once

#include "foundation/TKObject.h"
#include "numeric/TKVector.h"

class TKDoubleFunc : public TKObject {
    TK_DECLARE_CLASS(TKDoubleFunc, TKObject)
public:
    virtual double Eval(double x) const = 0;
};

class TKDoubleToVectorFunc : public TKObject {
    TK_DECLARE_CLASS(TKDoubleToVectorFunc, TKObject)
public:
    virtual TKVector Eval(double t) const = 0;
};

class TKVectorToDoubleFunc : public TKObject {
    TK_DECLARE_CLASS(TKVectorToDoubleFunc, TKObject)
public:
    virtual double Eval(const TKVector& x) const = 0;
};

// y0 below x0, y1 above x1, the straight line between (x0, y0) and (x1, y1) in between.
class TKLinearRampFunc : public TKDoubleFunc {
    TK_DECLARE_CLASS(TKLinearRampFunc, TKDoubleFunc)
public:
    TKLinearRampFunc(double x0, double x1, double y0, double y1) : fX0(x0), fX1(x1), fY0(y0), fY1(y1) {}
    double Eval(double x) const override;

private:
    double fX0, fX1, fY0, fY1;
};

// first + t * (second - first); DimMismatch when the two differ in dimension.
class TKInterpolateVectorFunc : public TKDoubleToVectorFunc {
    TK_DECLARE_CLASS(TKInterpolateVectorFunc, TKDoubleToVectorFunc)
public:
    TKInterpolateVectorFunc(const TKVector& first, const TKVector& second) : fFirst(first), fSecond(second) {}
    TKVector Eval(double t) const override;

private:
    TKVector fFirst;
    TKVector fSecond;
};
