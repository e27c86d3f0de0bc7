// Gray balance from a forward trafo (device to any CIE type): for each of eleven gray steps
// the device values that print the target neutral of a gray curve, solved on the trafo, and
// from them one curve per channel from the gray step to the device value. Inks are solved in
// percent; an RGB trafo is solved in "ink" 100 - 100 * value / 255, so that 0 is white there too.
#pragma once

#include <cstdint>
#include <vector>

#include "linearization/TKColorLinearization.h"
#include "linearization/TKGrayBalanceCurve.h"
#include "numeric/TKMatrix.h"
#include "numeric/TKTrafo.h"

class TKCalcGrayBalanceCurves {
public:
    // Bits of the flags of Calc: bits 0 and 1 the method for the chromatic channels, bit 2 a
    // black curve. 0 is taken as 15.
    enum Method : int32_t {
        kKeepEqual = 0,    // C = M = Y stay the gray step: only the black curve is solved
        kSolveCMY = 1,     // the three channels minimize the distance to the target together
        kSolveCommon = 2,  // one common value for the three channels, matching the lightness
        kSolveEach = 3     // the common value, then each channel's own share solved exactly
    };
    static constexpr int32_t kSolveBlack = 4;
    static constexpr int32_t kStepCount = 11;
    // The miss (delta E 1976) of the ramp between steps that asks for a further solved step, and
    // the most such steps. Where the target bends fastest, near the solid, the eleven fixed steps
    // leave gaps of 12.5 % that the curves alone do not bridge.
    static constexpr double kRefineTolerance = 0.5;
    static constexpr int32_t kMaxRefinedSteps = 6;

    // ArgErr for a null trafo, a source type that is neither RGB nor an ink type of three or
    // more channels, or a destination that is no CIE type. Curve type 0 (G7).
    explicit TKCalcGrayBalanceCurves(TKTrafo* trafo);
    virtual ~TKCalcGrayBalanceCurves();

    // 0 G7, 1 older TR 015, 2 TR 015; any other number leaves no curve, and Calc fails.
    virtual void SetCurveType(int32_t type);
    // A target of the caller's; null leaves no curve.
    virtual void SetCurve(TKGrayBalanceCurve* curve);
    // The largest value of each channel (percent), extended with 100; fixed 100, 100, 100 for
    // RGB. ArgErr for a limit not above 0 or above 100.
    virtual void SetLimits(const TKVector& limits);
    // Solves the steps (see Solve) and stores the curves into the linearization, replacing its
    // curves. Null does nothing.
    virtual void Calc(TKColorLinearization* linearization, int32_t flags);
    // Solves the eleven steps: GetSteps and GetResults then hold gray step and device values
    // (percent). Then, where the gray ramp printed through curves of these points misses its
    // target by more than kRefineTolerance between two steps, that gray step is solved too and
    // kept for the curves alone (GetRefinedSteps). PtrInvalid without a curve.
    virtual void Solve(int32_t flags);
    // The 101-step table of the target: paper, solids and per step the density and colour wanted.
    virtual void CalcTables();

    // The gray steps 0..100 and, per step, the device value of each channel in percent.
    const std::vector<double>& GetSteps() const { return fSteps; }
    const TKMatrix& GetResults() const { return fResults; }
    // The further gray steps solved for the curves, rising, and their device values (percent).
    const std::vector<double>& GetRefinedSteps() const { return fRefinedSteps; }
    const std::vector<TKVector>& GetRefinedResults() const { return fRefinedResults; }
    // The target of a gray step (interpolated in the table), "Lab ".
    TKVector GetTarget(double step) const;
    // The "Lab " colour the trafo prints for device values in percent.
    TKVector Print(const TKVector& percent) const;
    int32_t GetChannelCount() const { return fChannels; }
    uint32_t GetDeviceType() const { return fType; }
    bool IsRGB() const;
    // A monotonic table through points from gray step to device value, both 0..1.
    static void StoreCurve(TKCurveLinearization& curve, const std::vector<double>& x, const std::vector<double>& y);
    // The points (0..1) of one channel's curve, ends and refined steps included.
    void ChannelPoints(int32_t channel, std::vector<double>& x, std::vector<double>& y) const;

protected:
    virtual TKVector SolveCMY(const TKVector& target, const TKVector& start) const;
    virtual TKVector SolveBalance(const TKVector& target, const TKVector& start, bool eachChannel) const;
    virtual double SolveK(const TKVector& target) const;

private:
    TKVector ToDevice(const TKVector& percent) const;
    // The device values (percent) of gray step v, solved from `start` by the method.
    TKVector SolveStep(double v, const TKVector& start, int32_t method) const;
    // Adds solved steps where the ramp between the points misses the target (see Solve).
    void Refine(int32_t method);
    // All points of a channel in percent, gray step rising, before RGB's mirroring.
    void PercentPoints(int32_t channel, std::vector<double>& x, std::vector<double>& y) const;
    // The common value of the chromatic channels whose print has the target's lightness.
    double SolveCommon(double lightness) const;

    TKRefPtr<TKTrafo> fTrafo;
    uint32_t fType = 0;
    int32_t fChannels = 0;
    TKVector fLimits;
    TKRefPtr<TKGrayBalanceCurve> fCurve;
    TKVector fPaper, fBlackK, fBlackCMY;  // printed, "XYZ "
    TKMatrix fTable;  // 101 steps: wanted densities (CMY, K), the target's L, a, b and K's L
    std::vector<double> fSteps;
    TKMatrix fResults;
    std::vector<double> fRefinedSteps;
    std::vector<TKVector> fRefinedResults;
    bool fSolveBlack = false;
};
