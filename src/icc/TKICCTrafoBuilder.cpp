// Tag choice and the A2B / B2A families by intent: relative, absolute, special XYZ stages,
// matrix-shaper and gray forms, and resampling into a grid of a wanted size.
#include "icc/TKICCTrafoBuilder.h"

#include <algorithm>

#include "color/TKCIEConverter.h"
#include "color/TKCIETools.h"
#include "color/TKColor2NormTrafo.h"
#include "color/TKColors.h"
#include "color/TKIntents.h"
#include "color/TKInvColorTrafo.h"
#include "color/TKWhiteXYZTrafo.h"
#include "link/TKLinkGridChoice.h"
#include "numeric/TKTrafoLutTrafo.h"

namespace {

constexpr uint32_t kXYZ = TKColorSig("XYZ ");
constexpr uint32_t kLab = TKColorSig("Lab ");

TKVector D50() { return TKVector({kTKWhiteD50[0], kTKWhiteD50[1], kTKWhiteD50[2]}, kXYZ); }
TKVector XYZZero() { return TKVector(3, kXYZ); }

TKRefPtr<TKTrafo> Convert(uint32_t from, uint32_t to) {
    return TKRefPtr<TKTrafo>(new TKDefaultColorTrafo(from, to), true);
}

// A list of the non-null trafos in order.
TKRefPtr<TKTrafo> Chain(std::initializer_list<TKRefPtr<TKTrafo>> trafos) {
    TKRefPtr<TKTrafoList> list(new TKTrafoList, true);
    for (const auto& trafo : trafos)
        if (trafo) list->Append(trafo.Get(), false);
    return TKRefPtr<TKTrafo>(list);
}

uint32_t OutType(const TKTrafo& trafo) { return uint32_t(trafo.GetDstType(trafo.GetSrcType())); }

}  // namespace

TKICCTrafoBuilder::TKICCTrafoBuilder(TKICCProfile* profile) : fProfile(profile, false) {
    if (!profile) TKThrow(PtrInvalid);
}

uint32_t TKICCTrafoBuilder::ColorSpace() const {
    return TKICCProfileBasic::TranslateOldSpace(fProfile->GetHeader().colorSpace);
}
uint32_t TKICCTrafoBuilder::PCS() const { return TKICCProfileBasic::TranslateOldSpace(fProfile->GetHeader().pcs); }
bool TKICCTrafoBuilder::PCSIsCIE() const { return IsCIESpace(PCS()); }
bool TKICCTrafoBuilder::HasTag(uint32_t signature) const { return fProfile->GetTag(signature) != nullptr; }

// ---- Tag choice ------------------------------------------------------------------------------

uint32_t TKICCTrafoBuilder::TagFor(Direction direction, int32_t intent) const {
    static constexpr uint32_t names[3] = {TKICCSig("A2B0"), TKICCSig("A2B1"), TKICCSig("A2B2")};
    static constexpr uint32_t backNames[3] = {TKICCSig("B2A0"), TKICCSig("B2A1"), TKICCSig("B2A2")};
    const uint32_t* set = direction == Direction::kA2B ? names : backNames;
    if (intent == kHeaderIntent) intent = fProfile->GetHeader().Intent();
    const int32_t slot = (intent == 0 || intent == 11) ? 0 : intent == 2 ? 2 : 1;
    return HasTag(set[slot]) ? set[slot] : set[0];
}

uint32_t TKICCTrafoBuilder::GetA2BTag(int32_t intent) const { return TagFor(Direction::kA2B, intent); }
uint32_t TKICCTrafoBuilder::GetB2ATag(int32_t intent) const { return TagFor(Direction::kB2A, intent); }

// ---- Families --------------------------------------------------------------------------------

TKRefPtr<TKTrafo> TKICCTrafoBuilder::Family0(Direction direction, int32_t intent) {
    const bool a2b = direction == Direction::kA2B;
    // "fAB0".."fBA3" carry a calculator text; a trafo of that form is not built here, so
    // such a profile is served by its tables.
    const uint32_t table = TKICCSig(a2b ? "A2B0" : "B2A0");
    if (HasTag(table)) return TKRefPtr<TKTrafo>(GetLutTrafo(table));
    const uint32_t space = ColorSpace();
    if (space == TKRGBSpace) return a2b ? GetRGBMatrixTrafoA2B(intent) : GetRGBMatrixTrafoB2A(intent);
    if (space == TKGraySpace) return GetGrayTrafo(a2b);
    TKThrowMsg(MissingICCTag, a2b ? "no A2B table" : "no B2A table");
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::FamilyN(Direction direction, int32_t which, int32_t intent) {
    const bool a2b = direction == Direction::kA2B;
    const uint32_t table = which == 1 ? TKICCSig(a2b ? "A2B1" : "B2A1") : TKICCSig(a2b ? "A2B2" : "B2A2");
    if (HasTag(table)) return TKRefPtr<TKTrafo>(GetLutTrafo(table));
    return Family0(direction, intent);
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2B0Trafo(int32_t intent) { return Family0(Direction::kA2B, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2A0Trafo(int32_t intent) { return Family0(Direction::kB2A, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2B1Trafo(int32_t intent) { return FamilyN(Direction::kA2B, 1, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2A1Trafo(int32_t intent) { return FamilyN(Direction::kB2A, 1, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2B2Trafo(int32_t intent) { return FamilyN(Direction::kA2B, 2, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2A2Trafo(int32_t intent) { return FamilyN(Direction::kB2A, 2, intent); }

// The relative trafo with the adaptation from D50 to the media white behind (A2B) or in front
// (B2A), for device profiles with a CIE connection space.
TKRefPtr<TKTrafo> TKICCTrafoBuilder::Absolute(Direction direction, int32_t intent) {
    const bool a2b = direction == Direction::kA2B;
    TKRefPtr<TKTrafo> relative = FamilyN(direction, 1, intent);
    if (!IsDeviceSpace(ColorSpace()) || !PCSIsCIE()) return relative;
    const TKVector media = fProfile->GetWhitePoint(true);
    TKRefPtr<TKTrafo> white(a2b ? new TKWhiteXYZTrafo(D50(), media, 0) : new TKWhiteXYZTrafo(media, D50(), 0), true);
    if (a2b) {
        const uint32_t out = OutType(*relative);
        return Chain({relative, out == kXYZ ? nullptr : Convert(out, kXYZ), white,
                      out == kXYZ ? nullptr : Convert(kXYZ, out)});
    }
    const uint32_t in = uint32_t(relative->GetSrcType());
    return Chain({in == kXYZ ? nullptr : Convert(in, kXYZ), white, in == kXYZ ? nullptr : Convert(kXYZ, in), relative});
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2BAbsoluteTrafo(int32_t intent) { return Absolute(Direction::kA2B, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2AAbsoluteTrafo(int32_t intent) { return Absolute(Direction::kB2A, intent); }

TKRefPtr<TKTrafo> TKICCTrafoBuilder::Special(Direction direction, int32_t intent) {
    const bool a2b = direction == Direction::kA2B;
    if (!PCSIsCIE()) return Family0(direction, intent);
    TKRefPtr<TKTrafo> base;
    TKVector srcBlack = XYZZero(), srcWhite = D50(), dstBlack = XYZZero(), dstWhite = D50();
    switch (intent) {
        case kTKBlackCompensationPerceptual:
        case kTKBlackCompensation: {
            const int32_t bpcIntent = intent == kTKBlackCompensationPerceptual ? 0 : 1;
            base = intent == kTKBlackCompensationPerceptual ? Family0(direction, intent) : FamilyN(direction, 1, intent);
            srcBlack = GetBlackPointForBPC(bpcIntent, nullptr, true);
            break;
        }
        case kTKAbsolutePerceptual:
        case kTKAbsLightenerCompensation:
            base = intent == kTKAbsolutePerceptual ? Family0(direction, intent) : FamilyN(direction, 1, intent);
            dstWhite = fProfile->GetWhitePoint(true);
            break;
        default:
            base = Absolute(direction, intent);
            srcBlack = GetMediaBlackPoint(0, kTKAbsoluteColorimetric);
            srcWhite = fProfile->GetWhitePoint(true);
            break;
    }
    TKRefPtr<TKXYZTrafoBase> stage = CreateXYZStage(intent, true);
    // The B2A side runs the mirror of the A2B stage: source and destination trade places.
    if (a2b)
        stage->SetPoints(srcBlack, srcWhite, dstBlack, dstWhite);
    else
        stage->SetPoints(dstBlack, dstWhite, srcBlack, srcWhite);
    stage->Update();
    TKRefPtr<TKTrafo> xyz(stage);
    if (a2b) {
        const uint32_t out = OutType(*base);
        return Chain({base, out == kXYZ ? nullptr : Convert(out, kXYZ), xyz, out == kXYZ ? nullptr : Convert(kXYZ, out)});
    }
    const uint32_t in = uint32_t(base->GetSrcType());
    return Chain({in == kXYZ ? nullptr : Convert(in, kXYZ), xyz, in == kXYZ ? nullptr : Convert(kXYZ, in), base});
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2BSpecialTrafo(int32_t intent) { return Special(Direction::kA2B, intent); }
TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2ASpecialTrafo(int32_t intent) { return Special(Direction::kB2A, intent); }

// ---- By intent, with the grid rules ----------------------------------------------------------

TKRefPtr<TKTrafo> TKICCTrafoBuilder::ByIntent(Direction direction, int32_t intent, int32_t gridCode, int32_t* outGrid) {
    intent &= ~kRefineBit;
    if (intent == kHeaderIntent) intent = fProfile->GetHeader().Intent();
    TKRefPtr<TKTrafo> trafo;
    switch (intent) {
        case 0: trafo = Family0(direction, intent); break;
        case 1: trafo = FamilyN(direction, 1, intent); break;
        case 2: trafo = FamilyN(direction, 2, intent); break;
        case kTKAbsoluteColorimetric:
        case kTKRelativeLightness: trafo = Absolute(direction, intent); break;
        default: trafo = Special(direction, intent); break;
    }
    if (!trafo) TKThrow(TrafoCreationErr);
    if (gridCode != kOwnGrid || outGrid) {
        const int32_t grid = GetLutGridPoints(TagFor(direction, intent));
        const int32_t channels = trafo->GetSrcDim();
        if (grid > 0 && DefaultGrid(channels, gridCode) > TKICCCanonicalGrid(grid)) gridCode = grid;
        if (outGrid) *outGrid = gridCode == kOwnGrid ? 0 : gridCode;
    }
    if (gridCode != kOwnGrid) trafo = Resample(trafo.Get(), DefaultGrid(trafo->GetSrcDim(), gridCode));
    return trafo;
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetA2BTrafo(int32_t intent, int32_t gridCode, int32_t* outGrid) {
    // The refinement is a B2A matter: on the forward side the bit is dropped.
    return ByIntent(Direction::kA2B, intent, gridCode, outGrid);
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetB2ATrafo(int32_t intent, int32_t gridCode, int32_t* outGrid) {
    TKRefPtr<TKTrafo> b2a = ByIntent(Direction::kB2A, intent, gridCode, outGrid);
    if (intent == kHeaderIntent || !(intent & kRefineBit)) return b2a;
    // The table gives the start; a search against the forward table of the same intent refines it.
    TKRefPtr<TKTrafo> a2b = ByIntent(Direction::kA2B, intent, kOwnGrid, nullptr);
    return TKRefPtr<TKTrafo>(new TKInvColorTrafo(b2a.Get(), a2b.Get(), false), true);
}

// A grid of `grid` points per channel sampled from the trafo, CIE sides sampled in Lab.
TKRefPtr<TKTrafo> TKICCTrafoBuilder::Resample(TKTrafo* trafo, int32_t grid) {
    if (grid < 2) TKThrowMsg(ArgErr, "grid below 2 points");
    const uint32_t src = uint32_t(trafo->GetSrcType());
    const uint32_t dst = OutType(*trafo);
    auto sampled = [](uint32_t type) {
        return IsCIESpace(type) && GetChannelCount(type) == 3 ? kLab : type;
    };
    const uint32_t gridIn = sampled(src), gridOut = sampled(dst);
    const int32_t inDim = GetChannelCount(gridIn), outDim = GetChannelCount(gridOut);
    if (inDim < 1 || outDim < 1) TKThrow(TrafoCreationErr);
    TKRefPtr<TKTrafo> body = Chain({TKRefPtr<TKTrafo>(new TKNorm2ColorTrafo(gridIn), true),
                                    gridIn == src ? nullptr : Convert(gridIn, src), TKRefPtr<TKTrafo>(trafo, false),
                                    gridOut == dst ? nullptr : Convert(dst, gridOut),
                                    TKRefPtr<TKTrafo>(new TKColor2NormTrafo(gridOut), true)});
    TKRefPtr<TKTrafoLutTrafo> lut(new TKTrafoLutTrafo(2), true);
    lut->Setup(outDim, int32_t(GetNormType(inDim)), int32_t(GetNormType(outDim)),
               std::vector<int32_t>(static_cast<size_t>(inDim), grid), TKCLUT::kWord, TKTrafoLutTrafo::kFillEager);
    lut->SetTrafo(body.Get(), false);
    return Chain({gridIn == src ? nullptr : Convert(src, gridIn), TKRefPtr<TKTrafo>(new TKColor2NormTrafo(gridIn), true),
                  TKRefPtr<TKTrafo>(lut), TKRefPtr<TKTrafo>(new TKNorm2ColorTrafo(gridOut), true),
                  gridOut == dst ? nullptr : Convert(gridOut, dst)});
}

// ---- Matrix-shaper and gray ------------------------------------------------------------------

void TKICCTrafoBuilder::LoadCurve(TKCurveLinearization& curve, uint32_t signature) {
    TKICCTag* tag = fProfile->GetTag(signature);
    if (!tag) TKThrowMsg(MissingICCTag, "missing TRC tag");
    curve = TKCurveFromICCTag(tag);
}

void TKICCTrafoBuilder::SetMatrixFromProfile(TKRGBXYZBaseTrafo& trafo, int32_t) {
    TKVector red, green, blue;
    fProfile->GetRGBColorants(red, green, blue);
    TKMatrix matrix(3, 3);
    for (int32_t r = 0; r < 3; ++r) {
        matrix(r, 0) = red[r];
        matrix(r, 1) = green[r];
        matrix(r, 2) = blue[r];
    }
    trafo.SetMatrix(matrix);
}

void TKICCTrafoBuilder::LoadRGBCurves(TKRGBXYZBaseTrafo& trafo) {
    static constexpr uint32_t names[3] = {TKICCSig("rTRC"), TKICCSig("gTRC"), TKICCSig("bTRC")};
    for (int32_t c = 0; c < 3; ++c) {
        TKCurveLinearization curve;
        LoadCurve(curve, names[c]);
        trafo.SetCurve(c, curve);
    }
}

void TKICCTrafoBuilder::LoadGrayCurve(TKGrayTRCTrafo& trafo) { trafo.GetCurveRef() = CreateGrayTRC(); }

TKCurveLinearization TKICCTrafoBuilder::CreateGrayTRC() {
    const uint32_t signature = TKICCSig("kTRC");
    if (!HasTag(signature)) {
        const uint32_t table = GetA2BTag(1);
        if (ColorSpace() != TKGraySpace || !PCSIsCIE() || !HasTag(table))
            TKThrowMsg(MissingICCTag, "no gray curve and no A2B table to make one from");
        TKRefPtr<TKTrafoList> lut = GetLutTrafo(table);
        // 256 samples from black to white, as an 8-bit gray needs; a table that turns back
        // is held level there, so the curve stays invertible.
        constexpr int32_t kSamples = 256;
        TKVector samples(kSamples);
        double last = 0.0;
        for (int32_t i = 0; i < kSamples; ++i) {
            const double device = double(i) / (kSamples - 1);
            const TKVector pcs = lut->Trafo(TKVector({100.0 * (1.0 - device)}, TKGraySpace));
            const double y = PCS() == kLab ? ConvertColor(kLab, pcs)[0] : ConvertColor(kXYZ, pcs)[1];
            last = std::max(last, std::clamp(y / 100.0, 0.0, 1.0));
            samples[i] = last;
        }
        fProfile->AddCurveTag(signature, samples);
    }
    TKCurveLinearization curve;
    LoadCurve(curve, signature);
    return curve;
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetRGBMatrixTrafoA2B(int32_t intent) {
    TKRefPtr<TKRGBXYZMatrixTrafo> trafo(new TKRGBXYZMatrixTrafo(true), true);
    SetMatrixFromProfile(*trafo, intent);
    LoadRGBCurves(*trafo);
    const uint32_t pcs = PCS();
    return pcs == kXYZ ? TKRefPtr<TKTrafo>(trafo) : Chain({TKRefPtr<TKTrafo>(trafo), Convert(kXYZ, pcs)});
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetRGBMatrixTrafoB2A(int32_t intent) {
    TKRefPtr<TKRGBXYZMatrixTrafo> trafo(new TKRGBXYZMatrixTrafo(false), true);
    SetMatrixFromProfile(*trafo, intent);
    LoadRGBCurves(*trafo);
    return Chain({Convert(PCS(), kXYZ), TKRefPtr<TKTrafo>(trafo)});
}

TKRefPtr<TKTrafo> TKICCTrafoBuilder::GetGrayTrafo(bool forward) {
    const uint32_t pcs = PCSIsCIE() ? PCS() : kXYZ;
    TKRefPtr<TKGrayTRCTrafo> trafo(new TKGrayTRCTrafo(TKCurveLinearization(), forward, pcs), true);
    LoadGrayCurve(*trafo);
    const uint32_t own = trafo->GetPCS();
    if (forward) return Chain({TKRefPtr<TKTrafo>(trafo), pcs == own ? nullptr : Convert(own, pcs)});
    return Chain({pcs == own ? Convert(pcs, pcs) : Convert(pcs, own), TKRefPtr<TKTrafo>(trafo)});
}
