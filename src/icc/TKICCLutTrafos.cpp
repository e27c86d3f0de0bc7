// The stage trafos of ICC tables (see TKICCLutTrafos.h).
#include "icc/TKICCLutTrafos.h"

#include <algorithm>
#include <cmath>

#include "color/TKCIETools.h"
#include "color/TKColors.h"
#include "foundation/TKError.h"
#include "icc/TKICCNumberTags.h"

namespace {

constexpr uint32_t kXYZ = TKColorSig("XYZ ");
constexpr uint32_t kLab = TKColorSig("Lab ");
// Parametric curves become tables of this many samples: well below 1e-4 from the function.
constexpr int32_t kParametricSamples = 4096;

TKVector D50() { return TKVector({kTKWhiteD50[0], kTKWhiteD50[1], kTKWhiteD50[2]}, kXYZ); }

// A curve from 16-bit table entries read by `entry(i)`.
template <class Entry>
TKCurveLinearization CurveFromWords(int32_t count, Entry entry) {
    TKVector samples(count);
    double* out = samples.MutableValues();
    for (int32_t i = 0; i < count; ++i) out[i] = entry(i) / 65535.0;
    TKCurveLinearization curve(samples);
    return curve;
}

}  // namespace

TKVector TKICC4PerceptualBlackXYZ() {
    // Y of L*: ((L + 16) / 116)^3 above the linear toe; 3.137 lies on the toe (L / 903.3).
    const double y = kTKICC4PerceptualBlackL / (24389.0 / 27.0);
    TKVector black = D50();
    for (int32_t i = 0; i < 3; ++i) black[i] *= y;
    return black;
}

TKCurveLinearization TKCurveFromICCTag(TKICCTag* tag) {
    if (!tag) TKThrow(PtrInvalid);
    TKCurveLinearization curve;
    if (auto* curv = TKCast<TKICCCurveTag>(tag, "TKICCCurveTag")) {
        TKVector samples = curv->GetCurve(0.0, 1.0);
        if (samples.GetDim() == 1 && !(samples[0] > 0.0)) TKThrowMsg(InvalidICCTag, "gamma of 0 in a curve");
        curve.SetSamples(samples);
        return curve;
    }
    if (auto* para = TKCast<TKICCParametricCurveTag>(tag, "TKICCParametricCurveTag")) {
        int32_t type = 0;
        TKVector params = para->GetCurve(&type);
        if (type == 0) {
            if (!(params[0] > 0.0) || !std::isfinite(params[0])) TKThrowMsg(InvalidICCTag, "bad gamma");
            curve.SetGamma(params[0]);
        } else {
            curve.SetFromParametric(type, params, kParametricSamples);
        }
        return curve;
    }
    TKThrowMsg(MissingICCTagData, "not a curve tag");
}

// ---- mft1 / mft2 curves ----------------------------------------------------------------------

TKICCLutTag* TKICCLutLinTrafo::Require(TKICCLutTag* tag, uint32_t type) {
    if (!tag) TKThrow(PtrInvalid);
    if (tag->GetType() != type) TKThrowMsg(InvalidICCTag, "stage of another LUT type");
    return tag;
}

TKICCLutLinTrafo::TKICCLutLinTrafo(TKICCLutTag* tag, bool input, uint32_t colorType)
    : fTag(tag, false), fInput(input), fColorType(colorType) {
    if (!tag) TKThrow(PtrInvalid);
    const uint32_t type = tag->GetType();
    if (type != TKICCSig("mft1") && type != TKICCSig("mft2")) TKThrowMsg(InvalidICCTag, "not an mft tag");
    const int32_t channels = input ? tag->GetInputChannels() : tag->GetOutputChannels();
    const int32_t entries = input ? tag->GetInputEntries() : tag->GetOutputEntries();
    if (entries < 2) TKThrowMsg(InvalidICCTag, "curve with fewer than 2 entries");
    SetCount(channels);
    for (int32_t c = 0; c < channels; ++c) {
        TKCurveLinearization curve = CurveFromWords(entries, [&](int32_t i) {
            return input ? tag->GetInputCurvePoint(c, i) : tag->GetOutputCurvePoint(c, i);
        });
        if (curve.IsIdentity()) curve.SetIdentity();
        SetCurve(c, curve);
    }
}

int32_t TKICCLutLinTrafo::GetSrcType() const { return int32_t(GetNormType(GetCount())); }
int32_t TKICCLutLinTrafo::GetDstType(int32_t) const { return int32_t(GetNormType(GetCount())); }

// ---- mft1 / mft2 grid ------------------------------------------------------------------------

TKICCLutLutTrafo::TKICCLutLutTrafo(TKICCLutTag* tag, int32_t mode) : TKLutTrafo(mode), fTag(tag, false) {
    if (!tag) TKThrow(PtrInvalid);
    const int32_t in = tag->GetInputChannels(), out = tag->GetOutputChannels(), grid = tag->GetGridPoints();
    if (in < 1 || out < 1 || grid < 2) TKThrowMsg(InvalidICCTag, "LUT without channels or grid");
    // A header whose tables are missing is refused before the grid is allocated.
    if (uint64_t(tag->GetDataSize()) < tag->GetExpectedSize()) TKThrowMsg(InvalidICCTag, "LUT shorter than announced");
    SetupGrid(std::vector<int32_t>(size_t(in), grid), out, TKCLUT::kWord);
    SetTypes(int32_t(GetNormType(in)), int32_t(GetNormType(out)));
    for (int32_t node = 0; node < fCLUT.GetNodeCount(); ++node) tag->GetGridPoint(node, fCLUT.MutableNodeWords(node));
}

TKICCLut8LutTrafo::TKICCLut8LutTrafo(TKICCLutTag* tag, int32_t mode)
    : TKICCLutLutTrafo(TKICCLutLinTrafo::Require(tag, TKICCSig("mft1")), mode) {}
TKICCLut16LutTrafo::TKICCLut16LutTrafo(TKICCLutTag* tag, int32_t mode)
    : TKICCLutLutTrafo(TKICCLutLinTrafo::Require(tag, TKICCSig("mft2")), mode) {}

// ---- mft1 / mft2 matrix ----------------------------------------------------------------------

TKICCLutMatrixTrafo::TKICCLutMatrixTrafo(TKICCLutTag* tag) : fTag(tag, false) {
    if (!tag) TKThrow(PtrInvalid);
    fMatrix = tag->GetMatrix();
    if (fMatrix.GetHeight() != 3 || fMatrix.GetWidth() != 3) TKThrow(DimMismatch);
}
int32_t TKICCLutMatrixTrafo::GetSrcType() const { return int32_t(GetNormType(3)); }
int32_t TKICCLutMatrixTrafo::GetDstType(int32_t) const { return int32_t(GetNormType(3)); }
TKVector TKICCLutMatrixTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != 3) TKThrow(DimMismatch);
    TKVector result(3, GetNormType(3));
    for (int32_t r = 0; r < 3; ++r)
        result[r] = fMatrix(r, 0) * source[0] + fMatrix(r, 1) * source[1] + fMatrix(r, 2) * source[2];
    return result;
}
TKICCLut8MatrixTrafo::TKICCLut8MatrixTrafo(TKICCLutTag* tag)
    : TKICCLutMatrixTrafo(TKICCLutLinTrafo::Require(tag, TKICCSig("mft1"))) {}
TKICCLut16MatrixTrafo::TKICCLut16MatrixTrafo(TKICCLutTag* tag)
    : TKICCLutMatrixTrafo(TKICCLutLinTrafo::Require(tag, TKICCSig("mft2"))) {}

// ---- 4-LUT stages ----------------------------------------------------------------------------

TKICCLinTrafo::TKICCLinTrafo(TKICC4LutTag* tag, TKICC4LutTag::CurveSet set) : fTag(tag, false), fSet(set) {
    if (!tag) TKThrow(PtrInvalid);
    const int32_t count = tag->GetCurveCount(set);
    SetCount(count);
    for (int32_t c = 0; c < count; ++c) {
        TKRefPtr<TKICCTag> curveTag = tag->GetCurve(set, c);
        SetCurve(c, TKCurveFromICCTag(curveTag.Get()));
    }
}

TKICC4LutLutTrafo::TKICC4LutLutTrafo(TKICC4LutTag* tag, int32_t mode) : TKLutTrafo(mode), fTag(tag, false) {
    if (!tag) TKThrow(PtrInvalid);
    const int32_t in = tag->GetInputChannels(), out = tag->GetOutputChannels();
    if (in < 1 || out < 1) TKThrowMsg(InvalidICCTag, "CLUT without channels");
    std::vector<int32_t> grid(static_cast<size_t>(in));
    for (int32_t c = 0; c < in; ++c) {
        grid[size_t(c)] = tag->GetGridPoints(c);
        if (grid[size_t(c)] < 2) TKThrowMsg(InvalidICCTag, "CLUT with fewer than 2 grid points");
    }
    // The table must lie inside the block before the grid is allocated: 20 bytes of grid sizes
    // and precision after the offset (counted from the tag's 8-byte head), then the entries.
    const uint64_t entries = tag->GetCLUTEntries();
    const uint64_t offset = tag->GetStageOffset(TKICC4LutTag::kCLUT);
    const int32_t precision = tag->GetPrecision();
    if (precision != 1 && precision != 2) TKThrowMsg(InvalidICCTag, "CLUT precision");
    if (offset < 8 || entries > (uint64_t(1) << 40) ||
        offset - 8 + 20 + entries * uint64_t(precision) > uint64_t(tag->GetDataSize()))
        TKThrowMsg(InvalidICCTag, "CLUT outside the tag");
    SetupGrid(grid, out, TKCLUT::kWord);
    if (entries < uint64_t(fCLUT.GetNodeCount()) * uint64_t(out)) TKThrowMsg(InvalidICCTag, "CLUT too short");
    SetTypes(int32_t(GetNormType(in)), int32_t(GetNormType(out)));
    uint64_t index = 0;
    for (int32_t node = 0; node < fCLUT.GetNodeCount(); ++node) {
        uint16_t* words = fCLUT.MutableNodeWords(node);
        for (int32_t c = 0; c < out; ++c) words[c] = tag->GetCLUTEntry(index++);
    }
}

TKICC4LutMatrixTrafo::TKICC4LutMatrixTrafo(TKICC4LutTag* tag) : fTag(tag, false) {
    if (!tag) TKThrow(PtrInvalid);
    fMatrix = tag->GetMatrix();
    if (fMatrix.GetHeight() != 3 || fMatrix.GetWidth() != 4) TKThrow(DimMismatch);
}
int32_t TKICC4LutMatrixTrafo::GetSrcType() const { return int32_t(GetNormType(3)); }
int32_t TKICC4LutMatrixTrafo::GetDstType(int32_t) const { return int32_t(GetNormType(3)); }
TKVector TKICC4LutMatrixTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != 3) TKThrow(DimMismatch);
    TKVector result(3, GetNormType(3));
    for (int32_t r = 0; r < 3; ++r)
        result[r] = fMatrix(r, 0) * source[0] + fMatrix(r, 1) * source[1] + fMatrix(r, 2) * source[2] + fMatrix(r, 3);
    return result;
}

// ---- Lab norm adaption -----------------------------------------------------------------------

TKAdaptICC4LabNorm::TKAdaptICC4LabNorm(bool forward)
    : TKColorTrafo(GetNormType(3), GetNormType(3)), fForward(forward) {}

TKVector TKAdaptICC4LabNorm::Evaluate(const TKVector& input) const {
    TKVector result = input;
    const double factor = fForward ? kForwardFactor : kBackwardFactor;
    for (int32_t i = 0; i < std::min(3, result.GetDim()); ++i) result[i] *= factor;
    return result;
}

// ---- gray TRC --------------------------------------------------------------------------------

TKGrayTRCTrafo::TKGrayTRCTrafo(const TKCurveLinearization& curve, bool forward, uint32_t pcs)
    : fCurve(curve), fForward(forward), fPCS(pcs == kLab ? kLab : kXYZ) {}
int32_t TKGrayTRCTrafo::GetSrcDim() const { return fForward ? 1 : 3; }
int32_t TKGrayTRCTrafo::GetDstDim(int32_t) const { return fForward ? 3 : 1; }
int32_t TKGrayTRCTrafo::GetSrcType() const { return int32_t(fForward ? TKGraySpace : fPCS); }
int32_t TKGrayTRCTrafo::GetDstType(int32_t) const { return int32_t(fForward ? fPCS : TKGraySpace); }

TKVector TKGrayTRCTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != GetSrcDim()) TKThrow(DimMismatch);
    if (fForward) {
        const double device = std::clamp(1.0 - source[0] / 100.0, 0.0, 1.0);
        const double y = fCurve.Apply(device);
        if (fPCS == kLab) return TKVector({100.0 * y, 0.0, 0.0}, kLab);
        TKVector result = D50();
        for (int32_t i = 0; i < 3; ++i) result[i] *= y;
        return result;
    }
    const double y = std::clamp((fPCS == kLab ? source[0] : source[1]) / 100.0, 0.0, 1.0);
    return TKVector({100.0 * (1.0 - std::clamp(fCurve.ApplyInverse(y), 0.0, 1.0))}, TKGraySpace);
}

// ---- matrix-shaper ---------------------------------------------------------------------------

TKRGBXYZBaseTrafo::TKRGBXYZBaseTrafo(bool forward) : fForward(forward) {
    SetMatrix(TKMatrix::Identity(3));
}
int32_t TKRGBXYZBaseTrafo::GetSrcType() const { return int32_t(fForward ? TKRGBSpace : kXYZ); }
int32_t TKRGBXYZBaseTrafo::GetDstType(int32_t) const { return int32_t(fForward ? kXYZ : TKRGBSpace); }

void TKRGBXYZBaseTrafo::SetMatrix(const TKMatrix& colorants) {
    if (colorants.GetHeight() != 3 || colorants.GetWidth() != 3) TKThrow(DimMismatch);
    fInverse = colorants.Inverse();
    fMatrix = colorants;
}

void TKRGBXYZBaseTrafo::SetCurve(int32_t channel, const TKCurveLinearization& curve) {
    if (channel < 0 || channel > 2) TKThrow(IndexError);
    fCurves[channel] = curve;
}
const TKCurveLinearization& TKRGBXYZBaseTrafo::GetCurve(int32_t channel) const {
    if (channel < 0 || channel > 2) TKThrow(IndexError);
    return fCurves[channel];
}

TKVector TKRGBXYZBaseTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != 3) TKThrow(DimMismatch);
    if (fForward) {
        double linear[3];
        for (int32_t c = 0; c < 3; ++c) linear[c] = fCurves[c].Apply(std::clamp(source[c] / 255.0, 0.0, 1.0));
        TKVector result(3, kXYZ);
        for (int32_t r = 0; r < 3; ++r)
            result[r] = fMatrix(r, 0) * linear[0] + fMatrix(r, 1) * linear[1] + fMatrix(r, 2) * linear[2];
        return result;
    }
    TKVector result(3, TKRGBSpace);
    for (int32_t r = 0; r < 3; ++r) {
        const double linear = fInverse(r, 0) * source[0] + fInverse(r, 1) * source[1] + fInverse(r, 2) * source[2];
        result[r] = 255.0 * std::clamp(fCurves[r].ApplyInverse(std::clamp(linear, 0.0, 1.0)), 0.0, 1.0);
    }
    return result;
}

TKRGBXYZCurveTrafo::TKRGBXYZCurveTrafo(bool forward, const TKMatrix& colorants,
                                       const std::vector<TKCurveLinearization>& curves)
    : TKRGBXYZBaseTrafo(forward) {
    if (curves.size() != 3) TKThrow(DimMismatch);
    SetMatrix(colorants);
    for (int32_t c = 0; c < 3; ++c) SetCurve(c, curves[size_t(c)]);
}

TKRGBXYZGammaTrafo::TKRGBXYZGammaTrafo(bool forward, const TKMatrix& colorants, double gamma)
    : TKRGBXYZBaseTrafo(forward) {
    SetMatrix(colorants);
    TKCurveLinearization curve;
    curve.SetGamma(gamma);
    for (int32_t c = 0; c < 3; ++c) SetCurve(c, curve);
}

// ---- v4 perceptual reference black -----------------------------------------------------------

TKICC4ToZeroPerceptualBlackPointTrafo::TKICC4ToZeroPerceptualBlackPointTrafo()
    : TKXYZLinearBlackWhiteTrafo(TKICC4PerceptualBlackXYZ(), D50(), TKVector(3, kXYZ), D50()) {}

TKZeroToICC4PerceptualBlackPointTrafo::TKZeroToICC4PerceptualBlackPointTrafo()
    : TKXYZLinearBlackWhiteTrafo(TKVector(3, kXYZ), D50(), TKICC4PerceptualBlackXYZ(), D50()) {}

int32_t TKICC4ToZeroLScalingTrafo::GetSrcType() const { return int32_t(kLab); }
int32_t TKICC4ToZeroLScalingTrafo::GetDstType(int32_t) const { return int32_t(kLab); }

TKVector TKICC4ToZeroLScalingTrafo::Trafo(const TKVector& source) const {
    if (source.GetDim() != 3) TKThrow(DimMismatch);
    TKVector result = source;
    result.SetType(kLab);
    const double black = kTKICC4PerceptualBlackL;
    result[0] = ToZero() ? (source[0] - black) * 100.0 / (100.0 - black) : black + source[0] * (100.0 - black) / 100.0;
    return result;
}
