// The stage list of a LUT tag: norm encodings around the tag's curves, grid and matrices, the
// v4 perceptual reference black, and the test that tells the two Lab encodings of a 4-LUT apart.
#include <algorithm>

#include "color/TKColor2NormTrafo.h"
#include "color/TKColors.h"
#include "icc/TKICCTrafoBuilder.h"

namespace {

constexpr uint32_t kXYZ = TKColorSig("XYZ ");
constexpr uint32_t kLab = TKColorSig("Lab ");

bool IsA2BSignature(uint32_t signature) {
    return signature == TKICCSig("A2B0") || signature == TKICCSig("A2B1") || signature == TKICCSig("A2B2");
}

// Tags whose PCS side carries the v4 perceptual reference black.
bool IsPerceptualFamily(uint32_t signature) {
    return signature == TKICCSig("A2B0") || signature == TKICCSig("A2B2") || signature == TKICCSig("B2A0") ||
           signature == TKICCSig("B2A2");
}

template <class T, class... Args>
void AppendNew(TKTrafoList& list, Args&&... args) {
    list.Append(new T(std::forward<Args>(args)...), true);
}

// The 8-bit or the 16-bit class of a stage, by the tag's type.
template <class Base, class Lut8, class Lut16, class... Args>
TKRefPtr<Base> NewByWidth(bool lut8, Args... args) {
    return TKRefPtr<Base>(lut8 ? static_cast<Base*>(new Lut8(args...)) : new Lut16(args...), true);
}

// The engine keeps gray as ink (0 white, 100 black) while an ICC table reads its gray input,
// and writes its gray output, as a device value with 0 for black: the gray norm is turned
// over on the way in and on the way out, as the kTRC path does.
void AppendGrayFlip(TKTrafoList& list) {
    TKRefPtr<TKVectorLinearization> flip(new TKVectorLinearization(1), true);
    flip->SetCurve(0, TKCurveLinearization(TKVector({1.0, 0.0})));
    list.Append(flip.Get(), false);
}

// Appends a curve stage unless it is the identity.
void AppendCurves(TKTrafoList& list, TKRefPtr<TKVectorLinearization> curves) {
    if (curves && !curves->IsIdentity()) list.Append(curves.Get(), false);
}

// The 4-LUT's own stages in evaluation order, each only where its offset is set.
TKRefPtr<TKTrafoList> FourLutStages(TKICC4LutTag* tag, int32_t mode) {
    TKRefPtr<TKTrafoList> list(new TKTrafoList, true);
    using Set = TKICC4LutTag::CurveSet;
    const bool ab = tag->GetType() == TKICCSig("mAB ");
    const Set order[5] = {ab ? Set::kACurves : Set::kBCurves, ab ? Set::kCLUT : Set::kMatrix, Set::kMCurves,
                          ab ? Set::kMatrix : Set::kCLUT, ab ? Set::kBCurves : Set::kACurves};
    for (Set set : order) {
        if (tag->GetStageOffset(set) == 0) continue;
        if (set == Set::kCLUT) {
            AppendNew<TKICC4LutLutTrafo>(*list, tag, mode);
        } else if (set == Set::kMatrix) {
            AppendNew<TKICC4LutMatrixTrafo>(*list, tag);
        } else {
            TKRefPtr<TKICCLinTrafo> curves(new TKICCLinTrafo(tag, set), true);
            if (set == Set::kMCurves) curves->SetInterpolationParameter(1, 0);
            AppendCurves(*list, curves);
        }
    }
    return list;
}

// Whether the 4-LUT reads Lab in the encoding where 1.0 is L 100: the legacy-norm white and its
// rescaled form go through the table, and the one landing nearer the output's white wins.
bool WantsLabAdaption(TKTrafoList& stages, uint32_t out) {
    if (stages.GetCount() == 0) return false;
    const TKVector white = TKVector({100.0, 0.0, 0.0}, kLab);
    TKVector p = TKColor2NormTrafo(kLab).Trafo(white);
    TKVector q = TKAdaptICC4LabNorm(true).Trafo(p);
    TKVector r = TKColor2NormTrafo(out).Trafo(IsCIESpace(out) ? ConvertColor(out, white) : GetWhite(out));
    if (out == kLab) r = TKAdaptICC4LabNorm(true).Trafo(r);
    if (out == TKGraySpace) r[0] = 1.0 - r[0];  // the table's gray is a device value, white at 1
    const double dp = stages.Trafo(p).SqrDistance(r), dq = stages.Trafo(q).SqrDistance(r);
    return dq < dp;
}

}  // namespace

int32_t TKICCCanonicalGrid(int32_t grid) {
    if (grid < 1) return grid;
    if (grid > 33) return 65;
    if (grid > 17) return 33;
    if (grid > 9) return 17;
    if (grid > 5) return 9;
    if (grid > 3) return 5;
    if (grid > 2) return 3;
    return 2;
}

int32_t TKICCTrafoBuilder::GetLutGridPoints(uint32_t tagSignature) const {
    TKICCTag* tag = fProfile->GetTag(tagSignature);
    if (auto* lut = TKCast<TKICCLutTag>(tag, "TKICCLutTag")) return lut->GetGridPoints();
    if (auto* lut4 = TKCast<TKICC4LutTag>(tag, "TKICC4LutTag")) {
        if (lut4->GetStageOffset(TKICC4LutTag::kCLUT) == 0) return 0;
        int32_t grid = 0;
        for (int32_t c = 0; c < lut4->GetInputChannels(); ++c) grid = std::max(grid, lut4->GetGridPoints(c));
        return grid;
    }
    return 0;
}

int32_t TKICCTrafoBuilder::GetInterpolationMode(uint32_t tagSignature) const {
    const bool a2b = IsA2BSignature(tagSignature);
    const uint32_t in = a2b ? ColorSpace() : PCS();
    const uint32_t out = a2b ? PCS() : ColorSpace();
    const bool printer = fProfile->GetHeader().deviceClass == TKICCSig("prtr");
    if (IsInkSpace(in) || (IsDeviceSpace(in) && IsDeviceSpace(out)) || (IsDeviceSpace(in) && printer)) return 2;
    if (in == kXYZ) return 1;
    return 0;
}

TKRefPtr<TKTrafoList> TKICCTrafoBuilder::GetLutTrafo(uint32_t tagSignature) {
    TKICCTag* tag = fProfile->GetTag(tagSignature);
    auto* lut = TKCast<TKICCLutTag>(tag, "TKICCLutTag");
    auto* lut4 = TKCast<TKICC4LutTag>(tag, "TKICC4LutTag");
    if (!lut && !lut4) TKThrowMsg(MissingICCTag, "no LUT tag for the signature");
    const bool a2b = IsA2BSignature(tagSignature);
    const uint32_t in = a2b ? ColorSpace() : PCS();
    const uint32_t out = a2b ? PCS() : ColorSpace();
    const int32_t tagIn = lut ? lut->GetInputChannels() : lut4->GetInputChannels();
    const int32_t tagOut = lut ? lut->GetOutputChannels() : lut4->GetOutputChannels();
    if (tagIn != GetChannelCount(in) || tagOut != GetChannelCount(out))
        TKThrowMsg(DimMismatch, "LUT channels do not fit the profile's colour spaces");
    const int32_t mode = GetInterpolationMode(tagSignature);
    const bool v4Black = IsPerceptualFamily(tagSignature) && fProfile->GetHeader().version >= 0x04000000;
    // 8-bit tables encode Lab with 100 at full scale; 16-bit ones keep the legacy 0xFF00 form.
    const int32_t range = tag->GetType() == TKICCSig("mft1") ? kTKRange8Bit : kTKRange16Legacy;

    TKRefPtr<TKTrafoList> list(new TKTrafoList, true);
    AppendNew<TKDefaultColorTrafo>(*list, in, in);
    if (v4Black && IsCIESpace(in)) {
        AppendNew<TKZeroToICC4PerceptualBlackPointTrafo>(*list);
        AppendNew<TKDefaultColorTrafo>(*list, kXYZ, in);
    }
    AppendNew<TKColor2NormTrafo>(*list, in, range);
    if (in == TKGraySpace) AppendGrayFlip(*list);

    if (lut) {
        const bool lut8 = lut->GetType() == TKICCSig("mft1");
        if (in == kXYZ) {
            auto matrix = NewByWidth<TKICCLutMatrixTrafo, TKICCLut8MatrixTrafo, TKICCLut16MatrixTrafo>(lut8, lut);
            if (!matrix->GetMatrix().IsIdentity(1e-9)) list->Append(matrix.Get(), false);
        }
        // A Lab to Lab table keeps its curves free of a colour type, so nothing remaps them.
        const bool labToLab = in == kLab && out == kLab;
        auto inCurves =
            NewByWidth<TKICCLutLinTrafo, TKICCLut8InputTrafo, TKICCLut16InputTrafo>(lut8, lut, labToLab ? 0 : in);
        inCurves->SetInterpolationParameter(2, lut->GetGridPoints());
        AppendCurves(*list, inCurves);
        auto grid = NewByWidth<TKICCLutLutTrafo, TKICCLut8LutTrafo, TKICCLut16LutTrafo>(lut8, lut, mode);
        grid->SetInterpolationParameter(2, lut->GetGridPoints());
        list->Append(grid.Get(), false);
        AppendCurves(*list, NewByWidth<TKICCLutLinTrafo, TKICCLut8OutputTrafo, TKICCLut16OutputTrafo>(
                                lut8, lut, labToLab ? 0 : out));
    } else {
        TKRefPtr<TKTrafoList> stages = FourLutStages(lut4, mode);
        if (in == kLab && WantsLabAdaption(*stages, out)) AppendNew<TKAdaptICC4LabNorm>(*list, true);
        list->AppendList(*stages, true);
        if (out == kLab) AppendNew<TKAdaptICC4LabNorm>(*list, false);
    }

    if (out == TKGraySpace) AppendGrayFlip(*list);
    AppendNew<TKNorm2ColorTrafo>(*list, out, range);
    if (v4Black && IsCIESpace(out)) {
        AppendNew<TKICC4ToZeroPerceptualBlackPointTrafo>(*list);
        AppendNew<TKDefaultColorTrafo>(*list, kXYZ, out);
    }
    return list;
}
