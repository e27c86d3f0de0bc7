// The linear black-to-white mapping of XYZ stages, with the optional smooth black blend.
#include "color/TKXYZTrafoBase.h"

#include <algorithm>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "foundation/TKError.h"

namespace {

TKVector ToXYZ(const TKVector& colour) {
    TKVector xyz = colour.GetType() == 0 ? colour : ConvertColor(TKXYZSpace, colour);
    if (xyz.GetDim() < 3) TKThrow(DimMismatch);
    if (xyz.GetDim() > 3) xyz.SetDim(3);
    xyz.SetType(int32_t(TKXYZSpace));
    return xyz;
}

double Sum3(const TKVector& v) { return v[0] + v[1] + v[2]; }

TKVector ScaledBlack(const TKVector& black, const TKVector& white) {
    const double whiteSum = Sum3(white);
    TKVector scaled = white;
    scaled.Multiply(whiteSum != 0.0 ? Sum3(black) / whiteSum : 0.0);
    return scaled;
}

}  // namespace

TKVector BlackBlend(const TKVector& value, const TKVector& a, const TKVector& b, const TKVector& c, const TKVector& d) {
    const TKVector v = ToXYZ(value), xa = ToXYZ(a), xb = ToXYZ(b), xc = ToXYZ(c), xd = ToXYZ(d);
    const double m = std::max({Sum3(xb), Sum3(xa), 0.0});
    const double sd = Sum3(xd);
    double k = sd != 0.0 ? 0.5 / (m / sd + 0.01) : 50.0;
    k = std::clamp(k, 10.0, 50.0);
    const double span = sd - Sum3(xa);
    const double t = span != 0.0 ? (Sum3(v) - Sum3(xa)) * k / span : 1.0;
    const double w = t < 0.0 ? 1.0 : t < 1.0 ? (1.0 - t) * (1.0 - t) : 0.0;
    TKVector result = v;
    for (int i = 0; i < 3; ++i) result[i] += w * (xc[i] - xb[i]);
    return result;
}

TKXYZTrafoBase::TKXYZTrafoBase(bool smoothBlack)
    : fSrcBlack(3, int32_t(TKXYZSpace)),
      fSrcWhite({kTKWhiteD50[0], kTKWhiteD50[1], kTKWhiteD50[2]}, int32_t(TKXYZSpace)),
      fDstBlack(3, int32_t(TKXYZSpace)),
      fDstWhite(fSrcWhite),
      fSmoothBlack(smoothBlack) {}

TKXYZTrafoBase::TKXYZTrafoBase(const TKXYZTrafoBase& other)
    : TKColorTypeTrafo(other),
      fSrcBlack(other.fSrcBlack),
      fSrcWhite(other.fSrcWhite),
      fDstBlack(other.fDstBlack),
      fDstWhite(other.fDstWhite),
      fSmoothBlack(other.fSmoothBlack) {}

int32_t TKXYZTrafoBase::GetSrcType() const { return int32_t(TKXYZSpace); }
int32_t TKXYZTrafoBase::GetDstType(int32_t) const { return int32_t(TKXYZSpace); }

void TKXYZTrafoBase::SetSourceBlack(const TKVector& black) { fSrcBlack = ToXYZ(black); MarkStale(); }
void TKXYZTrafoBase::SetSourceWhite(const TKVector& white) { fSrcWhite = ToXYZ(white); MarkStale(); }
void TKXYZTrafoBase::SetDestBlack(const TKVector& black) { fDstBlack = ToXYZ(black); MarkStale(); }
void TKXYZTrafoBase::SetDestWhite(const TKVector& white) { fDstWhite = ToXYZ(white); MarkStale(); }

void TKXYZTrafoBase::SetPoints(const TKVector& srcBlack, const TKVector& srcWhite, const TKVector& dstBlack,
                               const TKVector& dstWhite) {
    SetSourceBlack(srcBlack);
    SetDestBlack(dstBlack);
    SetSourceWhite(srcWhite);
    SetDestWhite(dstWhite);
}

void TKXYZTrafoBase::Update() {
    fSrcBlackScaled = ScaledBlack(fSrcBlack, fSrcWhite);
    fDstBlackScaled = ScaledBlack(fDstBlack, fDstWhite);
}

void TKXYZTrafoBase::EnsureCurrent() const {
    // Trafo runs on several threads at once: the first to see the stale flag updates under the
    // lock, the others wait for it.
    if (!fStale.load(std::memory_order_acquire)) return;
    std::lock_guard<std::mutex> lock(fUpdateLock);
    if (!fStale.load(std::memory_order_relaxed)) return;
    const_cast<TKXYZTrafoBase*>(this)->Update();
    fStale.store(false, std::memory_order_release);
}

TKVector TKXYZTrafoBase::Trafo(const TKVector& source) const {
    EnsureCurrent();
    return Evaluate(ToXYZ(source));
}

TKVector TKXYZTrafoBase::Evaluate(const TKVector& xyz) const {
    TKVector in = fSmoothBlack ? BlackBlend(xyz, fSrcBlack, fSrcBlack, fSrcBlackScaled, fSrcWhite) : xyz;
    const TKVector& srcBlack = fSmoothBlack ? fSrcBlackScaled : fSrcBlack;
    const TKVector& dstBlack = fSmoothBlack ? fDstBlackScaled : fDstBlack;
    TKVector out(3, int32_t(TKXYZSpace));
    for (int i = 0; i < 3; ++i) {
        const double span = fSrcWhite[i] - srcBlack[i];
        // A source white on its black leaves no range to map: keep the offset unscaled.
        const double scale = span != 0.0 ? (fDstWhite[i] - dstBlack[i]) / span : 1.0;
        out[i] = (in[i] - srcBlack[i]) * scale + dstBlack[i];
    }
    return fSmoothBlack ? BlackBlend(out, fDstBlackScaled, fDstBlackScaled, fDstBlack, fDstWhite) : out;
}
