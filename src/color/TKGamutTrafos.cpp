// Gamut tests by round trip, and the trafos that mark, clip or compress by them.
#include "color/TKGamutTrafos.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColorDifference.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "io/TKGlobalData.h"

namespace {

// x above the knee k, towards the limit m: the identity's slope at k, never reaching m.
double SoftLimit(double x, double knee, double limit) {
    const double room = limit - knee;
    if (room <= 0 || x <= knee) return x;
    return knee + room * std::tanh((x - knee) / room);
}

TKVector AsLab(const TKVector& colour) {
    return colour.GetType() == 0 || uint32_t(colour.GetType()) == TKLabSpace ? colour
                                                                              : ConvertColor(TKLabSpace, colour);
}

}  // namespace

TKGamut::TKGamut(TKTrafo* toDevice, TKTrafo* toPCS, bool owned)
    : fToDevice(toDevice, owned), fToPCS(toPCS, owned), fMethod(kTKDeltaE76), fLimit(5.0) {
    if (!toDevice || !toPCS) TKThrowMsg(ArgErr, "a gamut needs both directions");
    const int32_t method = TKColorDifference::GetMethodFromName(TKGlobalData::GetString("OOGMethod", "dE76").CString());
    if (method >= 0) fMethod = method;
    fLimit = TKGlobalData::GetDouble("OOGLimit", 5.0);
}

TKVector TKGamut::ToDevice(const TKVector& colour) const {
    TKVector in = colour;
    const uint32_t wanted = uint32_t(fToDevice->GetSrcType());
    if (wanted && IsCIESpace(wanted) && in.GetType() && uint32_t(in.GetType()) != wanted)
        in = ConvertColor(wanted, in);
    if (in.GetType() == 0) in.SetType(int32_t(TKLabSpace));
    return fToDevice->Trafo(in);
}

TKVector TKGamut::RoundTrip(const TKVector& colour) const {
    TKVector back = fToPCS->Trafo(ToDevice(colour));
    if (back.GetType() == 0) back.SetType(fToPCS->GetDstType(0) ? fToPCS->GetDstType(0) : int32_t(TKLabSpace));
    return AsLab(back);
}

double TKGamut::Difference(const TKVector& colour) const {
    TKVector lab = AsLab(colour);
    lab.SetType(int32_t(TKLabSpace));
    return TKColorDifference(fMethod).GetDifference(lab, RoundTrip(lab));
}

double TKGamut::MaxChroma(const TKVector& colour, double searchLimit) const {
    const TKVector lch = ConvertColor(TKLChSpace, [&] {
        TKVector lab = AsLab(colour);
        lab.SetType(int32_t(TKLabSpace));
        return lab;
    }());
    auto inGamutAt = [&](double chroma) {
        return IsInGamut(TKVector({lch[0], chroma, lch[2]}, int32_t(TKLChSpace)));
    };
    if (!inGamutAt(0.0)) return 0.0;
    if (inGamutAt(searchLimit)) return searchLimit;
    double low = 0.0, high = searchLimit;
    while (high - low > 0.01) {
        const double mid = 0.5 * (low + high);
        (inGamutAt(mid) ? low : high) = mid;
    }
    return low;
}

TKGamutColorTrafo::TKGamutColorTrafo(TKGamut* gamut, bool owned, uint32_t outType)
    : TKColorTrafo(TKLabSpace, outType), fGamut(gamut, owned) {
    if (!gamut) TKThrowMsg(ArgErr, "no gamut");
}

int32_t TKCalcIntegrityTrafo::GetDstDim(int32_t) const { return 1; }
int32_t TKCalcIntegrityTrafo::GetDstType(int32_t) const { return 0; }

TKVector TKCalcIntegrityTrafo::Evaluate(const TKVector& lab) const {
    return TKVector({GetGamut().Difference(lab)});
}

TKVector TKOOGMappingTrafo::Evaluate(const TKVector& lab) const {
    return GetGamut().IsInGamut(lab) ? lab : GetGamut().RoundTrip(lab);
}

TKMarkOOGTrafo::TKMarkOOGTrafo(TKGamut* gamut, TKTrafo* display, bool owned)
    : TKGamutColorTrafo(gamut, owned, TKRGBSpace), fDisplay(display, owned) {
    if (!display) TKThrowMsg(ArgErr, "no display trafo");
    GetColorFromText(fMark, TKRGBSpace, TKGlobalData::GetString("OOGColor", "255 0 255").CString(), false);
    if (fMark.GetDim() != 3) fMark = TKVector({255, 0, 255}, int32_t(TKRGBSpace));
    fMark.SetType(int32_t(TKRGBSpace));
}

TKVector TKMarkOOGTrafo::Evaluate(const TKVector& lab) const {
    if (!GetGamut().IsInGamut(lab)) return fMark;
    return fDisplay->Trafo(GetGamut().RoundTrip(lab));
}

TKColorCompressionTrafo::TKColorCompressionTrafo(TKGamut* gamut, bool owned, double knee)
    : TKGamutColorTrafo(gamut, owned, TKLabSpace), fKnee(knee) {
    if (!(knee >= 0.0 && knee <= 1.0)) TKThrowMsg(ArgErr, "the knee is a fraction");
}

TKVector TKColorCompressionTrafo::Evaluate(const TKVector& lab) const {
    TKVector typed(lab);
    typed.SetType(int32_t(TKLabSpace));
    TKVector lch = ConvertColor(TKLChSpace, typed);
    const double maxChroma = GetGamut().MaxChroma(typed);
    const double knee = fKnee * maxChroma;
    if (lch[1] <= knee) return typed;
    lch[1] = SoftLimit(lch[1], knee, maxChroma);
    return ConvertColor(TKLabSpace, lch);
}

TKChannelCompressionTrafo::TKChannelCompressionTrafo(uint32_t type, double knee) : fType(type), fKnee(knee) {
    if (GetChannelCount(type) < 1) TKThrowMsg(ArgErr, "a channel range needs a colour type");
    if (!(knee >= 0.0 && knee <= 0.5)) TKThrowMsg(ArgErr, "the knee is a fraction up to one half");
}

int32_t TKChannelCompressionTrafo::GetSrcType() const { return int32_t(fType); }
int32_t TKChannelCompressionTrafo::GetDstType(int32_t) const { return int32_t(fType); }

TKVector TKChannelCompressionTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != GetChannelCount(fType)) TKThrow(DimMismatch);
    TKVector out(source);
    out.SetType(int32_t(fType));
    for (int32_t c = 0; c < out.GetDim(); ++c) {
        const double low = GetChannelMin(fType, c), high = GetChannelMax(fType, c);
        const double band = fKnee * (high - low);
        // The low end is the high end mirrored.
        out[c] = out[c] > high - band ? SoftLimit(out[c], high - band, high)
                                      : -SoftLimit(-out[c], -(low + band), -low);
    }
    return out;
}
