// The ramp and the vector path of the function-object family.
#include "numeric/TKDoubleFunc.h"

#include "numeric/TKCurveLinearizationMath.h"

double TKLinearRampFunc::Eval(double x) const {
    if (x < fX0) return fY0;
    if (!(x > fX1)) return TKCurveTwoPointRule(fX0, fY0, fX1, fY1, x);
    return fY1;
}

TKVector TKInterpolateVectorFunc::Eval(double t) const { return fFirst + (fSecond - fFirst) * t; }
