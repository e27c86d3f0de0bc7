// The "Lcs " perceptual space: cone responses compressed like CIELAB, opponent axes, a
// compression of high chroma and four local hue corrections.
#pragma once

#include "color/TKMat3.h"

// One local hue correction: it turns hues inside a 90-degree cone around the direction
// (x, y) by up to `degrees`, most near the centre and fading to nothing at the cone's edges.
struct TKHueCorrection {
    double x, y, degrees;

    void Apply(double& a, double& b) const;
    void Invert(double& a, double& b) const;
};

class TKLcsModel {
public:
    explicit TKLcsModel(const double white[3]);

    void Forward(const double xyz[3], double lcs[3]) const;
    void Inverse(const double lcs[3], double xyz[3]) const;

    static constexpr int kCorrectionCount = 4;
    static const TKHueCorrection kCorrections[kCorrectionCount];

private:
    double fConeWhite[3];
    double fAw = 1.0;
    TKMat3 fM1Inverse, fM2Inverse, fM3Inverse;
};
