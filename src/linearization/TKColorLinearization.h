// TKColorLinearization: per-channel tone curves of a colour type, applied as a trafo. The curves
// work on normalized values (0..1); the trafo takes and gives colours in the units of the type
// (inks in percent), so channel i is divided by its maximum, passed through curve i and scaled
// back. Calibration and gray balance curves are such objects.
#pragma once

#include <cstdint>
#include <vector>

#include "foundation/TKObject.h"
#include "numeric/TKVectorLinearization.h"

class TKColorLinearization : public TKVectorLinearization {
    TK_DECLARE_CLASS(TKColorLinearization, TKVectorLinearization)
public:
    // `type`'s channel count of identity curves.
    explicit TKColorLinearization(uint32_t type = 0);

    uint32_t GetColorType() const { return fType; }
    // Sets the type and `count` fresh identity curves. ArgErr for a count below 0 or too large.
    void Reset(uint32_t type, int32_t count);
    // Limits the slope of every curve to minSlope..maxSlope (see TKLimitCurveSlope).
    void LimitSlope(double minSlope, double maxSlope);

    // How the next calculation into this object measures and smooths, as a host sets it on the
    // handle: the smoothing spline's parameter (negative: none, the default) and the tone
    // measure, a colour difference method (kTKDeltaE76 by default). ArgErr for NaN or a method
    // outside the table.
    void SetCalcSmoothing(double smoothing);
    double GetCalcSmoothing() const { return fCalcSmoothing; }
    void SetCalcDifferenceMethod(int32_t method);
    int32_t GetCalcDifferenceMethod() const { return fCalcMethod; }

    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;
    TKVector TrafoInverse(const TKVector& source) const override;

private:
    // The full value of channel i, by which the curve's input and output are scaled.
    double ChannelScale(int32_t channel) const;

    uint32_t fType = 0;
    double fCalcSmoothing = -1.0;
    int32_t fCalcMethod;
};

// Several linearizations in a row: the first applied first. Each member keeps a count.
class TKMultiLinearization : public TKTrafo {
    TK_DECLARE_CLASS(TKMultiLinearization, TKTrafo)
public:
    TKMultiLinearization() = default;
    TKMultiLinearization(const TKMultiLinearization& other) = default;
    ~TKMultiLinearization() override;

    // owned: true takes over the caller's count. PtrInvalid for null.
    void Append(TKVectorLinearization* linearization, bool owned);
    int32_t GetCount() const { return int32_t(fMembers.size()); }
    // IndexError outside 0..count-1.
    TKVectorLinearization* Get(int32_t index) const;

    int32_t GetSrcDim() const override;
    int32_t GetSrcType() const override;
    int32_t GetDstType(int32_t srcType) const override;
    TKVector Trafo(const TKVector& source) const override;

private:
    std::vector<TKRefPtr<TKVectorLinearization>> fMembers;
};
