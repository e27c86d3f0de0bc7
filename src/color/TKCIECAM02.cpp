// CIECAM02 forward and inverse model, as published by CIE TC 8-01 (Moroney et al. 2002).
#include "color/TKCIECAM02.h"

#include <cmath>

#include "color/TKCIETools.h"

namespace {

// The post-adaptation compression of one cone response, symmetric for negative responses.
double Compress(double r, double fl) {
    const double t = std::pow(fl * std::fabs(r) / 100.0, 0.42);
    const double v = 400.0 * t / (27.13 + t);
    return (r < 0.0 ? -v : v) + 0.1;
}

double Decompress(double ra, double fl) {
    const double x = ra - 0.1;
    const double ax = std::fabs(x);
    // Responses at or beyond the asymptote 400 have no preimage; keep them just below it.
    const double limited = ax < 399.999999 ? ax : 399.999999;
    const double r = 100.0 / fl * std::pow(27.13 * limited / (400.0 - limited), 1.0 / 0.42);
    return x < 0.0 ? -r : r;
}

// The achromatic response of the compressed cone responses.
double Achromatic(const double ra[3], double nbb) { return (2.0 * ra[0] + ra[1] + ra[2] / 20.0 - 0.305) * nbb; }

}  // namespace

TKCIECAM02::TKCIECAM02(const double white[3], const TKViewingConditions& vc)
    : fHPEInverse(kTKHPEFromCAT02.Inverse()), fCAT02Inverse(kTKCAT02.Inverse()) {
    for (int i = 0; i < 3; ++i) fWhite[i] = white[i];
    const double la = vc.adaptingLuminance;
    double d = vc.surroundF * (1.0 - (1.0 / 3.6) * std::exp((-la - 42.0) / 92.0));
    d = d < 0.0 ? 0.0 : (d > 1.0 ? 1.0 : d);
    double rgbW[3];
    kTKCAT02.Apply(white, rgbW);
    for (int i = 0; i < 3; ++i) fDegree[i] = white[1] * d / rgbW[i] + 1.0 - d;

    const double k = 1.0 / (5.0 * la + 1.0);
    const double k4 = k * k * k * k;
    fFL = 0.2 * k4 * 5.0 * la + 0.1 * (1.0 - k4) * (1.0 - k4) * std::cbrt(5.0 * la);
    fN = vc.backgroundY / white[1];
    fNbb = 0.725 * std::pow(1.0 / fN, 0.2);
    fZ = 1.48 + std::sqrt(fN);
    fC = vc.surroundC;
    fNc = vc.surroundNc;
    fChromaScale = std::pow(1.64 - std::pow(0.29, fN), 0.73);

    double rgbC[3], rgbP[3], ra[3];
    for (int i = 0; i < 3; ++i) rgbC[i] = rgbW[i] * fDegree[i];
    kTKHPEFromCAT02.Apply(rgbC, rgbP);
    for (int i = 0; i < 3; ++i) ra[i] = Compress(rgbP[i], fFL);
    fAw = Achromatic(ra, fNbb);
}

void TKCIECAM02::Forward(const double xyz[3], double jch[3]) const {
    double rgb[3], rgbP[3], ra[3];
    kTKCAT02.Apply(xyz, rgb);
    for (int i = 0; i < 3; ++i) rgb[i] *= fDegree[i];
    kTKHPEFromCAT02.Apply(rgb, rgbP);
    for (int i = 0; i < 3; ++i) ra[i] = Compress(rgbP[i], fFL);

    const double a = ra[0] - 12.0 * ra[1] / 11.0 + ra[2] / 11.0;
    const double b = (ra[0] + ra[1] - 2.0 * ra[2]) / 9.0;
    double h = std::atan2(b, a) * 180.0 / kTKPi;
    if (h < 0.0) h += 360.0;
    const double et = 0.25 * (std::cos(h * kTKPi / 180.0 + 2.0) + 3.8);
    const double achromatic = Achromatic(ra, fNbb);
    const double j = achromatic > 0.0 ? 100.0 * std::pow(achromatic / fAw, fC * fZ) : 0.0;
    const double denom = ra[0] + ra[1] + 21.0 / 20.0 * ra[2];
    const double t = denom != 0.0 ? (50000.0 / 13.0 * fNc * fNbb * et * std::sqrt(a * a + b * b)) / denom : 0.0;
    jch[0] = j;
    jch[1] = std::pow(t, 0.9) * std::sqrt(j / 100.0) * fChromaScale;
    jch[2] = h;
}

void TKCIECAM02::Inverse(const double jch[3], double xyz[3]) const {
    const double j = jch[0], c = jch[1], hr = jch[2] * kTKPi / 180.0;
    if (j <= 0.0) {
        xyz[0] = xyz[1] = xyz[2] = 0.0;
        return;
    }
    const double t = std::pow(c / (std::sqrt(j / 100.0) * fChromaScale), 1.0 / 0.9);
    const double et = 0.25 * (std::cos(hr + 2.0) + 3.8);
    const double achromatic = fAw * std::pow(j / 100.0, 1.0 / (fC * fZ));
    const double p2 = achromatic / fNbb + 0.305;
    const double p3 = 21.0 / 20.0;
    double a = 0.0, b = 0.0;
    if (t > 0.0) {
        // The published inverse: solve the chroma equation for a and b along the hue direction,
        // dividing by whichever of sin and cos is larger.
        const double p1 = 50000.0 / 13.0 * fNc * fNbb * et / t;
        const double sh = std::sin(hr), ch = std::cos(hr);
        if (std::fabs(sh) >= std::fabs(ch)) {
            const double p4 = p1 / sh;
            b = p2 * (2.0 + p3) * (460.0 / 1403.0) /
                (p4 + (2.0 + p3) * (220.0 / 1403.0) * (ch / sh) - 27.0 / 1403.0 + p3 * (6300.0 / 1403.0));
            a = b * ch / sh;
        } else {
            const double p5 = p1 / ch;
            a = p2 * (2.0 + p3) * (460.0 / 1403.0) /
                (p5 + (2.0 + p3) * (220.0 / 1403.0) - (27.0 / 1403.0 - p3 * (6300.0 / 1403.0)) * (sh / ch));
            b = a * sh / ch;
        }
    }
    const double ra[3] = {(460.0 * p2 + 451.0 * a + 288.0 * b) / 1403.0,
                          (460.0 * p2 - 891.0 * a - 261.0 * b) / 1403.0,
                          (460.0 * p2 - 220.0 * a - 6300.0 * b) / 1403.0};
    double rgbP[3], rgb[3];
    for (int i = 0; i < 3; ++i) rgbP[i] = Decompress(ra[i], fFL);
    fHPEInverse.Apply(rgbP, rgb);
    for (int i = 0; i < 3; ++i) rgb[i] /= fDegree[i];
    fCAT02Inverse.Apply(rgb, xyz);
}
