// TKICCTrafoBuilder: the way from a profile to a colour trafo. Chooses the tag for an intent,
// builds the stage list of a LUT tag, the matrix-shaper and gray forms, wraps them for absolute
// and special intents, resamples on request, and finds media, device and BPC black points.
// It works on one profile it holds by count; build from one thread at a time, since tags swap
// their bytes while trafos are made from them.
#pragma once

#include <cstdint>

#include "icc/TKICCLutTrafos.h"
#include "icc/TKICCProfile.h"
#include "numeric/TKTrafoList.h"

class TKICCTrafoBuilder {
public:
    // The modifier bit of intents that asks for a refined inverse of a B2A table.
    static constexpr int32_t kRefineBit = 0x40;
    // The grid code that keeps the profile's own table as it stands.
    static constexpr int32_t kOwnGrid = -3;
    // The header-intent code.
    static constexpr int32_t kHeaderIntent = 20;

    // PtrInvalid for a null profile.
    explicit TKICCTrafoBuilder(TKICCProfile* profile);
    TKICCProfile& Profile() const { return *fProfile; }

    // ---- Tag choice ----
    uint32_t GetA2BTag(int32_t intent) const;
    uint32_t GetB2ATag(int32_t intent) const;

    // ---- Trafos by intent ----
    // See the source for the grid rules. TrafoCreationErr when nothing could be built;
    // With kRefineBit, GetB2ATrafo gives a TKInvColorTrafo that starts from the B2A table and
    // searches against the A2B table of the same intent.
    TKRefPtr<TKTrafo> GetA2BTrafo(int32_t intent, int32_t gridCode = kOwnGrid, int32_t* outGrid = nullptr);
    TKRefPtr<TKTrafo> GetB2ATrafo(int32_t intent, int32_t gridCode = kOwnGrid, int32_t* outGrid = nullptr);
    TKRefPtr<TKTrafo> GetA2B0Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetB2A0Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetA2B1Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetB2A1Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetA2B2Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetB2A2Trafo(int32_t intent);
    TKRefPtr<TKTrafo> GetA2BAbsoluteTrafo(int32_t intent);
    TKRefPtr<TKTrafo> GetB2AAbsoluteTrafo(int32_t intent);
    TKRefPtr<TKTrafo> GetA2BSpecialTrafo(int32_t intent);
    TKRefPtr<TKTrafo> GetB2ASpecialTrafo(int32_t intent);

    // ---- Tags and their pipelines ----
    // The stage list of an "mft1", "mft2", "mAB " or "mBA " tag; MissingICCTag otherwise.
    TKRefPtr<TKTrafoList> GetLutTrafo(uint32_t tagSignature);
    // Grid points of a LUT tag (the largest channel of a 4-LUT), 0 for anything else.
    int32_t GetLutGridPoints(uint32_t tagSignature) const;
    // The weight rule of the grid stage for a tag: 2 inks or device to device or device input of
    // a printer, 1 XYZ input, 0 otherwise.
    int32_t GetInterpolationMode(uint32_t tagSignature) const;

    // ---- Matrix-shaper and gray ----
    TKRefPtr<TKTrafo> GetRGBMatrixTrafoA2B(int32_t intent);
    TKRefPtr<TKTrafo> GetRGBMatrixTrafoB2A(int32_t intent);
    TKRefPtr<TKTrafo> GetGrayTrafo(bool forward);
    // The gray tone curve "kTRC" (device value 0 black to 1 white onto Y, or L* / 100 for a Lab
    // connection space). A gray profile that describes its gray only by an A2B table gets the
    // curve sampled from the relative table and stored as its "kTRC": the way back from the
    // connection space then exists, and a written copy of the profile carries the curve.
    // MissingICCTag when there is neither.
    TKCurveLinearization CreateGrayTRC();
    // Colorants in the columns, D50 white relative, Y = 100.
    void SetMatrixFromProfile(TKRGBXYZBaseTrafo& trafo, int32_t intent);
    void LoadRGBCurves(TKRGBXYZBaseTrafo& trafo);
    void LoadGrayCurve(TKGrayTRCTrafo& trafo);
    // MissingICCTag when the tag is absent.
    void LoadCurve(TKCurveLinearization& curve, uint32_t signature);

    // ---- Black points (XYZ, Y = 100 for white) ----
    TKVector GetMediaBlackPoint(int32_t b2aIntent, int32_t a2bIntent);
    // The device values of black; with outMaxInk, the largest channel sum of the darkest colours.
    TKVector GetDeviceBlackPoint(int32_t intent, double* outMaxInk);
    // Black points for black point compensation; the global option "UseOldBPC" selects the
    // older routines. `chart` (may be null) maps device values as the caller measured them.
    TKVector GetBlackPointForBPC(int32_t intent, TKTrafo* chart, bool neutral);
    TKVector GetBlackPointForBPCWithTable(int32_t intent, TKTrafo* chart, bool neutral);
    TKVector GetBlackPointForBPCOld(int32_t intent, TKTrafo* chart, bool neutral);
    // The inks of a printer's darkest colour, by inverse search from Lab 0.
    TKVector DarkestInks();
    TKVector GetBlackPointForBPCWithTableOld(int32_t intent, TKTrafo* chart, bool neutral);

    // ---- Helpers shared by the family ----
    uint32_t ColorSpace() const;
    uint32_t PCS() const;
    bool PCSIsCIE() const;

private:
    enum class Direction { kA2B, kB2A };
    uint32_t TagFor(Direction direction, int32_t intent) const;
    TKRefPtr<TKTrafo> ByIntent(Direction direction, int32_t intent, int32_t gridCode, int32_t* outGrid);
    TKRefPtr<TKTrafo> Family0(Direction direction, int32_t intent);
    TKRefPtr<TKTrafo> FamilyN(Direction direction, int32_t which, int32_t intent);
    TKRefPtr<TKTrafo> Absolute(Direction direction, int32_t intent);
    TKRefPtr<TKTrafo> Special(Direction direction, int32_t intent);
    TKRefPtr<TKTrafo> Resample(TKTrafo* trafo, int32_t grid);
    bool HasTag(uint32_t signature) const;
    // The L of the best straight-line fit; the core of the round-trip black point.
    TKVector TableBlackPoint(int32_t intent, TKTrafo* chart, bool neutral, bool old);

    TKRefPtr<TKICCProfile> fProfile;
};

// The canonical step of a grid: 65, 33, 17, 9, 5, 3 or 2; below 1 stays.
int32_t TKICCCanonicalGrid(int32_t grid);
