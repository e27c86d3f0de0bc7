// TKColorLinearization and TKMultiLinearization: curves applied in the units of a colour type.
#include "linearization/TKColorLinearization.h"

#include <algorithm>
#include <cmath>

#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "linearization/TKCurveSlope.h"

TKColorLinearization::TKColorLinearization(uint32_t type) : fCalcMethod(kTKDeltaE76) {
    Reset(type, GetChannelCount(type));
}

void TKColorLinearization::SetCalcSmoothing(double smoothing) {
    if (std::isnan(smoothing)) TKThrowMsg(ArgErr, "smoothing is not a number");
    fCalcSmoothing = smoothing;
}

void TKColorLinearization::SetCalcDifferenceMethod(int32_t method) {
    if (method < 0 || method >= kTKDifferenceMethodCount) TKThrowMsg(ArgErr, "unknown colour difference method");
    fCalcMethod = method;
}

void TKColorLinearization::Reset(uint32_t type, int32_t count) {
    SetCount(0);  // drop every old curve: a fresh state, not the old curves of kept channels
    SetCount(count);
    fType = type;
}

void TKColorLinearization::LimitSlope(double minSlope, double maxSlope) {
    // Checked once up front so that a bad pair leaves every curve as it was.
    TKCheckSlopeLimits(minSlope, maxSlope);
    for (int32_t i = 0; i < GetCount(); ++i) TKLimitCurveSlope(GetCurveRef(i), minSlope, maxSlope);
}

int32_t TKColorLinearization::GetSrcType() const { return int32_t(fType); }

int32_t TKColorLinearization::GetDstType(int32_t srcType) const { return fType ? int32_t(fType) : srcType; }

double TKColorLinearization::ChannelScale(int32_t channel) const {
    if (!fType || channel >= GetChannelCount(fType)) return 1.0;
    const double top = GetChannelMax(fType, channel);
    return top > 0.0 ? top : 1.0;
}

namespace {
template <class Apply>
TKVector Scaled(const TKColorLinearization& lin, const TKVector& source, Apply apply) {
    TKVector result(source);
    const int32_t n = std::min(lin.GetCount(), source.GetDim());
    for (int32_t i = 0; i < n; ++i) result[i] = apply(lin.GetCurve(i), i, source[i]);
    if (lin.GetColorType()) result.SetType(int32_t(lin.GetColorType()));
    return result;
}
}  // namespace

TKVector TKColorLinearization::Trafo(const TKVector& source) const {
    return Scaled(*this, source, [this](const TKCurveLinearization& curve, int32_t i, double v) {
        const double scale = ChannelScale(i);
        return curve.Apply(v / scale) * scale;
    });
}

TKVector TKColorLinearization::TrafoInverse(const TKVector& source) const {
    return Scaled(*this, source, [this](const TKCurveLinearization& curve, int32_t i, double v) {
        const double scale = ChannelScale(i);
        return curve.ApplyInverse(v / scale) * scale;
    });
}

TKMultiLinearization::~TKMultiLinearization() = default;

void TKMultiLinearization::Append(TKVectorLinearization* linearization, bool owned) {
    if (!linearization) TKThrow(PtrInvalid);
    fMembers.emplace_back(linearization, owned);
}

TKVectorLinearization* TKMultiLinearization::Get(int32_t index) const {
    if (index < 0 || index >= GetCount()) TKThrow(IndexError);
    return fMembers[size_t(index)].Get();
}

int32_t TKMultiLinearization::GetSrcDim() const { return fMembers.empty() ? 0 : fMembers.front()->GetSrcDim(); }

int32_t TKMultiLinearization::GetSrcType() const { return fMembers.empty() ? 0 : fMembers.front()->GetSrcType(); }

int32_t TKMultiLinearization::GetDstType(int32_t srcType) const {
    return fMembers.empty() ? srcType : fMembers.back()->GetDstType(srcType);
}

TKVector TKMultiLinearization::Trafo(const TKVector& source) const {
    TKVector colour(source);
    for (const auto& member : fMembers) colour = member->Trafo(colour);
    return colour;
}
