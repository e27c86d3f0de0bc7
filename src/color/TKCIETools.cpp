// The direct CIE conversions: Lab, Luv, Yxy, Yu'v', XYZN, polar forms, densities,
// Robertson's colour temperature, the two DIN99 forms and the adaptation matrices.
#include "color/TKCIETools.h"

#include <cmath>
#include <cstring>

#include "color/TKSpectralTables.h"

const double kTKWhiteD50[3] = {96.42, 100.0, 82.49};
const double kTKWhiteD55[3] = {96.68, 100.0, 92.15};
const double kTKWhiteD65[3] = {95.04, 100.0, 108.89};
const double kTKWhiteD75[3] = {94.97, 100.0, 122.74};
const double kTKWhiteA[3] = {109.85, 100.0, 35.58};
const double kTKWhiteC[3] = {98.07, 100.0, 118.23};
const double kTKWhiteF2[3] = {99.19, 100.0, 67.4};
const double kTKWhiteF7[3] = {95.04, 100.0, 108.76};
const double kTKWhiteF11[3] = {100.97, 100.0, 64.37};

const double* GetStoredWhite(const char* name) {
    static const struct {
        const char* name;
        const double* white;
    } kWhites[] = {{"D50", kTKWhiteD50}, {"D55", kTKWhiteD55}, {"D65", kTKWhiteD65}, {"D75", kTKWhiteD75},
                   {"A", kTKWhiteA},     {"C", kTKWhiteC},     {"F2", kTKWhiteF2},   {"F7", kTKWhiteF7},
                   {"F11", kTKWhiteF11}};
    if (!name) return nullptr;
    for (const auto& w : kWhites)
        if (!std::strcmp(name, w.name)) return w.white;
    return nullptr;
}

const TKMat3 kTKCAT02{{0.7328, 0.4296, -0.1624, -0.7036, 1.6975, 0.0061, 0.003, 0.0136, 0.9834}};
const TKMat3 kTKHPEFromCAT02{
    {0.7409792, 0.218025, 0.0410058, 0.2853532, 0.6242014, 0.0904454, -0.009628, -0.005698, 1.015326}};

namespace {

double LabF(double r) { return r > kTKLabEpsilon ? std::cbrt(r) : r * kTKLabK1 + kTKLabK2; }
double LabG(double v) { return v > kTKLabT ? v * v * v : (v - kTKLabK2) * kTKLabK3; }

// u' and v' denominators of the white; shared by Luv.
void WhiteUV(const double white[3], double& u, double& v) {
    const double d = white[0] + 15.0 * white[1] + 3.0 * white[2];
    u = 4.0 * white[0] / d;
    v = 9.0 * white[1] / d;
}

double Clamp(double x, double lo, double hi) { return x < lo ? lo : (x > hi ? hi : x); }

// (a, b) rotated by angle: the e axis along the angle.
void Rotate(double a, double b, double angle, double& e, double& f) {
    const double c = std::cos(angle), s = std::sin(angle);
    e = a * c + b * s;
    f = b * c - a * s;
}

}  // namespace

void XYZToLab(const double xyz[3], const double white[3], double lab[3]) {
    const double fx = LabF(xyz[0] / white[0]);
    const double fy = LabF(xyz[1] / white[1]);
    const double fz = LabF(xyz[2] / white[2]);
    lab[0] = 116.0 * fy - 16.0;
    lab[1] = 500.0 * (fx - fy);
    lab[2] = 200.0 * (fy - fz);
}

void LabToXYZ(const double lab[3], const double white[3], double xyz[3]) {
    const double fy = (lab[0] + 16.0) / 116.0;
    const double fx = fy + lab[1] * 0.002;
    const double fz = fy - lab[2] * 0.005;
    xyz[0] = LabG(fx) * white[0];
    xyz[1] = LabG(fy) * white[1];
    xyz[2] = LabG(fz) * white[2];
}

double YToL(double y) {
    y /= 100.0;
    return y > kTKLabEpsilon ? 116.0 * std::cbrt(y) - 16.0 : (y * kTKLabK1 + kTKLabK2) * 116.0 - 16.0;
}

double LToY(double l) { return LabG((l + 16.0) / 116.0) * 100.0; }

void XYZToLuv(const double xyz[3], const double white[3], double luv[3]) {
    double uw, vw;
    WhiteUV(white, uw, vw);
    const double l = YToL(xyz[1] / white[1] * 100.0);
    const double d = xyz[0] + 15.0 * xyz[1] + 3.0 * xyz[2];
    luv[0] = l;
    if (d > 0.001) {
        luv[1] = 13.0 * l * (4.0 * xyz[0] / d - uw);
        luv[2] = 13.0 * l * (9.0 * xyz[1] / d - vw);
    } else {
        luv[1] = luv[2] = 0.0;
    }
}

void LuvToXYZ(const double luv[3], const double white[3], double xyz[3]) {
    double uw, vw;
    WhiteUV(white, uw, vw);
    const double l = luv[0], u = luv[1], v = luv[2];
    const double y = LToY(l) / 100.0 * white[1];
    if (l < 0.01) {
        xyz[0] = xyz[2] = 0.0;
        xyz[1] = y;
        return;
    }
    const double q = 9.0 * y / (v / (13.0 * l) + vw);
    const double x = (u / (13.0 * l) + uw) * q / 4.0;
    xyz[0] = x;
    xyz[1] = y;
    xyz[2] = (q - x - 15.0 * y) / 3.0;
}

void XYZToYxy(const double xyz[3], double yxy[3]) {
    const double s = xyz[0] + xyz[1] + xyz[2];
    const double y = xyz[1];
    if (s > 0.001) {
        yxy[1] = xyz[0] / s;
        yxy[2] = xyz[1] / s;
    } else {
        yxy[1] = yxy[2] = 1.0 / 3.0;
    }
    yxy[0] = y;
}

void YxyToXYZ(const double yxy[3], double xyz[3]) {
    const double y = yxy[0], cx = yxy[1], cy = yxy[2];
    if (cy == 0.0) {
        xyz[0] = xyz[1] = xyz[2] = 0.0;
        return;
    }
    xyz[0] = cx * y / cy;
    xyz[1] = y;
    xyz[2] = (1.0 - cx - cy) * y / cy;
}

void XYZToYuv(const double xyz[3], double yuv[3]) {
    const double d = xyz[0] + 15.0 * xyz[1] + 3.0 * xyz[2];
    const double y = xyz[1];
    if (d == 0.0) {
        yuv[1] = yuv[2] = 1.0 / 3.0;
    } else {
        yuv[1] = 4.0 * xyz[0] / d;
        yuv[2] = 9.0 * xyz[1] / d;
    }
    yuv[0] = y;
}

void YuvToXYZ(const double yuv[3], double xyz[3]) {
    const double y = yuv[0], u = yuv[1], v = yuv[2];
    const double q = v != 0.0 ? 9.0 * y / v : 0.0;  // q = X + 15Y + 3Z
    const double x = u * q / 4.0;
    xyz[0] = x;
    xyz[1] = y;
    xyz[2] = (q - x - 15.0 * y) / 3.0;
}

void XYZToXYZN(const double xyz[3], const double white[3], double xyzn[3]) {
    for (int i = 0; i < 3; ++i) xyzn[i] = xyz[i] / white[i];
}

void XYZNToXYZ(const double xyzn[3], const double white[3], double xyz[3]) {
    for (int i = 0; i < 3; ++i) xyz[i] = xyzn[i] * white[i];
}

void RectToPolar(const double rect[3], double polar[3]) {
    const double a = rect[1], b = rect[2];
    double h = std::atan2(b, a) / kTKDegree;
    if (h < 0.0) h += 360.0;
    polar[0] = rect[0];
    polar[1] = std::sqrt(a * a + b * b);
    polar[2] = h;
}

void PolarToRect(const double polar[3], double rect[3]) {
    const double c = polar[1], h = polar[2] * kTKDegree;
    rect[0] = polar[0];
    rect[1] = c * std::cos(h);
    rect[2] = c * std::sin(h);
}

void XYZToDens(const double xyz[3], const double white[3], double dens[4]) {
    double mean = 0.0;
    for (int i = 0; i < 3; ++i) {
        // Limited to 4 density units: a densitometer reads no deeper, and log10(0) is not a number.
        const double r = Clamp(xyz[i] / white[i], 0.0001, 1.0);
        dens[i] = -std::log10(r);
        mean += r / 3.0;
    }
    dens[3] = -std::log10(mean);
}

void DensToXYZ(const double dens[4], const double white[3], double xyz[3]) {
    for (int i = 0; i < 3; ++i) xyz[i] = std::pow(10.0, -dens[i]) * white[i];
}

double XYZToKelvin(const double xyz[3]) {
    const double x = xyz[0], y = xyz[1], z = xyz[2];
    if ((x < 1e-20 && y < 1e-20 && z < 1e-20) || x + y + z < 1e-20) return 0.0;
    const double d = x + 15.0 * y + 3.0 * z;
    if (d == 0.0) return 0.0;
    const double us = 4.0 * x / d, vs = 6.0 * y / d;  // CIE 1960 UCS
    double previous = 0.0;
    for (int i = 0; i < kTKIsothermCount; ++i) {
        const TKIsotherm& line = kTKRobertsonIsotherms[i];
        // Signed distance from the isotherm, normalised by the length of its direction.
        const double di = ((vs - line.v) - line.slope * (us - line.u)) / std::sqrt(1.0 + line.slope * line.slope);
        if (i > 0 && (di == 0.0 || (previous < 0.0) != (di < 0.0))) {
            const double f = previous / (previous - di);
            const double m1 = kTKRobertsonIsotherms[i - 1].mired;
            const double mired = m1 + (line.mired - m1) * f;
            return mired > 0.0 ? 1.0e6 / mired : 0.0;
        }
        previous = di;
    }
    return 0.0;
}

namespace {
constexpr double kDIN99Angle = 0.2792526803190927;   // 16 degrees
constexpr double kDIN99dAngle = 0.8726646259971648;  // 50 degrees
constexpr double kDIN99dLFactor = 325.21943394896743;  // 100 / ln(1.36)
}  // namespace

void LabToDIN99(const double lab[3], double out[3]) {
    double e, f;
    Rotate(lab[1], lab[2], kDIN99Angle, e, f);
    f *= 0.7;
    const double g = 0.045 * std::sqrt(e * e + f * f);
    const double s = g > 0.0 ? std::log1p(g) / g : 1.0;
    out[0] = lab[0] > 0.0 ? 105.51 * std::log1p(0.0158 * lab[0]) : 0.0;
    out[1] = s * e;
    out[2] = s * f;
}

void DIN99ToLab(const double din[3], double lab[3]) {
    const double c99 = std::sqrt(din[1] * din[1] + din[2] * din[2]);
    // c99 = ln(1 + g) / 0.045, so the scale s = ln(1 + g) / g is undone by g / ln(1 + g).
    const double g = std::expm1(0.045 * c99);
    const double unscale = c99 > 0.0 ? g / std::log1p(g) : 1.0;
    const double e = din[1] * unscale, f = din[2] * unscale / 0.7;
    const double c = std::cos(kDIN99Angle), s = std::sin(kDIN99Angle);
    lab[0] = din[0] > 0.0 ? std::expm1(din[0] / 105.51) / 0.0158 : 0.0;
    lab[1] = e * c - f * s;
    lab[2] = e * s + f * c;
}

void XYZToDIN99d(const double xyz[3], const double white[3], double out[3]) {
    // The modified X reduces the blue-region hue bias of CIELAB before the logarithmic compression.
    const double x[3] = {1.12 * xyz[0] - 0.12 * xyz[2], xyz[1], xyz[2]};
    const double w[3] = {1.12 * white[0] - 0.12 * white[2], white[1], white[2]};
    double lab[3];
    XYZToLab(x, w, lab);
    double e, f;
    Rotate(lab[1], lab[2], kDIN99dAngle, e, f);
    f *= 1.14;
    const double g = std::sqrt(e * e + f * f);
    const double c99 = 22.5 * std::log1p(0.06 * g);
    const double h = std::atan2(f, e) + kDIN99dAngle;
    out[0] = lab[0] > 0.0 ? kDIN99dLFactor * std::log1p(0.0036 * lab[0]) : 0.0;
    out[1] = c99 * std::cos(h);
    out[2] = c99 * std::sin(h);
}

void DIN99dToXYZ(const double din[3], const double white[3], double xyz[3]) {
    const double c99 = std::sqrt(din[1] * din[1] + din[2] * din[2]);
    const double h = std::atan2(din[2], din[1]) - kDIN99dAngle;
    const double g = std::expm1(c99 / 22.5) / 0.06;
    const double e = g * std::cos(h), f = g * std::sin(h) / 1.14;
    const double c = std::cos(kDIN99dAngle), s = std::sin(kDIN99dAngle);
    const double lab[3] = {din[0] > 0.0 ? std::expm1(din[0] / kDIN99dLFactor) / 0.0036 : 0.0, e * c - f * s,
                           e * s + f * c};
    const double w[3] = {1.12 * white[0] - 0.12 * white[2], white[1], white[2]};
    double x[3];
    LabToXYZ(lab, w, x);
    xyz[0] = (x[0] + 0.12 * x[2]) / 1.12;
    xyz[1] = x[1];
    xyz[2] = x[2];
}

TKMat3 GetAdaptationMatrix(int32_t code) {
    switch (code) {
        case 1: return TKMat3{{0.40024, 0.7076, -0.08081, -0.2263, 1.16532, 0.0457, 0.0, 0.0, 0.91822}};
        case 2: return TKMat3{{0.8951, 0.2664, -0.1614, -0.7502, 1.7135, 0.0367, 0.0389, -0.0685, 1.0296}};
        case 3: return TKMat3{{0.3897, 0.689, -0.0787, -0.2298, 1.1834, 0.0464, 0.0, 0.0, 1.0}};
        case 4: return kTKCAT02;
        // The test slot holds the CMCCAT2000 cone matrix (Li, Luo, Rigg, Hunt 2002), a
        // sharpened space between Bradford and CAT02, for comparing adaptations.
        case 6: return TKMat3{{0.7982, 0.3389, -0.1371, -0.5918, 1.5512, 0.0406, 0.0008, 0.0239, 0.9753}};
        default: return TKMat3::Identity();
    }
}

const char* GetAdaptationName(int32_t code) {
    switch (code) {
        case 0: return "Wrong von Kries";
        case 1: return "von Kries";
        case 2: return "Bradford";
        case 3: return "LMS";
        case 4: return "CAT02";
        case 6: return "Test";
        case 7: return "Custom";
        default: return "Unknown Adaptation";
    }
}

TKMat3 AdaptationTransform(const TKMat3& cone, const double srcWhite[3], const double dstWhite[3]) {
    double s[3], d[3];
    cone.Apply(srcWhite, s);
    cone.Apply(dstWhite, d);
    return cone.Inverse() * TKMat3::Diagonal(d[0] / s[0], d[1] / s[1], d[2] / s[2]) * cone;
}
