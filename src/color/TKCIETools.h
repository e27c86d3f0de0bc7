// The direct CIE conversions as pure functions on three doubles. XYZ is the hub: every type
// is reached from XYZ in one step, or through its rectangular / polar partner.
// All XYZ values have Y = 100 for the white; input and output arrays may be the same.
#pragma once

#include <cstdint>

#include "color/TKMat3.h"

constexpr double kTKPi = 3.14159265358979323846;
constexpr double kTKDegree = kTKPi / 180.0;  // one degree in radians

// The CIELAB constants: the cube of 6/29, 841/108, 16/116, 6/29 and 108/841.
constexpr double kTKLabEpsilon = 0.008856451679;
constexpr double kTKLabK1 = 7.787037037037037;
constexpr double kTKLabK2 = 0.13793103448275862;
constexpr double kTKLabT = 0.20689655172413793;
constexpr double kTKLabK3 = 0.12841854934601665;

// The fixed whites, XYZ with Y = 100, stored rounded as the engine has always used them.
extern const double kTKWhiteD50[3];  // the connection-space white
extern const double kTKWhiteD55[3];
extern const double kTKWhiteD65[3];
extern const double kTKWhiteD75[3];
extern const double kTKWhiteA[3];
extern const double kTKWhiteC[3];
extern const double kTKWhiteF2[3];
extern const double kTKWhiteF7[3];
extern const double kTKWhiteF11[3];
// The stored white of a name ("D50", "D55", "D65", "D75", "A", "C", "F2", "F7", "F11"), or null.
const double* GetStoredWhite(const char* name);

void XYZToLab(const double xyz[3], const double white[3], double lab[3]);
void LabToXYZ(const double lab[3], const double white[3], double xyz[3]);
// L* of a relative luminance Y (white 100), and back.
double YToL(double y);
double LToY(double l);

void XYZToLuv(const double xyz[3], const double white[3], double luv[3]);
void LuvToXYZ(const double luv[3], const double white[3], double xyz[3]);

void XYZToYxy(const double xyz[3], double yxy[3]);
void YxyToXYZ(const double yxy[3], double xyz[3]);
void XYZToYuv(const double xyz[3], double yuv[3]);  // Y, u', v'
void YuvToXYZ(const double yuv[3], double xyz[3]);

void XYZToXYZN(const double xyz[3], const double white[3], double xyzn[3]);
void XYZNToXYZ(const double xyzn[3], const double white[3], double xyz[3]);

// (L, a, b) to (L, C, h in degrees 0..360) and back; the same for Luv, Jab and Lcs.
void RectToPolar(const double rect[3], double polar[3]);
void PolarToRect(const double polar[3], double rect[3]);

// Status-like densities of the three tristimulus ratios; the fourth channel is the density of
// their mean, a broad-band (visual-like) reading. dens has four entries.
void XYZToDens(const double xyz[3], const double white[3], double dens[4]);
void DensToXYZ(const double dens[4], const double white[3], double xyz[3]);

// Correlated colour temperature by Robertson's isotherms; 0 where it is undefined.
double XYZToKelvin(const double xyz[3]);

// The DIN99 form of the "DeltaE-DIN99" difference (from Lab) and the DIN99d form of the
// "DeltaE-DIN99d" difference (from XYZ and its white), with their inverses.
void LabToDIN99(const double lab[3], double out[3]);
void DIN99ToLab(const double din[3], double lab[3]);
void XYZToDIN99d(const double xyz[3], const double white[3], double out[3]);
void DIN99dToXYZ(const double din[3], const double white[3], double xyz[3]);

// Chromatic adaptation matrices by code: 0 "Wrong von Kries" (identity), 1 "von Kries",
// 2 "Bradford", 3 "LMS", 4 "CAT02", 6 "Test". Other codes give the identity.
TKMat3 GetAdaptationMatrix(int32_t code);
// The name of an adaptation code, "Unknown Adaptation" for codes not in the table.
const char* GetAdaptationName(int32_t code);
// A = M^-1 diag(M dst / M src) M: adapts XYZ seen under srcWhite to dstWhite.
TKMat3 AdaptationTransform(const TKMat3& cone, const double srcWhite[3], const double dstWhite[3]);

// The CAT02 matrix and the Hunt-Pointer-Estevez cone matrix times the inverse of CAT02.
extern const TKMat3 kTKCAT02;
extern const TKMat3 kTKHPEFromCAT02;
