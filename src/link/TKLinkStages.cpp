// Stage trafos of device links and the separability probe.
#include "link/TKLinkStages.h"

#include <cmath>
#include <utility>

#include "color/TKColorTrafo.h"
#include "color/TKColors.h"

TKLinkChannelCurves::TKLinkChannelCurves(int32_t type, std::vector<TKRefPtr<TKCurveLinearization>> curves)
    : fType(type), fCurves(std::move(curves)) {
    for (const auto& curve : fCurves)
        if (!curve) TKThrow(PtrInvalid);
}

TKVector TKLinkChannelCurves::Trafo(const TKVector& source) const {
    const int32_t n = GetSrcDim();
    if (source.GetDim() != n) TKThrow(DimMismatch);
    TKVector min, max;
    GetTypeRange(fType, n, min, max);
    TKVector result(n, fType);
    for (int32_t c = 0; c < n; ++c) {
        const double span = max[c] - min[c];
        // Curves are defined on 0..1; a value outside the channel's range is held at its end.
        double x = span != 0.0 ? (source[c] - min[c]) / span : 0.0;
        x = x < 0.0 ? 0.0 : (x > 1.0 ? 1.0 : x);
        result[c] = min[c] + span * fCurves[size_t(c)]->Apply(x);
    }
    return result;
}

TKRefPtr<TKLinkChannelCurves> NewXYZEncoding(const TKVector& white, double whiteShare, bool inverse) {
    TKVector min, max;
    GetTypeRange(int32_t(TKXYZSpace), 3, min, max);
    std::vector<TKRefPtr<TKCurveLinearization>> curves;
    for (int32_t c = 0; c < 3; ++c) {
        // x^gamma puts the white's share of the axis, w / 200, onto whiteShare.
        const double gamma = std::log(whiteShare) / std::log(white[c] / max[c]);
        TKRefPtr<TKCurveLinearization> curve = TKMakeRef<TKCurveLinearization>();
        curve->SetGamma(inverse ? 1.0 / gamma : gamma);
        curves.push_back(curve);
    }
    return TKMakeRef<TKLinkChannelCurves>(int32_t(TKXYZSpace), std::move(curves));
}

void GetTypeRange(int32_t type, int32_t dim, TKVector& min, TKVector& max) {
    const int32_t channels = GetTypeChannels(type);
    const int32_t n = dim > 0 ? dim : channels;
    min = TKVector(n, type, 0.0);
    max = TKVector(n, type, 1.0);
    if (channels <= 0) return;
    for (int32_t c = 0; c < n && c < channels; ++c) {
        min[c] = GetChannelMin(uint32_t(type), c);
        max[c] = GetChannelMax(uint32_t(type), c);
    }
}

int32_t GetTypeChannels(int32_t type) {
    if (!type) return 0;
    const int32_t channels = GetChannelCount(uint32_t(type));
    return channels > 0 ? channels : 0;
}

TKRefPtr<TKTrafo> NewStageConversion(int32_t srcType, int32_t dstType) {
    return TKRefPtr<TKTrafo>(new TKDefaultColorTrafo(uint32_t(srcType), uint32_t(dstType)), true);
}

bool IsChannelSeparable(const TKTrafo& trafo, int32_t dim, double toleranceShare, int32_t inType) {
    const int32_t n = trafo.GetSrcDim() > 0 ? trafo.GetSrcDim() : dim;
    if (n < 1 || trafo.GetDstDim(n) != n) return false;
    TKVector min, max;
    // Untyped probes would pass a conversion from "any type" as the identity.
    GetTypeRange(trafo.GetSrcType() ? trafo.GetSrcType() : inType, n, min, max);
    try {
        // Three base points on the diagonal; each channel in turn goes to both ends of its
        // range, and every other output must stay where it was.
        for (double t : {0.1, 0.5, 0.9}) {
            TKVector base = min + (max - min) * t;
            const TKVector r0 = trafo.Trafo(base);
            if (r0.GetDim() != n) return false;
            for (int32_t j = 0; j < n; ++j)
                for (double end : {0.0, 1.0}) {
                    TKVector probe = base;
                    probe[j] = min[j] + (max[j] - min[j]) * end;
                    const TKVector r = trafo.Trafo(probe);
                    for (int32_t k = 0; k < n; ++k)
                        if (k != j && !(std::fabs(r[k] - r0[k]) <= toleranceShare * (max[k] - min[k]))) return false;
                }
        }
    } catch (const TKError&) {
        return false;
    }
    return true;
}
