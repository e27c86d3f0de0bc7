// The numerical inverse of a forward colour trafo by a two-pass pattern search.
#include "color/TKInvColorTrafo.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIEConverter.h"
#include "color/TKColors.h"
#include "io/TKGlobalData.h"
#include "numeric/TKMinimize.h"

namespace {

constexpr uint32_t kLab = TKColorSig("Lab ");

double GlobalErrLimit() {
    const double limit = TKGlobalData::GetDouble(kTKGlobalInvColorDefaultErrLimit, 0.1);
    return limit > 0.0 ? limit : 0.1;
}

TKTrafo* Forward(const TKRefPtr<TKTrafo>& forward) {
    if (!forward) TKThrowMsg(PtrInvalid, "inverse trafo without a forward trafo");
    return forward.Get();
}

}  // namespace

// ---- TKInvTrafo --------------------------------------------------------------------------

int32_t TKInvTrafo::GetSrcDim() const {
    TKTrafo* forward = Forward(fRefTrafo);
    return forward->GetDstDim(forward->GetSrcDim());
}
int32_t TKInvTrafo::GetDstDim(int32_t) const { return Forward(fRefTrafo)->GetSrcDim(); }
int32_t TKInvTrafo::GetSrcType() const {
    TKTrafo* forward = Forward(fRefTrafo);
    return forward->GetDstType(forward->GetSrcType());
}
int32_t TKInvTrafo::GetDstType(int32_t) const { return Forward(fRefTrafo)->GetSrcType(); }

// ---- TKInvColorTrafo -----------------------------------------------------------------------

TKInvColorTrafo::TKInvColorTrafo() : fErrLimit(GlobalErrLimit()) {}

TKInvColorTrafo::TKInvColorTrafo(TKTrafo* startTrafo, TKTrafo* forward, bool owned) : fErrLimit(GlobalErrLimit()) {
    // Take the counts first, so that nothing leaks when the check below throws.
    TKRefPtr<TKTrafo> keepStart(startTrafo, owned), keepForward(forward, owned);
    CheckForward(forward, startTrafo);
    SetRefTrafo(forward, false);
    SetStartTrafo(startTrafo, false);
}

TKInvColorTrafo::~TKInvColorTrafo() noexcept {}

void TKInvColorTrafo::CheckForward(TKTrafo* forward, TKTrafo* startTrafo) const {
    if (!forward) TKThrowMsg(PtrInvalid, "inverse trafo without a forward trafo");
    const int32_t deviceDim = forward->GetSrcDim();
    const int32_t targetDim = forward->GetDstDim(deviceDim);
    if (deviceDim < 1 || targetDim < 1) TKThrowMsg(DimMismatch, "the forward trafo has no fixed dimensions");
    const uint32_t targetType = uint32_t(forward->GetDstType(forward->GetSrcType()));
    if (targetType != 0 && !IsCIESpace(targetType))
        TKThrowMsg(WrongDataType, "the forward trafo does not give a CIE colour");
    if (startTrafo) {
        const int32_t startSrc = startTrafo->GetSrcDim();
        if ((startSrc != 0 && startSrc != targetDim) || startTrafo->GetDstDim(targetDim) != deviceDim)
            TKThrowMsg(DimMismatch, "the start trafo does not fit the forward trafo");
    }
}

void TKInvColorTrafo::SetRefTrafo(TKTrafo* forward, bool owned) {
    TKRefPtr<TKTrafo> keep(forward, owned);
    if (forward) CheckForward(forward, nullptr);
    TKInvTrafo::SetRefTrafo(forward, false);
    fRefVector = TKVector();
    fStart = TKVector();
    fBlackLab = fBlackDevice = TKVector();
}

void TKInvColorTrafo::SetStartTrafo(TKTrafo* startTrafo, bool owned) {
    TKRefPtr<TKTrafo> keep(startTrafo, owned);
    if (startTrafo && fRefTrafo) CheckForward(fRefTrafo.Get(), startTrafo);
    fStartTrafo = keep;
}

uint32_t TKInvColorTrafo::DeviceType() const {
    TKTrafo* forward = Forward(fRefTrafo);
    const uint32_t type = uint32_t(forward->GetSrcType());
    return type ? type : GetColorType(forward->GetSrcDim());
}

uint32_t TKInvColorTrafo::TargetType() const {
    TKTrafo* forward = Forward(fRefTrafo);
    const uint32_t type = uint32_t(forward->GetDstType(forward->GetSrcType()));
    return type ? type : kLab;
}

double TKInvColorTrafo::DeviceRange() const {
    const uint32_t type = DeviceType();
    const TKVector low = GetMinVector(type), high = GetMaxVector(type);
    double range = 0.0;
    for (int32_t i = 0; i < low.GetDim(); ++i) range = std::max(range, high[i] - low[i]);
    return range > 0.0 ? range : 1.0;
}

void TKInvColorTrafo::SetErrLimit(double limit) { fErrLimit = limit > 0.0 ? limit : GlobalErrLimit(); }

void TKInvColorTrafo::SetRho(double rho) {
    if (rho != 0.0 && !(rho > 0.0 && rho < 1.0)) TKThrowMsg(ArgErr, "rho must lie between 0 and 1");
    fRho = rho;
}

void TKInvColorTrafo::SetLimitTrafo(TKTrafo* limit, bool owned) { fLimitTrafo.Reset(limit, owned); }

void TKInvColorTrafo::SetBlackPoint(const TKVector& lab, const TKVector& device) {
    if (!lab.IsEmpty() && (lab.GetDim() != 3 || device.IsEmpty()))
        TKThrowMsg(DimMismatch, "a black point needs a Lab colour and its device values");
    fBlackLab = lab;
    if (!lab.IsEmpty() && lab.GetType() == 0) fBlackLab.SetType(int32_t(kLab));
    fBlackDevice = device;
}

TKVector TKInvColorTrafo::ToDevice(const TKVector& colour) const {
    const uint32_t type = DeviceType();
    if (colour.GetType() == 0 || uint32_t(colour.GetType()) == type) {
        if (colour.GetDim() != GetChannelCount(type)) TKThrowMsg(DimMismatch, "device colour of the wrong size");
        TKVector typed = colour;
        typed.SetType(int32_t(type));
        return typed;
    }
    return ConvertColor(type, colour);
}

TKVector TKInvColorTrafo::FinishColor(const TKVector& x) {
    TKVector colour = ToDevice(x);
    if (fLimitTrafo) colour = ToDevice(fLimitTrafo->Trafo(colour));
    const uint32_t type = DeviceType();
    colour.Limit(GetMinVector(type), GetMaxVector(type));
    return colour;
}

void TKInvColorTrafo::SetTarget(const TKVector& input) {
    const uint32_t type = TargetType();
    if (input.GetType() == 0 || uint32_t(input.GetType()) == type) {
        if (input.GetDim() != GetChannelCount(type)) TKThrowMsg(DimMismatch, "target of the wrong size");
        fTarget = input;
        fTarget.SetType(int32_t(type));
    } else {
        fTarget = ConvertColor(type, input);
    }
}

TKVector TKInvColorTrafo::CalcStart() {
    TKVector start;
    if (!fStartVector.IsEmpty())
        start = fStartVector;
    else if (fStartTrafo)
        start = fStartTrafo->Trafo(fTarget);
    else
        start = DefaultStart();
    fStart = FinishColor(start);
    return fStart;
}

TKVector TKInvColorTrafo::DefaultStart() const {
    const uint32_t type = DeviceType();
    TKVector start = (GetWhite(type) + GetBlack(type, 1)) * 0.5;
    start.SetType(int32_t(type));
    return start;
}

double TKInvColorTrafo::CalcError(const TKVector& x, TKVector& out) { return DeviceError(x, out); }

TKVector TKInvColorTrafo::ToSearch(const TKVector& device) { return device; }
TKVector TKInvColorTrafo::FromSearch(const TKVector& x) { return x; }

double TKInvColorTrafo::DeviceError(const TKVector& x, TKVector& out) {
    ++fEvaluations;
    const TKVector colour = FinishColor(x);
    TKVector reached = Forward(fRefTrafo)->Trafo(colour);
    if (reached.GetType() == 0) reached.SetType(int32_t(TargetType()));
    if (uint32_t(reached.GetType()) != uint32_t(fTarget.GetType()))
        reached = ConvertColor(uint32_t(fTarget.GetType()), reached);
    fDifference.GetDifferenceVector(out, fTarget, reached);

    const int32_t n = colour.GetDim();
    if (fInkPenalty > 0.0 && n > 3) {
        // More ink costs, and black is the cheapest ink.
        double penalty = (0.002 * colour.Sum() + 0.001 * colour.Max(0, 2) - 0.001 * colour[3]) * fInkPenalty;
        if (fInkPenaltyStart > 0.0) {
            // The penalty fades in above the start over the start, or over 10 for larger starts.
            const double m = fRefVector.GetDim() >= 4 ? fRefVector.Min(0, 3) : 0.0;
            const double s = fInkPenaltyStart, width = s <= 10.0 ? s : 10.0;
            penalty = m < s ? 0.0 : penalty * std::min(1.0, (m - s) / width);
        }
        out.InsertAt(out.GetDim(), penalty);
    }
    if (fKeepWeight > 0.0 && x.GetDim() == fRefVector.GetDim()) {
        TKVector moved = x;
        moved.SetType(0);
        TKVector reference = fRefVector;
        reference.SetType(0);
        out.InsertAt(out.GetDim(), moved.Distance(reference) * fKeepWeight);
    }
    // Outside the range every candidate is clipped to the same colour; a slope out there leads
    // the search back instead of letting it wander where no step changes anything.
    return out.Norm() + 0.01 * RangeExcess(x);
}

double TKInvColorTrafo::RangeExcess(const TKVector& x) const {
    if (x.GetDim() != GetChannelCount(DeviceType()) || (x.GetType() != 0 && uint32_t(x.GetType()) != DeviceType()))
        return 0.0;
    const TKVector low = GetMinVector(DeviceType()), high = GetMaxVector(DeviceType());
    double excess = 0.0;
    for (int32_t i = 0; i < x.GetDim(); ++i) excess += std::max(0.0, low[i] - x[i]) + std::max(0.0, x[i] - high[i]);
    return excess;
}

bool TKInvColorTrafo::BelowBlackPoint() const {
    if (fBlackLab.IsEmpty() || fBlackDevice.IsEmpty()) return false;
    const TKVector target = ConvertColor(kLab, fTarget), black = ConvertColor(kLab, fBlackLab);
    const double dL = target[0] - black[0];
    return dL <= 0.0 && std::hypot(target[1] - black[1], target[2] - black[2]) + dL < 1.0;
}

double TKInvColorTrafo::SearchPass(TKVector& x, double rho, double startStep, bool swarm) {
    TKRefPtr<TKMinimizeHookePlus> minimizer(new TKMinimizeHookePlus(this), true);
    const double range = DeviceRange();
    minimizer->SetMinStep(fMinStep > 0.0 ? fMinStep : 0.001 * range);
    minimizer->SetMinError(fErrLimit);
    minimizer->SetRho(rho);
    minimizer->SetStartStep(startStep);
    if (!swarm) minimizer->SetSwarmRounds(0);
    TKVector best;
    minimizer->Minimize(x, best);
    if (minimizer->GetError() <= fError || !std::isfinite(fError)) {
        x = best;
        return minimizer->GetError();
    }
    return fError;
}

double TKInvColorTrafo::SearchPasses(TKVector& x) {
    TKVector residual;
    fError = CalcError(x, residual);
    const double range = DeviceRange();
    const double startStep = fStartStep > 0.0 ? fStartStep : 0.5 * range;
    double rho = fRho > 0.0 ? fRho : TKGlobalData::GetDouble(kTKGlobalInvColorDefaultRho, 0.7);
    if (!(rho > 0.0 && rho < 1.0)) rho = 0.7;
    // A coarse pass first, then a fine one whose start step follows the error left.
    if (fError > fErrLimit && (TKGlobalData::GetInt(kTKGlobalInvColorFlags, 1) & 1))
        fError = SearchPass(x, rho * rho, startStep, true);
    if (fError > fErrLimit) fError = SearchPass(x, rho, std::min(0.5 * startStep, 5.0 * fError), false);
    return fError;
}

TKVector TKInvColorTrafo::Minimize(const TKVector& start) {
    if (BelowBlackPoint()) {
        const uint32_t type = DeviceType();
        TKVector x = ToSearch(fBlackDevice.GetType() == 0 || uint32_t(fBlackDevice.GetType()) == type
                                  ? ToDevice(fBlackDevice)
                                  : GetBlack(type, 1));
        TKVector residual;
        fError = CalcError(x, residual);
        return x;
    }
    TKVector x = start;
    SearchPasses(x);
    return x;
}

TKVector TKInvColorTrafo::Trafo(const TKVector& source) const {
    // The search state is written during a transform: one object serves one thread at a time.
    auto* self = const_cast<TKInvColorTrafo*>(this);
    self->SetTarget(source);
    const TKVector device = self->FromSearch(self->Minimize(self->ToSearch(self->CalcStart())));
    const TKVector result = self->FinishColor(device);
    if (self->RangeExcess(device) > 0.0) {
        // The error of the clipped colour, which is what the caller gets.
        TKVector residual;
        self->fError = self->DeviceError(result, residual);
    }
    self->fRefVector = result;
    return result;
}

// ---- TKTotalInkCapTrafo --------------------------------------------------------------------

TKTotalInkCapTrafo::TKTotalInkCapTrafo(double cap) : fCap(cap) {
    if (!(cap > 0.0) || !std::isfinite(cap)) TKThrowMsg(ArgErr, "an ink cap must be above 0");
}

TKVector TKTotalInkCapTrafo::Trafo(const TKVector& source) const {
    const double total = source.Sum();
    if (total <= fCap) return source;
    TKVector capped = source;
    const int32_t n = capped.GetDim();
    const double black = n > 3 ? std::min(capped[3], fCap) : 0.0;
    const double others = total - (n > 3 ? capped[3] : 0.0);
    const double scale = others > 0.0 ? std::max(0.0, fCap - black) / others : 0.0;
    for (int32_t i = 0; i < n; ++i) capped[i] = i == 3 ? black : capped[i] * scale;
    return capped;
}
