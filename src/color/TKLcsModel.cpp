// The "Lcs " perceptual space and its hue corrections, forward and inverse.
#include "color/TKLcsModel.h"

#include <cmath>

#include "color/TKCIETools.h"

namespace {

constexpr double kChromaScale = 630.0;     // ca = cb
constexpr double kKnee = 100.0;            // chroma above which the compression starts
constexpr double kKneeSquared = 10000.0;
constexpr double kYellowBlue = 0.008;      // damping of b on the positive a side

const TKMat3 kOpponent{{0.7, 1.0, 0.05, 1.0, -12.0 / 11.0, 1.0 / 11.0, 1.0 / 9.0, 1.0 / 9.0, -2.0 / 9.0}};

// The CIELAB-like compression on a 0..100 scale: 0.08 at the knee, where both branches meet.
double Compress(double v) {
    const double x = v / 100.0;
    return x > kTKLabEpsilon ? 1.16 * std::cbrt(x) - 0.16 : 9.032962962962962 * x;
}

double Expand(double x) {
    const double v = x > 0.08 ? std::pow((x + 0.16) / 1.16, 3.0) : x * 0.1107056459879454;
    return v * 100.0;
}

// The opponent responses of cone values already scaled to the white.
void Opponent(const double cone[3], double out[3]) {
    double p[3];
    kTKHPEFromCAT02.Apply(cone, p);
    for (double& v : p) v = Compress(v);
    kOpponent.Apply(p, out);
}

// Chroma above the knee n maps q to 2n - n^2/q: continuous in value and slope at n,
// and never beyond 2n.
void CompressChroma(double& a, double& b) {
    const double q2 = a * a + b * b;
    if (q2 <= kKneeSquared) return;
    const double factor = std::fabs(2.0 * kKnee / std::sqrt(q2)) - kKneeSquared / q2;
    a *= factor;
    b *= factor;
}

void ExpandChroma(double& a, double& b) {
    const double q = std::sqrt(a * a + b * b);
    if (q <= kKnee) return;
    // Compressed chroma at or beyond 2n has no preimage; keep it just inside.
    const double limited = q < 2.0 * kKnee - 1e-9 ? q : 2.0 * kKnee - 1e-9;
    const double original = kKneeSquared / (2.0 * kKnee - limited);
    a *= original / q;
    b *= original / q;
}

// Coordinates along (u) and across (v) the correction's direction, the direction being u = 1.
void ToLocal(const TKHueCorrection& c, double a, double b, double& u, double& v) {
    const double n = c.x * c.x + c.y * c.y;
    u = (c.x * a + c.y * b) / n;
    v = (c.x * b - c.y * a) / n;
}

void FromLocal(const TKHueCorrection& c, double u, double v, double& a, double& b) {
    a = c.x * u - c.y * v;
    b = c.y * u + c.x * v;
}

}  // namespace

const TKHueCorrection TKLcsModel::kCorrections[kCorrectionCount] = {
    {-66.0, -20.0, -14.0}, {100.0, -23.0, -16.0}, {-23.0, 83.0, 8.0}, {0.0, -100.0, 10.0}};

void TKHueCorrection::Apply(double& a, double& b) const {
    double u, v;
    ToLocal(*this, a, b, u, v);
    if (!(std::fabs(v) < u)) return;
    const double theta = degrees * kTKPi / 180.0;
    v += (1.0 - u) * theta * (u - std::fabs(v));
    FromLocal(*this, u, v, a, b);
}

void TKHueCorrection::Invert(double& a, double& b) const {
    double u, v;
    ToLocal(*this, a, b, u, v);
    if (!(std::fabs(v) < u)) return;
    const double theta = degrees * kTKPi / 180.0;
    // Forward: v' = v + k (u - |v|) with k = theta (1 - u); so v' - k u = v - k |v|, which is
    // v (1 - k) for v >= 0 and v (1 + k) for v < 0, and keeps the sign of v.
    const double k = theta * (1.0 - u);
    const double v2 = v - theta * u * (1.0 - u);
    v = v2 < 0.0 ? v2 / (1.0 + k) : v2 / (1.0 - k);
    FromLocal(*this, u, v, a, b);
}

TKLcsModel::TKLcsModel(const double white[3])
    : fM1Inverse(kTKCAT02.Inverse()), fM2Inverse(kTKHPEFromCAT02.Inverse()), fM3Inverse(kOpponent.Inverse()) {
    kTKCAT02.Apply(white, fConeWhite);
    // The white's cone values all become its middle one after the von Kries scaling.
    const double grey[3] = {fConeWhite[1], fConeWhite[1], fConeWhite[1]};
    double opponent[3];
    Opponent(grey, opponent);
    fAw = opponent[0];
}

void TKLcsModel::Forward(const double xyz[3], double lcs[3]) const {
    double cone[3], opponent[3];
    kTKCAT02.Apply(xyz, cone);
    for (int i = 0; i < 3; ++i) cone[i] = cone[i] / fConeWhite[i] * fConeWhite[1];
    Opponent(cone, opponent);
    double a = kChromaScale * opponent[1];
    double b = kChromaScale * opponent[2];
    CompressChroma(a, b);
    if (a > 0.0) b /= (kYellowBlue * a) * (kYellowBlue * a) + 1.0;
    for (const TKHueCorrection& c : kCorrections) c.Apply(a, b);
    lcs[0] = 100.0 * opponent[0] / fAw;
    lcs[1] = a;
    lcs[2] = b;
}

void TKLcsModel::Inverse(const double lcs[3], double xyz[3]) const {
    double a = lcs[1], b = lcs[2];
    // Undone in reverse order, so that overlapping correction cones invert exactly.
    for (int i = kCorrectionCount - 1; i >= 0; --i) kCorrections[i].Invert(a, b);
    if (a > 0.0) b *= (kYellowBlue * a) * (kYellowBlue * a) + 1.0;
    ExpandChroma(a, b);
    const double opponent[3] = {lcs[0] * fAw / 100.0, a / kChromaScale, b / kChromaScale};
    double p[3], cone[3];
    fM3Inverse.Apply(opponent, p);
    for (double& v : p) v = Expand(v);
    fM2Inverse.Apply(p, cone);
    for (int i = 0; i < 3; ++i) cone[i] = cone[i] * fConeWhite[i] / fConeWhite[1];
    fM1Inverse.Apply(cone, xyz);
}
