// Colour differences by numbered method: each method names the colour type it works in,
// converts both colours to it and gives a difference vector or a single number.
#pragma once

#include <cstdint>

#include "numeric/TKMatrix.h"
#include "numeric/TKVector.h"

enum TKDifferenceMethod : int32_t {
    kTKDeltaUndefined = -1, kTKDeltaAuto = 0, kTKDeltaRaw = 1, kTKDeltaE76 = 2, kTKDeltaLCh = 3,
    kTKDeltaLuv = 4, kTKDeltaJCh = 5, kTKDeltaJab = 6, kTKDeltaE94 = 7, kTKDeltaE2000 = 8,
    kTKDeltaEDIN99 = 9, kTKDeltaEDIN99d = 10, kTKDeltaE94Kuehni = 11, kTKDeltaXYZ = 12, kTKDeltaAB = 13,
    kTKDeltaLC = 14, kTKDeltaLh = 15, kTKDeltaL = 16, kTKDeltaC = 17, kTKDeltaH = 18, kTKDeltaLcsh = 19,
    kTKDeltaOOGv1 = 20, kTKDeltaPerceptual = 21, kTKDeltaColorimetric = 22, kTKDeltaSaturation = 23,
    kTKDeltaLcs = 24, kTKDeltaRGB = 25, kTKDeltaDensity = 26, kTKDeltaCMC11 = 27, kTKDeltaCMC21 = 28,
    kTKDeltaSort = 29, kTKDeltaTest = 30, kTKDeltaMetamerism = 31, kTKDeltaLabWeighted = 32,
    kTKDeltaISO20654 = 33, kTKDeltaSpot = 34
};
constexpr int32_t kTKDifferenceMethodCount = 35;

class TKColorDifference {
public:
    explicit TKColorDifference(int32_t method = kTKDeltaE76) : fMethod(method) {}
    virtual ~TKColorDifference() = default;

    int32_t GetMethod() const { return fMethod; }
    void SetMethod(int32_t method) { fMethod = method; }

    // a - b channel by channel in the working type.
    virtual void GetDifferenceVector(TKVector& result, const TKVector& a, const TKVector& b) const;
    // The method's single number; 0 for equal colours. For CMC the first colour is the reference.
    virtual double GetDifference(const TKVector& a, const TKVector& b) const;
    // Row by row; the matrices must have the same height (DimMismatch).
    virtual void GetDifferenceVectors(TKMatrix& result, const TKMatrix& a, const TKMatrix& b) const;
    virtual void GetDifferences(TKVector& result, const TKMatrix& a, const TKMatrix& b) const;

    // The type the method works in; for methods without one, `given`.
    uint32_t GetWorkingType(uint32_t given = 0) const;

    // "DeltaE-2000", "dE00" ...; "Unknown" for codes outside the table, "Undefined" for -1.
    static const char* GetMethodName(int32_t method);
    static const char* GetMethodShortName(int32_t method);
    // The code of a long or short name, or of "Auto", "CIECAM02", "Perceptual", "dE2000";
    // -1 if none matches (case ignored). Plug-ins add methods with codes from 1000 on, found
    // after every built-in name (TKModuleMgr, TKObjectMgr).
    static int32_t GetMethodFromName(const char* name);
    // Keeps the built-in names and aliases from plug-ins; call before plug-ins load.
    static void ReserveBuiltInNames();

private:
    double GetRegisteredDifference(const TKVector& a, const TKVector& b) const;

    int32_t fMethod;
};

// The published formulas on Lab triples; kL, kC, kH are the parametric factors.
double DeltaE76(const double lab1[3], const double lab2[3]);
// CIE94 (K1 0.045, K2 0.015) with the geometric mean of both chromas, so it is symmetric.
double DeltaE94(const double lab1[3], const double lab2[3]);
double DeltaE2000(const double lab1[3], const double lab2[3], double kL = 1.0, double kC = 1.0, double kH = 1.0);
// CMC(l:c) with the first colour as the reference.
double DeltaECMC(const double reference[3], const double sample[3], double l, double c);
