// A local hue correction of the "Lcs " space, forward or inverse, as a trafo.
#include "color/TKHueCorrectionTrafo.h"

#include "color/TKColors.h"
#include "foundation/TKError.h"

TKHueCorrectionTrafo::TKHueCorrectionTrafo(double x, double y, double degrees, bool inverse)
    : fCorrection{x, y, degrees}, fInverse(inverse) {
    if (x == 0.0 && y == 0.0) TKThrow(ArgErr);  // a correction needs a direction
}

TKHueCorrectionTrafo::TKHueCorrectionTrafo(const TKHueCorrection& correction, bool inverse)
    : TKHueCorrectionTrafo(correction.x, correction.y, correction.degrees, inverse) {}

int32_t TKHueCorrectionTrafo::GetSrcType() const { return int32_t(TKLcsSpace); }

int32_t TKHueCorrectionTrafo::GetDstType(int32_t) const { return int32_t(TKLcsSpace); }

TKVector TKHueCorrectionTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() < 3) TKThrow(DimMismatch);
    TKVector result(source);
    double a = result[1], b = result[2];
    if (fInverse)
        fCorrection.Invert(a, b);
    else
        fCorrection.Apply(a, b);
    result[1] = a;
    result[2] = b;
    return result;
}
