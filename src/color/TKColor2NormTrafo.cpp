// Scaling between colour values and the norm 0..1 by the range of each channel.
#include "color/TKColor2NormTrafo.h"

#include "foundation/TKError.h"

namespace {

bool IsLabLike(uint32_t type) {
    return type == TKLabSpace || type == TKLabXSpace || type == TKLuvSpace || type == TKJabSpace;
}

// L 100 sits at code 0xFF00 of the 16-bit legacy encoding: full scale is 100 * 65535 / 65280.
constexpr double kLegacyLMax = 100.390625;

void ChannelRange(uint32_t type, int32_t channel, int32_t mode, double* low, double* high) {
    *low = GetChannelMin(type, channel);
    *high = GetChannelMax(type, channel, mode);
    if (IsLabLike(type) && channel == 0 && mode == kTKRange16Legacy) *high = kLegacyLMax;
}

}  // namespace

TKColor2NormTrafo::TKColor2NormTrafo(uint32_t type, int32_t mode) : fType(type), fMode(mode) {
    const int32_t channels = GetChannelCount(type);
    if (channels < 1) TKThrowMsg(ArgErr, "a norm needs a colour type with channels");
    if (mode < kTKRangeReal || mode > kTKRange16Legacy) TKThrowMsg(ArgErr, "unknown range mode");
    fMin.resize(size_t(channels));
    fMax.resize(size_t(channels));
    for (int32_t c = 0; c < channels; ++c) {
        ChannelRange(type, c, mode, &fMin[size_t(c)], &fMax[size_t(c)]);
        if (!(fMax[size_t(c)] > fMin[size_t(c)])) TKThrowMsg(ArgErr, "empty channel range");
    }
}

int32_t TKColor2NormTrafo::GetSrcType() const { return int32_t(fType); }
int32_t TKColor2NormTrafo::GetDstType(int32_t) const { return int32_t(GetNormType(int32_t(fMin.size()))); }

double TKColor2NormTrafo::GetMin(int32_t channel) const {
    if (channel < 0 || size_t(channel) >= fMin.size()) TKThrow(IndexError);
    return fMin[size_t(channel)];
}

double TKColor2NormTrafo::GetMax(int32_t channel) const {
    if (channel < 0 || size_t(channel) >= fMax.size()) TKThrow(IndexError);
    return fMax[size_t(channel)];
}

TKVector TKColor2NormTrafo::Scale(const TKVector& source, bool toNorm) const {
    const int32_t channels = int32_t(fMin.size());
    if (source.GetDim() != channels) TKThrow(DimMismatch);
    TKVector out(channels, toNorm ? int32_t(GetNormType(channels)) : int32_t(fType));
    for (int32_t c = 0; c < channels; ++c) {
        const double low = fMin[size_t(c)], span = fMax[size_t(c)] - fMin[size_t(c)];
        out[c] = toNorm ? (source[c] - low) / span : source[c] * span + low;
    }
    return out;
}

TKVector TKColor2NormTrafo::Trafo(const TKVector& source) const { return Scale(source, true); }

TKNorm2ColorTrafo::TKNorm2ColorTrafo(uint32_t type, int32_t mode) : TKColor2NormTrafo(type, mode) {}

int32_t TKNorm2ColorTrafo::GetSrcType() const { return TKColor2NormTrafo::GetDstType(0); }
int32_t TKNorm2ColorTrafo::GetDstType(int32_t) const { return TKColor2NormTrafo::GetSrcType(); }

TKVector TKNorm2ColorTrafo::Trafo(const TKVector& source) const { return Scale(source, false); }
