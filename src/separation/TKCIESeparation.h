// Separation of a CIE colour into any number of inks through a table of colorants: each entry
// is a device colour with its measured colour. Three ways: a scattered-point interpolation of the
// table (1), the angle of hue around the gray axis (2), and a solve in the frame of two inks and
// black (3). TKCIESeparation is the shell that owns one of them.
#pragma once

#include <memory>

#include "color/TKColorTypeTrafo.h"
#include "color/TKColors.h"
#include "numeric/TKCurveLinearization.h"
#include "numeric/TKScatteredInterpolation.h"

class TKColorChart;

class TKCIESeparationBase : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKCIESeparationBase, TKColorTypeTrafo)
public:
    // Colours of `deviceType` (ink type, WrongDataType otherwise) come out.
    explicit TKCIESeparationBase(uint32_t deviceType);

    int32_t GetSrcType() const override { return int32_t(TKColorSig("Lab ")); }
    int32_t GetDstType(int32_t) const override { return int32_t(fDeviceType); }
    // Any CIE colour in, the inks out, clipped to 0..100.
    TKVector Trafo(const TKVector& source) const override;

    // The colorant table of a forward trafo (device to CIE): a grid over the ink cube, five
    // steps per ink for up to four inks, three for up to eight (DimMismatch above).
    virtual void Init(const TKTrafo& forward);
    // Forgets the table; the black index goes back to 3.
    virtual void Clear();
    // Adds one entry (DimMismatch for a device colour of another size or a colour of other than
    // three channels). The all-zero entry is the paper, the one of lowest lightness the darkest.
    virtual void AddColorant(const TKVector& device, const TKVector& colour);

    // Tone curves per channel from the single-ink wedges of a chart (device values of this
    // device type and any measured CIE or spectral type): the share of the way from paper to
    // solid that a wedge step prints, projected on the solid's direction in "Lcs ", against its
    // ink. The hue-angle and frame methods find such shares and give the ink that prints them, so
    // dot gain does not stay in their answer. Init takes the curves from its own grid.
    // WrongDataType for a chart without this device type or without measurements; a channel
    // whose wedge has fewer than three steps keeps a straight curve.
    void SetLinearization(const TKColorChart& chart);
    // The ink (0..100) that prints `share` (0..1) of channel `channel`'s solid.
    double InkForShare(int32_t channel, double share) const;

    // 3 when channel 3 is a black of its own, -1 when the device has none.
    int32_t GetBlackIndex() const { return fBlackIndex; }
    void SetBlackIndex(int32_t index);
    int32_t GetColorantCount() const { return int32_t(fLab.size()); }

protected:
    // The separation proper, on a Lab colour; the table has entries (Trafo checks).
    virtual TKVector Separate(const TKVector& lab) const = 0;
    // The solid of each channel: its table row, or -1.
    int32_t SolidRow(int32_t channel) const;
    // Called when the table changed.
    virtual void TableChanged() {}
    // The tone curves from rows of device values and their "Lab " colours.
    void Linearize(const std::vector<TKVector>& device, const std::vector<TKVector>& lab);

    uint32_t fDeviceType;
    int32_t fBlackIndex = 3;
    std::vector<TKVector> fDevice;
    std::vector<TKVector> fLab;
    TKVector fPaper;
    TKVector fDarkest;
    std::vector<TKCurveLinearization> fTone;  // share -> ink, both 0..1; empty: straight
};

// The table interpolated by TKScatteredInterpolation (exponent 20), then each extra ink (beyond
// CMY and black) limited by its share of chroma and only the strongest inks kept.
class TKCIESeparation1 : public TKCIESeparationBase {
    TK_DECLARE_CLASS(TKCIESeparation1, TKCIESeparationBase)
public:
    static constexpr double kExponent = 20.0;
    using TKCIESeparationBase::TKCIESeparationBase;

protected:
    TKVector Separate(const TKVector& lab) const override;
    // Fits the interpolation anew, so that a transform only reads.
    void TableChanged() override;

private:
    std::shared_ptr<const TKScatteredInterpolation> fInterpolation;
};

// Black from the position between paper and darkest lightness, weakened by chroma; each
// chromatic ink from its angular distance to the colour's hue and its relative chroma.
class TKCIESeparation2 : public TKCIESeparationBase {
    TK_DECLARE_CLASS(TKCIESeparation2, TKCIESeparationBase)
public:
    using TKCIESeparationBase::TKCIESeparationBase;

protected:
    TKVector Separate(const TKVector& lab) const override;
};

// For each pair of chromatic inks, colour minus paper in the frame of the two inks and black (a
// 3x3 solve in "Lcs "); the pair whose shares are all positive with the smallest total wins.
// Colours no pair frames get the answer of TKCIESeparation2.
class TKCIESeparation3 : public TKCIESeparation2 {
    TK_DECLARE_CLASS(TKCIESeparation3, TKCIESeparation2)
public:
    using TKCIESeparation2::TKCIESeparation2;

protected:
    TKVector Separate(const TKVector& lab) const override;
};

// The shell: owns one of the three by number.
class TKCIESeparation : public TKColorTypeTrafo {
    TK_DECLARE_CLASS(TKCIESeparation, TKColorTypeTrafo)
public:
    // ArgErr for a method other than 1, 2 or 3.
    TKCIESeparation(int32_t method, uint32_t deviceType);
    ~TKCIESeparation() noexcept override;
    int32_t GetSrcType() const override { return fSeparation->GetSrcType(); }
    int32_t GetDstType(int32_t type) const override { return fSeparation->GetDstType(type); }
    TKVector Trafo(const TKVector& source) const override { return fSeparation->Trafo(source); }
    TKCIESeparationBase* Get() const { return fSeparation.Get(); }

private:
    TKRefPtr<TKCIESeparationBase> fSeparation;
};
