// The trafos and tests with which a device link cuts a trafo into front curves, a middle and
// back curves: type conversions between stages, per-channel curve trafos for the XYZ encoding,
// channel ranges of stage types and the separability test.
#pragma once

#include <vector>

#include "foundation/TKObject.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKTrafo.h"

// One curve per channel, applied to each channel normalized by its range in `type`: a separable
// stage whose output has the type of its input.
class TKLinkChannelCurves : public TKTrafo {
    TK_DECLARE_CLASS(TKLinkChannelCurves, TKTrafo)
public:
    TKLinkChannelCurves(int32_t type, std::vector<TKRefPtr<TKCurveLinearization>> curves);

    int32_t GetSrcDim() const override { return int32_t(fCurves.size()); }
    int32_t GetSrcType() const override { return fType; }
    int32_t GetDstType(int32_t) const override { return fType; }
    TKVector Trafo(const TKVector& source) const override;
    const TKCurveLinearization& Curve(int32_t channel) const { return *fCurves[size_t(channel)]; }

private:
    int32_t fType;
    std::vector<TKRefPtr<TKCurveLinearization>> fCurves;
};

// The gamma curves that put the white point of XYZ at `whiteShare` of each axis (0.875), and
// their inverse: a grid over encoded XYZ spends its nodes where colours are.
TKRefPtr<TKLinkChannelCurves> NewXYZEncoding(const TKVector& white, double whiteShare, bool inverse);

// Range of each channel of a colour type; 0 to 1 for types without known channels. The vectors
// have `dim` channels (the type's own count if dim is 0) and carry the type.
void GetTypeRange(int32_t type, int32_t dim, TKVector& min, TKVector& max);

// Channels of a colour type; 0 for 0 and for types without a known count.
int32_t GetTypeChannels(int32_t type);

// A new conversion between two stage types (a TKDefaultColorTrafo).
TKRefPtr<TKTrafo> NewStageConversion(int32_t srcType, int32_t dstType);

// True if every output channel of the trafo depends on its own input channel only, within
// tolerance[c] on output c, probed over the range of the trafo's source type. `dim` and
// `inType` are the channel count and colour type the trafo sees when its own GetSrcDim or
// GetSrcType is 0: a conversion that takes any type is probed with the colours that reach it.
// A trafo that changes the channel count, or fails on a probe, is not separable.
bool IsChannelSeparable(const TKTrafo& trafo, int32_t dim, double toleranceShare, int32_t inType = 0);
