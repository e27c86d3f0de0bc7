// The CIE conversion walk through XYZ, the lazily built appearance and "Lcs " models, and the
// shared default converter behind ConvertColor.
#include "color/TKCIEConverter.h"

#include <algorithm>

#include "color/TKCIETools.h"
#include "color/TKSpectral.h"
#include "foundation/TKError.h"

namespace {

constexpr int kMaxSteps = 100;

// The neighbour of a CIE type one step closer to XYZ; XYZ itself and non-CIE types have none.
uint32_t Parent(uint32_t type) {
    switch (type) {
        case TKLChSpace: case TKLabXSpace: return TKLabSpace;
        case TKLChuSpace: return TKLuvSpace;
        case TKJChSpace: return TKJabSpace;
        case TKLcshSpace: return TKLcsSpace;
        case TKLabSpace: case TKLuvSpace: case TKYxySpace: case TKYuvSpace: case TKXYZNSpace:
        case TKCMYKDensSpace: case TKKelvinSpace: case TKJabSpace: case TKLcsSpace:
        case TKReflSpace: case TKTranSpace: case TKEmisSpace: case TKDensSpace: return TKXYZSpace;
        default: return TKNoSpace;
    }
}

bool Convertible(uint32_t type) { return type == TKXYZSpace || Parent(type) != TKNoSpace; }

// Types from `type` up to XYZ, both included; at most four long.
int ChainToXYZ(uint32_t type, uint32_t chain[8]) {
    int n = 0;
    for (uint32_t t = type; t != TKNoSpace && n < 8; t = Parent(t)) chain[n++] = t;
    return n;
}

[[noreturn]] void ThrowNoConversion(uint32_t from, uint32_t to) {
    const TKString message = TKString("No conversion from ") + GetTypeName(from) + " to " + GetTypeName(to);
    TKThrowMsg(ColorTrafoErr, message.CString());
}

TKVector Colour3(uint32_t type, double a, double b, double c) { return TKVector({a, b, c}, int32_t(type)); }

}  // namespace

TKCIEConverter::TKCIEConverter()
    : fWhite{kTKWhiteD50[0], kTKWhiteD50[1], kTKWhiteD50[2]},
      fIlluminant(GetIlluminantSpectrum("D50UV")),
      fObserver(GetObserverMatrix(2)) {
    Invalidate();
}

TKCIEConverter::TKCIEConverter(const TKCIEConverter& other)
    : fWhite{other.fWhite[0], other.fWhite[1], other.fWhite[2]},
      fIlluminant(other.fIlluminant),
      fObserver(other.fObserver),
      fObserverDegrees(other.fObserverDegrees),
      fViewing(other.fViewing) {
    Invalidate();
}

TKCIEConverter::~TKCIEConverter() = default;

void TKCIEConverter::Invalidate() {
    fLcsOnce = std::make_unique<std::once_flag>();
    fCamOnce = std::make_unique<std::once_flag>();
    fSpectralOnce = std::make_unique<std::once_flag>();
    fLcs.reset();
    fCam.reset();
    fDecomposition = TKMatrix();
}

void TKCIEConverter::SetWhite(const TKVector& white) {
    if (white.IsEmpty()) {  // back to the connection-space white and its daylight
        for (int i = 0; i < 3; ++i) fWhite[i] = kTKWhiteD50[i];
        fIlluminant = GetIlluminantSpectrum("D50UV");
        Invalidate();
        return;
    }
    if (uint32_t(white.GetType()) == TKEmisSpace) {
        // A measured light: it becomes the illuminant, and its own colour the white.
        SetIlluminant(white);
        const TKVector perfect(kTKSpectralChannels, int32_t(TKReflSpace), 1.0);
        SpectrumToXYZ(perfect, fIlluminant, fObserver, fWhite);
        Invalidate();
        return;
    }
    const TKVector xyz = uint32_t(white.GetType()) == TKNoSpace ? white : Convert(white, TKXYZSpace);
    if (xyz.GetDim() < 3) TKThrow(DimMismatch);
    for (int i = 0; i < 3; ++i) fWhite[i] = xyz[i];
    Invalidate();
}

TKVector TKCIEConverter::GetWhite() const { return Colour3(TKXYZSpace, fWhite[0], fWhite[1], fWhite[2]); }

void TKCIEConverter::SetIlluminant(const TKVector& spectrum) {
    if (spectrum.GetDim() != kTKSpectralChannels) TKThrow(DimMismatch);
    fIlluminant = spectrum;
    fIlluminant.SetType(int32_t(TKEmisSpace));
    Invalidate();
}

void TKCIEConverter::SetObserver(int32_t degrees) {
    if (degrees == 0) degrees = 2;
    fObserver = GetObserverMatrix(degrees);
    fObserverDegrees = degrees;
    Invalidate();
}

void TKCIEConverter::SetViewingConditions(const TKVector& conditions) {
    TKViewingConditions v;
    double* fields[] = {&v.adaptingLuminance, &v.backgroundY, &v.surroundF, &v.surroundC, &v.surroundNc};
    for (int i = 0; i < 5 && i < conditions.GetDim(); ++i) *fields[i] = conditions[i];
    fViewing = v;
    Invalidate();
}

const TKLcsModel& TKCIEConverter::LcsModel() const {
    std::call_once(*fLcsOnce, [this] { fLcs = std::make_unique<TKLcsModel>(fWhite); });
    return *fLcs;
}

const TKCIECAM02& TKCIEConverter::AppearanceModel() const {
    std::call_once(*fCamOnce, [this] { fCam = std::make_unique<TKCIECAM02>(fWhite, fViewing); });
    return *fCam;
}

uint32_t TKCIEConverter::NextType(uint32_t from, uint32_t wanted) const {
    if (!Convertible(from) || !Convertible(wanted)) TKThrow(WrongDataType);
    uint32_t a[8], b[8];
    const int na = ChainToXYZ(from, a), nb = ChainToXYZ(wanted, b);
    // The first type on the way up from `from` that also lies on the way up from `wanted`.
    for (int i = 0; i < na; ++i) {
        const uint32_t* hit = std::find(b, b + nb, a[i]);
        if (hit == b + nb) continue;
        if (i > 0) return a[1];                  // still climbing towards the meeting point
        if (hit == b) return wanted;             // already there
        return *(hit - 1);                       // descending towards the wanted type
    }
    ThrowNoConversion(from, wanted);
}

TKVector TKCIEConverter::Convert(const TKVector& colour, uint32_t wanted) const {
    uint32_t type = uint32_t(colour.GetType());
    if (type == wanted || wanted == TKNoSpace || (wanted == TKCIEClassSpace && IsCIESpace(type))) return colour;
    if (!Convertible(type) || !Convertible(wanted)) {
        const TKString message = TKString("Not a CIE conversion: ") + GetTypeName(type) + " to " + GetTypeName(wanted);
        TKThrowMsg(WrongDataType, message.CString());
    }
    if (colour.GetDim() < GetChannelCount(type)) TKThrow(DimMismatch);
    TKVector current = colour;
    for (int step = 0; step < kMaxSteps && type != wanted; ++step) {
        const uint32_t next = NextType(type, wanted);
        current = Step(current, next);
        type = next;
    }
    if (type != wanted) ThrowNoConversion(uint32_t(colour.GetType()), wanted);
    return current;
}

TKVector TKCIEConverter::Step(const TKVector& colour, uint32_t to) const {
    const uint32_t from = uint32_t(colour.GetType());
    const double* v = colour.Values();
    if (Parent(from) == to) {  // one step up
        switch (from) {
            case TKLChSpace: case TKLChuSpace: case TKJChSpace: case TKLcshSpace: {
                double r[3];
                PolarToRect(v, r);
                return Colour3(to, r[0], r[1], r[2]);
            }
            case TKLabXSpace: return Colour3(to, v[0], v[1], v[2]);
            default: {
                double xyz[3];
                ToXYZ(colour, xyz);
                return Colour3(TKXYZSpace, xyz[0], xyz[1], xyz[2]);
            }
        }
    }
    if (Parent(to) != from) ThrowNoConversion(from, to);
    switch (to) {  // one step down
        case TKLChSpace: case TKLChuSpace: case TKJChSpace: case TKLcshSpace: {
            double p[3];
            RectToPolar(v, p);
            return Colour3(to, p[0], p[1], p[2]);
        }
        case TKLabXSpace: return TKVector({v[0], v[1], v[2], 0.0}, int32_t(TKLabXSpace));
        default: return FromXYZ(v, to);
    }
}

TKVector TKCIEConverter::FromXYZ(const double xyz[3], uint32_t to) const {
    double r[4];
    switch (to) {
        case TKLabSpace: XYZToLab(xyz, fWhite, r); break;
        case TKLuvSpace: XYZToLuv(xyz, fWhite, r); break;
        case TKYxySpace: XYZToYxy(xyz, r); break;
        case TKYuvSpace: XYZToYuv(xyz, r); break;
        case TKXYZNSpace: XYZToXYZN(xyz, fWhite, r); break;
        case TKJabSpace: {
            double jch[3];
            AppearanceModel().Forward(xyz, jch);
            PolarToRect(jch, r);
            break;
        }
        case TKLcsSpace: LcsModel().Forward(xyz, r); break;
        case TKKelvinSpace: return TKVector({XYZToKelvin(xyz)}, int32_t(TKKelvinSpace));
        case TKCMYKDensSpace:
            XYZToDens(xyz, fWhite, r);
            return TKVector({r[0], r[1], r[2], r[3]}, int32_t(TKCMYKDensSpace));
        case TKReflSpace: case TKTranSpace: case TKEmisSpace: case TKDensSpace: {
            std::call_once(*fSpectralOnce, [this] {
                fDecomposition = GetDecomposition(GetTristimulusWeights(fIlluminant, fObserver));
            });
            if (to != TKEmisSpace) return XYZToSpectrum(xyz, fDecomposition, to);
            // Light of its own: the reflectance that looks like it, lit by the illuminant.
            TKVector spectrum = XYZToSpectrum(xyz, fDecomposition, TKReflSpace);
            for (int i = 0; i < kTKSpectralChannels; ++i) spectrum[i] *= fIlluminant[i];
            spectrum.SetType(int32_t(TKEmisSpace));
            return spectrum;
        }
        default: ThrowNoConversion(TKXYZSpace, to);
    }
    return Colour3(to, r[0], r[1], r[2]);
}

void TKCIEConverter::ToXYZ(const TKVector& colour, double xyz[3]) const {
    const uint32_t from = uint32_t(colour.GetType());
    const double* v = colour.Values();
    switch (from) {
        case TKLabSpace: LabToXYZ(v, fWhite, xyz); return;
        case TKLuvSpace: LuvToXYZ(v, fWhite, xyz); return;
        case TKYxySpace: YxyToXYZ(v, xyz); return;
        case TKYuvSpace: YuvToXYZ(v, xyz); return;
        case TKXYZNSpace: XYZNToXYZ(v, fWhite, xyz); return;
        case TKCMYKDensSpace: DensToXYZ(v, fWhite, xyz); return;
        case TKJabSpace: {
            double jch[3];
            RectToPolar(v, jch);
            AppearanceModel().Inverse(jch, xyz);
            return;
        }
        case TKLcsSpace: LcsModel().Inverse(v, xyz); return;
        case TKKelvinSpace: {
            // The black body of that temperature, seen by the observer, at the white's luminance.
            // A temperature of 0 stands for "none" (what a black gives) and maps back to black.
            if (!(v[0] > 0.0)) {
                xyz[0] = xyz[1] = xyz[2] = 0.0;
                return;
            }
            const TKVector body = GetBlackBodySpectrum(v[0]);
            TKVector equal(kTKSpectralChannels, int32_t(TKEmisSpace), 1.0);
            SpectrumToXYZ(body, equal, fObserver, xyz);
            const double scale = xyz[1] > 0.0 ? fWhite[1] / xyz[1] : 0.0;
            for (int i = 0; i < 3; ++i) xyz[i] *= scale;
            return;
        }
        case TKReflSpace: case TKTranSpace: case TKEmisSpace: case TKDensSpace:
            SpectrumToXYZ(colour, fIlluminant, fObserver, xyz);
            return;
        default: ThrowNoConversion(from, TKXYZSpace);
    }
}

// --- The shared default ---------------------------------------------------------------------

const TKCIEConverter& DefaultCIEConverter() {
    // Created once, on first use, behind the call-once lock; read-only afterwards.
    static std::once_flag once;
    static std::unique_ptr<TKCIEConverter> shared;
    std::call_once(once, [] { shared = std::make_unique<TKCIEConverter>(); });
    return *shared;
}

void ConvertColor(TKVector& result, uint32_t wantedType, const TKVector& colour) {
    result = DefaultCIEConverter().Convert(colour, wantedType);
}

TKVector ConvertColor(uint32_t wantedType, const TKVector& colour) {
    return DefaultCIEConverter().Convert(colour, wantedType);
}

void ConvertColors(TKMatrix& result, uint32_t wantedType, const TKMatrix& colours) {
    const uint32_t type = uint32_t(colours.GetType());
    if (type == wantedType || wantedType == TKNoSpace) {
        result = colours;
        return;
    }
    const TKCIEConverter& converter = DefaultCIEConverter();
    TKMatrix out;
    for (int32_t r = 0; r < colours.GetHeight(); ++r) {
        TKVector row = colours.GetRow(r);
        const TKVector converted = converter.Convert(row, wantedType);
        if (r == 0) out = TKMatrix(colours.GetHeight(), converted.GetDim(), int32_t(wantedType));
        out.SetRow(r, converted);
    }
    if (colours.GetHeight() == 0) out.SetType(int32_t(wantedType));
    result = out;
}
