// The CIECAM02 colour appearance model: XYZ under a white and viewing conditions to
// lightness J, chroma C and hue h, and back.
#pragma once

#include "color/TKMat3.h"

struct TKViewingConditions {
    double adaptingLuminance = 4.0;   // La, cd/m2
    double backgroundY = 20.0;        // Yb, relative to the white's 100
    double surroundF = 1.0;           // F
    double surroundC = 0.69;          // c
    double surroundNc = 1.0;          // Nc
};

// The model prepared for one white and one set of viewing conditions.
class TKCIECAM02 {
public:
    TKCIECAM02(const double white[3], const TKViewingConditions& conditions);

    // XYZ to (J, C, h in degrees).
    void Forward(const double xyz[3], double jch[3]) const;
    // (J, C, h) back to XYZ; J at or below 0 gives black.
    void Inverse(const double jch[3], double xyz[3]) const;

private:
    double fWhite[3];
    double fDegree[3];  // the incomplete-adaptation factors per cone, Yw D / Rw + 1 - D
    double fFL = 0, fN = 0, fNbb = 0, fZ = 0, fAw = 0, fC = 0, fNc = 0, fChromaScale = 0;
    TKMat3 fHPEInverse;
    TKMat3 fCAT02Inverse;
};
