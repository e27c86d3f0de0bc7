// TKVectorLinearization: per-channel curves as a trafo.
#include "numeric/TKVectorLinearization.h"

#include <algorithm>

TKVectorLinearization::TKVectorLinearization(int32_t count) { SetCount(count); }

TKVectorLinearization::TKVectorLinearization(const TKVectorLinearization& other)
    : TKTrafo(other), fCurves(other.fCurves) {}

TKVectorLinearization& TKVectorLinearization::operator=(const TKVectorLinearization& other) {
    TKTrafo::operator=(other);
    fCurves = other.fCurves;
    return *this;
}

TKVectorLinearization::~TKVectorLinearization() = default;

int32_t TKVectorLinearization::GetCount() const { return int32_t(fCurves.size()); }

void TKVectorLinearization::SetCount(int32_t count) {
    if (count < 0 || count > kMaxChannels) TKThrowMsg(ArgErr, "curve count out of range");
    fCurves.resize(size_t(count));
}

void TKVectorLinearization::CheckChannel(int32_t channel) const {
    if (channel < 0 || channel >= GetCount()) TKThrow(IndexError);
}

const TKCurveLinearization& TKVectorLinearization::GetCurve(int32_t channel) const {
    CheckChannel(channel);
    return fCurves[size_t(channel)];
}

TKCurveLinearization& TKVectorLinearization::GetCurveRef(int32_t channel) {
    CheckChannel(channel);
    return fCurves[size_t(channel)];
}

void TKVectorLinearization::SetCurve(int32_t channel, const TKCurveLinearization& curve) {
    CheckChannel(channel);
    fCurves[size_t(channel)] = curve;
}

bool TKVectorLinearization::IsIdentity() const {
    for (const TKCurveLinearization& curve : fCurves)
        if (!curve.IsIdentity()) return false;
    return true;
}

void TKVectorLinearization::Resample(int32_t count) {
    if (count < 2) TKThrowMsg(ArgErr, "a table needs at least 2 samples");
    for (TKCurveLinearization& curve : fCurves) curve.Resample(count);
}

void TKVectorLinearization::Invert() {
    for (TKCurveLinearization& curve : fCurves) curve.Invert();
}

namespace {
template <class Apply>
TKVector PerChannel(const std::vector<TKCurveLinearization>& curves, const TKVector& source, Apply apply) {
    TKVector result(source);
    const int32_t n = std::min(int32_t(curves.size()), source.GetDim());
    for (int32_t i = 0; i < n; ++i) result[i] = apply(curves[size_t(i)], source[i]);
    return result;
}
}  // namespace

TKVector TKVectorLinearization::Trafo(const TKVector& source) const {
    return PerChannel(fCurves, source, [](const TKCurveLinearization& c, double x) { return c.Apply(x); });
}

TKVector TKVectorLinearization::TrafoInverse(const TKVector& source) const {
    return PerChannel(fCurves, source, [](const TKCurveLinearization& c, double y) { return c.ApplyInverse(y); });
}

int32_t TKVectorLinearization::GetSrcDim() const { return GetCount(); }

int32_t TKVectorLinearization::GetInfo(int32_t index) const {
    if (index != kInfoIdentity) return TKTrafo::GetInfo(index);
    return IsIdentity() ? 1 : 0;
}
