// Conversions between the two connection spaces.
#include "ConnectionSpace.h"

#include <cmath>

namespace host {

namespace {

// D50, the white of the connection space, Y = 100.
constexpr double kWhite[3] = {96.42, 100.0, 82.49};

double LabF(double t) { return t > 216.0 / 24389.0 ? std::cbrt(t) : (24389.0 / 27.0 * t + 16.0) / 116.0; }
double LabFInverse(double f) { return f * f * f > 216.0 / 24389.0 ? f * f * f : (116.0 * f - 16.0) * 27.0 / 24389.0; }

}  // namespace

void LabToXYZ(const double* lab, double* xyz) {
    const double fy = (lab[0] + 16.0) / 116.0;
    const double f[3] = {fy + lab[1] / 500.0, fy, fy - lab[2] / 200.0};
    for (int i = 0; i < 3; ++i) xyz[i] = kWhite[i] * LabFInverse(f[i]);
}

void XYZToLab(const double* xyz, double* lab) {
    double f[3];
    for (int i = 0; i < 3; ++i) f[i] = LabF(xyz[i] / kWhite[i]);
    lab[0] = 116.0 * f[1] - 16.0;
    lab[1] = 500.0 * (f[0] - f[1]);
    lab[2] = 200.0 * (f[1] - f[2]);
}

}  // namespace host
