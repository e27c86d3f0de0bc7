// TKHueCorrectionTrafo: one local hue correction of the "Lcs " space as a trafo on Lcs colours.
#pragma once

#include "color/TKColorTypeTrafo.h"
#include "color/TKLcsModel.h"

class TKHueCorrectionTrafo : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKHueCorrectionTrafo, TKColorTypeTrafo)
public:
    // The correction around the direction (x, y) by up to `degrees`; `inverse` undoes it.
    TKHueCorrectionTrafo(double x, double y, double degrees, bool inverse = false);
    explicit TKHueCorrectionTrafo(const TKHueCorrection& correction, bool inverse = false);

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    // Moves channels 1 and 2 (c and s); lightness and further channels pass unchanged.
    TKVector Trafo(const TKVector& source) const override;

    const TKHueCorrection& GetCorrection() const { return fCorrection; }
    bool IsInverse() const { return fInverse; }

private:
    TKHueCorrection fCorrection;
    bool fInverse;
};
