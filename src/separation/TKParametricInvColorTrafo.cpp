// The parametric inverse colour trafos.
#include "separation/TKParametricInvColorTrafo.h"

#include <algorithm>
#include <cmath>

#include "color/TKColors.h"
#include "separation/TKDirectColor.h"

namespace {

double Clip100(double value) { return std::clamp(value, 0.0, 100.0); }

TKVector FirstThree(const TKVector& colour) {
    if (colour.GetDim() < 3) TKThrowMsg(DimMismatch, "an inverse with CMY parameters needs three inks");
    return TKVector({colour[0], colour[1], colour[2]});
}

}  // namespace

// ---- TKParametricInvColorTrafo ---------------------------------------------------------------

void TKParametricInvColorTrafo::SetBlackRange(double minBlack, double maxBlack) {
    if (!(minBlack >= 0.0 && maxBlack <= 100.0 && minBlack <= maxBlack)) TKThrowMsg(ArgErr, "black range outside 0..100");
    fMinBlack = minBlack;
    fMaxBlack = maxBlack;
}

TKVector TKParametricInvColorTrafo::FrameOrDefault() const {
    return fFrame.GetDim() == GetChannelCount(DeviceType()) ? fFrame : DefaultStart();
}

TKVector TKParametricInvColorTrafo::ReferenceOrFrame() const {
    if (fRefVector.IsEmpty()) return FrameOrDefault();
    const uint32_t type = DeviceType();
    if (fRefVector.GetType() == 0 || uint32_t(fRefVector.GetType()) == type) {
        if (fRefVector.GetDim() != GetChannelCount(type)) TKThrowMsg(DimMismatch, "reference colour of the wrong size");
        return fRefVector;
    }
    return TKDirectConvert(fRefVector, type);
}

void TKParametricInvColorTrafo::NeedFourInks() const {
    if (GetChannelCount(DeviceType()) < 4) TKThrowMsg(DimMismatch, "this inverse needs a device with black");
}

void TKParametricInvColorTrafo::SetRefTrafo(TKTrafo* forward, bool owned) {
    TKInvColorTrafo::SetRefTrafo(forward, owned);
    fCIESeparation.Reset();
}

void TKParametricInvColorTrafo::SetCIESeparation(TKCIESeparation* separation, bool owned) {
    TKRefPtr<TKCIESeparation> keep(separation, owned);
    if (keep && uint32_t(keep->GetDstType(0)) != DeviceType())
        TKThrowMsg(DimMismatch, "the CIE separation gives another device");
    fCIESeparation = keep;
}

TKVector TKParametricInvColorTrafo::CalcStart() {
    if (!fCIESeparation && GetChannelCount(DeviceType()) > 4) {
        TKRefPtr<TKCIESeparation> made(new TKCIESeparation(1, DeviceType()), true);
        made->Get()->Init(*ForwardTrafo());
        fCIESeparation = made;
    }
    const TKVector separated = fCIESeparation ? fCIESeparation->Trafo(fTarget) : TKVector();
    TKVector start;
    if (!fStartVector.IsEmpty())
        start = fStartVector;
    else if (fStartTrafo)
        start = fStartTrafo->Trafo(fTarget);
    else if (!separated.IsEmpty())
        start = separated;
    else if (!fFrame.IsEmpty())
        start = FromParameters(ToParameters(FrameOrDefault()));
    else
        start = DefaultStart();
    start = ToDevice(start);
    // Inks beyond the fourth stay as asked unless far above what the separation gives.
    for (int32_t c = 4; c < std::min(start.GetDim(), separated.GetDim()); ++c) {
        const double v = separated[c];
        if (start[c] > v) start[c] = std::min(start[c], 1.3 * v + 20.0 - 0.005 * v * v);
    }
    fStart = FinishColor(start);
    fFrame = fStart;
    return fStart;
}

double TKParametricInvColorTrafo::CalcError(const TKVector& p, TKVector& out) {
    return DeviceError(FromParameters(p), out);
}

TKVector TKParametricInvColorTrafo::FromParameters(const TKVector& p) {
    TKVector colour = p;
    colour.SetType(int32_t(DeviceType()));
    return colour;
}

TKVector TKParametricInvColorTrafo::ToParameters(const TKVector& colour) {
    TKVector p = colour;
    p.SetType(0);
    return p;
}

// ---- Channels, no black, black alone, CMY alone ----------------------------------------------

TKInvColorTrafoChannels::TKInvColorTrafoChannels(TKTrafo* startTrafo, TKTrafo* forward,
                                                 const std::vector<int32_t>& channels, bool owned)
    : TKParametricInvColorTrafo(startTrafo, forward, owned), fChannels(channels) {
    if (channels.empty()) TKThrowMsg(ArgErr, "no channel to move");
    const int32_t n = GetChannelCount(DeviceType());
    for (size_t i = 0; i < channels.size(); ++i) {
        if (channels[i] < 0 || channels[i] >= n) TKThrowMsg(IndexError, "channel outside the device");
        if (std::count(channels.begin(), channels.end(), channels[i]) > 1) TKThrowMsg(IndexError, "channel given twice");
    }
}

TKVector TKInvColorTrafoChannels::FromParameters(const TKVector& p) {
    TKVector colour = FrameOrDefault();
    for (size_t i = 0; i < fChannels.size(); ++i) colour[fChannels[i]] = p[int32_t(i)];
    return colour;
}

TKVector TKInvColorTrafoChannels::ToParameters(const TKVector& colour) {
    TKVector p(int32_t(fChannels.size()));
    for (size_t i = 0; i < fChannels.size(); ++i) p[int32_t(i)] = colour[fChannels[i]];
    return p;
}

TKVector TKInvColorTrafoNoBlack::FromParameters(const TKVector& p) {
    NeedFourInks();
    TKVector colour = FrameOrDefault();
    for (int32_t i = 0; i < 3; ++i) colour[i] = p[i];
    colour[3] = 0.0;
    return colour;
}

TKVector TKInvColorTrafoNoBlack::ToParameters(const TKVector& colour) {
    // The start's black folded into CMY, so that the search starts near its colour.
    TKVector p = FirstThree(colour);
    if (colour.GetDim() > 3)
        for (int32_t i = 0; i < 3; ++i) p[i] = Clip100(p[i] + colour[3]);
    return p;
}

TKVector TKInvColorTrafoOptimizeBlack::FromParameters(const TKVector& p) {
    NeedFourInks();
    TKVector colour = ReferenceOrFrame();
    colour[3] = p[0];
    return colour;
}

TKVector TKInvColorTrafoOptimizeBlack::ToParameters(const TKVector& colour) {
    NeedFourInks();
    return TKVector({colour[3]});
}

TKVector TKInvColorTrafoOptimizeCMY::FromParameters(const TKVector& p) {
    TKVector colour = FrameOrDefault();
    for (int32_t i = 0; i < 3; ++i) colour[i] = p[i];
    return colour;
}

TKVector TKInvColorTrafoOptimizeCMY::ToParameters(const TKVector& colour) { return FirstThree(colour); }

// ---- Black from a separation -----------------------------------------------------------------

TKSeparationInvColorTrafoBase::TKSeparationInvColorTrafoBase(TKTrafo* startTrafo, TKTrafo* forward,
                                                             TKColorSeparationBase* separation, bool owned) try
    : TKParametricInvColorTrafo(startTrafo, forward, owned), fSeparation(separation, owned) {
} catch (...) {
    // The base refused the trafos before the separation's count was taken over.
    if (owned && separation) separation->Release();
}

TKSeparationInvColorTrafoBase::~TKSeparationInvColorTrafoBase() noexcept {}

const TKColorSeparationBase& TKSeparationInvColorTrafoBase::Separation() const {
    if (!fSeparation) TKThrowMsg(PtrInvalid, "this inverse needs a separation");
    return *fSeparation;
}

TKVector TKSeparationInvColorTrafoBase::WithFrameExtras(const TKVector& cmyk) const {
    NeedFourInks();
    TKVector colour = FrameOrDefault();
    for (int32_t i = 0; i < 4; ++i) colour[i] = cmyk[i];
    return colour;
}

TKVector TKInvColorTrafoSeparation::FromParameters(const TKVector& p) {
    const TKVector cmy({p[0], p[1], p[2]}, int32_t(TKCMYSpace));
    if (!fSeparation) return TKDirectConvert(cmy, DeviceType());
    return WithFrameExtras(fSeparation->CMY2CMYK(cmy));
}

TKVector TKInvColorTrafoSeparation::ToParameters(const TKVector& colour) {
    if (!fSeparation || colour.GetDim() < 4) {
        TKVector typed = colour;
        typed.SetType(int32_t(DeviceType()));
        return FirstThree(TKDirectConvert(typed, TKCMYSpace));
    }
    return FirstThree(fSeparation->CMYK2CMY(TKVector({colour[0], colour[1], colour[2], colour[3]}, int32_t(TKCMYKSpace))));
}

TKVector TKInvColorTrafoBlackAmount::FromParameters(const TKVector& p) {
    const TKColorSeparationBase& separation = Separation();
    const TKVector cmy({Clip100(p[0]), Clip100(p[1]), Clip100(p[2])}, int32_t(TKCMYSpace));
    const double k = std::clamp(0.01 * p[3] * separation.CalcFullBlack(cmy), fMinBlack, fMaxBlack);
    return WithFrameExtras(separation.SeparateWithBlack(cmy, k));
}

TKVector TKInvColorTrafoBlackAmount::ToParameters(const TKVector& colour) {
    NeedFourInks();
    const TKColorSeparationBase& separation = Separation();
    const TKVector cmy = separation.CMYK2CMY(TKVector({colour[0], colour[1], colour[2], colour[3]}, int32_t(TKCMYKSpace)));
    const double full = separation.CalcFullBlack(cmy);
    return TKVector({cmy[0], cmy[1], cmy[2], full > 0.0 ? Clip100(100.0 * colour[3] / full) : 0.0});
}

TKVector TKInvColorTrafoPreferBlack::FromParameters(const TKVector& p) {
    const TKColorSeparationBase& separation = Separation();
    const TKVector cmy({Clip100(p[0]), Clip100(p[1]), Clip100(p[2])}, int32_t(TKCMYSpace));
    const double least = separation.CalcMaxBlack(cmy), most = separation.CalcFullBlack(cmy);
    double k = std::clamp(separation.CalcBlack(cmy), std::min(least, most), std::max(least, most));
    k = std::clamp(k, fMinBlack, fMaxBlack);
    return WithFrameExtras(separation.SeparateWithBlack(cmy, k));
}

TKVector TKInvColorTrafoPreferBlack::ToParameters(const TKVector& colour) {
    NeedFourInks();
    return FirstThree(Separation().CMYK2CMY(TKVector({colour[0], colour[1], colour[2], colour[3]}, int32_t(TKCMYKSpace))));
}

// ---- Kept share of black ---------------------------------------------------------------------

TKInvColorTrafoKeepSeparation::TKInvColorTrafoKeepSeparation(TKTrafo* startTrafo, TKTrafo* forward, double ratio,
                                                             int32_t mode, bool owned)
    : TKParametricInvColorTrafo(startTrafo, forward, owned), fRatio(ratio), fMode(mode) {
    if (mode != 0 && mode != 1) TKThrowMsg(ArgErr, "keep-separation mode must be 0 or 1");
    if (!(ratio >= 0.0 && ratio <= 1.0)) TKThrowMsg(ArgErr, "keep-separation ratio outside 0..1");
}

TKVector TKInvColorTrafoKeepSeparation::ToParameters(const TKVector& colour) {
    if (colour.GetDim() <= 3) return FirstThree(colour);
    return TKVector({(colour[0] + colour[3]) / 2, (colour[1] + colour[3]) / 2, (colour[2] + colour[3]) / 2});
}

TKVector TKInvColorTrafoKeepSeparation::FromParameters(const TKVector& p) {
    TKVector colour = FrameOrDefault();
    if (colour.GetDim() < 4) {
        for (int32_t i = 0; i < 3; ++i) colour[i] = p[i];
        return colour;
    }
    const double a = fRatio, least = p.Min(0, 2);
    const double k = fMode == 0 ? 2.0 * a * least : std::min({2.0 * a * p.Mean(0, 2), (a + 1.0) * least, 4.0 * a * least});
    for (int32_t i = 0; i < 3; ++i) colour[i] = 2.0 * p[i] - k;
    colour[3] = k;
    return colour;
}

// ---- CMY change against the frame ------------------------------------------------------------

void TKInvColorTrafoOptimizeCMYK::SetRatio(double ratio) {
    if (!(ratio >= 0.0 && ratio <= 1.0)) TKThrowMsg(ArgErr, "ratio outside 0..1");
    fRatio = ratio;
}

TKVector TKInvColorTrafoOptimizeCMYK::ToParameters(const TKVector& colour) {
    const TKVector frame = FrameOrDefault();
    if (frame.GetDim() < 4 || colour.GetDim() < 4) return FirstThree(colour);
    TKVector d({colour[0] - frame[0], colour[1] - frame[1], colour[2] - frame[2]});
    for (int32_t i = 0; i < 3; ++i) d[i] += colour[3] - frame[3];
    return d;
}

TKVector TKInvColorTrafoOptimizeCMYK::FromParameters(const TKVector& p) {
    TKVector colour = FrameOrDefault();
    if (colour.GetDim() < 4) {
        for (int32_t i = 0; i < 3; ++i) colour[i] = p[i];
        return colour;
    }
    const TKVector frame = colour;
    for (int32_t i = 0; i < 3; ++i) colour[i] += p[i];
    const double g = std::clamp(colour.Min(0, 2) - frame.Min(0, 2), -frame[3], 100.0 - frame[3]);
    const double q = g * fRatio;
    for (int32_t i = 0; i < 3; ++i) colour[i] -= q;
    colour[3] += q;
    return colour;
}

// ---- Two colorants balanced ------------------------------------------------------------------

TKVector TKInvColorTrafoBalanceColorants::ToParameters(const TKVector& colour) {
    return TKVector({colour[0], colour[1]});
}

TKVector TKInvColorTrafoBalanceColorants::FromParameters(const TKVector& p) {
    TKVector colour = FrameOrDefault();
    if (colour.GetDim() < 3) TKThrowMsg(DimMismatch, "balancing needs three colorants");
    const double sum = colour.Sum(0, 2);
    colour[0] = p[0];
    colour[1] = p[1];
    colour[2] = sum - p[0] - p[1];
    return colour;
}

TKVector TKInvColorTrafoBalanceColorants::FinishColor(const TKVector& x) {
    TKVector colour = ToDevice(x);
    const double sum = colour.GetDim() >= 3 ? colour.Sum(0, 2) : 0.0;
    colour = TKInvColorTrafo::FinishColor(colour);
    if (colour.GetDim() < 3) return colour;
    // What the clipping took from the sum goes to the other two, as far as their range allows.
    double rest = sum - colour.Sum(0, 2);
    for (int32_t i = 0; i < 2 && std::fabs(rest) > 1e-12; ++i) {
        const double moved = Clip100(colour[i] + rest) - colour[i];
        colour[i] += moved;
        rest -= moved;
    }
    return colour;
}

// ---- Start from a CIE separation -------------------------------------------------------------

TKInvColorTrafoCIESeparation::TKInvColorTrafoCIESeparation(TKTrafo* startTrafo, TKTrafo* forward,
                                                           TKCIESeparation* separation, bool owned)
    : TKCIESeparationHolder(separation, owned), TKInvColorTrafoOptimizeCMY(startTrafo, forward, owned) {
    if (!fGiven) TKThrowMsg(PtrInvalid, "inverse without its CIE separation");
    SetCIESeparation(fGiven.Get(), false);
}

TKInvColorTrafoCIESeparation::~TKInvColorTrafoCIESeparation() noexcept {}

void TKInvColorTrafoCIESeparation::SetRefTrafo(TKTrafo* forward, bool owned) {
    TKInvColorTrafoOptimizeCMY::SetRefTrafo(forward, owned);
    if (fGiven) SetCIESeparation(fGiven.Get(), false);
}
