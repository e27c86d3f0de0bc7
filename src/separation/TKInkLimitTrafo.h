// Ink limiting: TKInkLimitTrafo brings an ink colour under a total area coverage (TAC), under a
// limit per channel and a limit of black by reducing only the colours over a limit;
// TKScaledInkLimitTrafo bends the whole ink cube smoothly into the limited volume.
#pragma once

#include <cstdint>

#include "color/TKColorTrafo.h"
#include "numeric/TKMatrix.h"

class TKInkLimitTrafo : public TKColorTrafo {
    TK_DECLARE_CLASS(TKInkLimitTrafo, TKColorTrafo)
public:
    // Mode bits: keep the hue while reducing, and two choices of the weight of dark colours.
    enum ModeBits : uint32_t { kKeepHue = 1, kDarkWeightShadow = 2, kDarkWeightMax = 4 };

    // `tac` is normalized as by SetTAC; an empty `channelLimits` keeps four times 100 "CMYK".
    explicit TKInkLimitTrafo(double tac = 400.0, const TKVector& channelLimits = TKVector());

    // Limits a colour of the prepared type (RGB counts as its CMY complement) through DoLimit.
    TKVector Trafo(const TKVector& source) const override;

    // Virtual operations, in table order.
    // The colour brought under the black, total and channel limits, with the type it came with.
    virtual TKVector DoLimit(const TKVector& colour) const;
    // Prepares the limits for colours of an ink type (RGB as "CMY "); any other type is
    // WrongDataType. Setting the prepared type again changes nothing.
    virtual void SetColorType(uint32_t type);
    virtual TKVector LimitTotal(const TKVector& colour) const;
    virtual TKVector LimitChannels(const TKVector& colour) const;
    virtual TKVector LimitBlack(const TKVector& colour) const;

    // The setters keep what they are given and prepare it again for the type already set.
    void SetChannelLimits(const TKVector& limits);
    void SetBlackLimits(const TKVector& limits);
    void SetMode(uint32_t mode);
    // At most 0 gives 200, (0, 100] gives 100; larger totals stay.
    void SetTAC(double tac);
    double GetTAC() const { return fTAC; }
    uint32_t GetMode() const { return fMode; }
    // The limits as prepared for the current type (as given before any SetColorType).
    TKVector GetChannelLimits() const { return fChannelLimits; }
    TKVector GetBlackLimits() const { return fBlackLimits; }
    // True when some colour of the prepared type can be changed by the limits.
    bool IsActive() const { return fActive; }
    uint32_t GetColorType() const { return fColorType; }

    // Reduces `colour` to the total `limit`: black is kept and the other inks carry the
    // reduction; `reference`, a limited full black, pulls dark colours towards its balance.
    static TKVector ReduceTo(const TKVector& colour, double limit, bool keepHue, const TKVector& reference);

protected:
    // Derives the prepared limits of `type` from the given ones; the base of SetColorType.
    void PrepareLimits(uint32_t type);
    // The type limited colours are checked against: RGB is limited as CMY.
    static uint32_t LimitedType(uint32_t type);
    void CheckType(const TKVector& inks) const;

    bool fActive = false;

private:
    void Reprepare();

    TKVector fGivenChannelLimits;
    TKVector fGivenBlackLimits;
    TKVector fChannelLimits;
    TKVector fBlackLimits;
    double fTAC = 400.0;
    uint32_t fMode = kKeepHue;
    uint32_t fColorType = 0;
};

// The limited ink cube: every colour is the n-linear mix of the limited corners of the cube, so
// the limited volume has no kinks.
class TKScaledInkLimitTrafo : public TKInkLimitTrafo {
    TK_DECLARE_CLASS(TKScaledInkLimitTrafo, TKInkLimitTrafo)
public:
    // 2^n corners are kept, so the cube is made for at most this many channels.
    static constexpr int32_t kMaxChannels = 16;

    explicit TKScaledInkLimitTrafo(double tac = 400.0, const TKVector& channelLimits = TKVector());

    TKVector DoLimit(const TKVector& colour) const override;
    // As the base, then builds the table of limited corners; more than kMaxChannels channels
    // is DimMismatch.
    void SetColorType(uint32_t type) override;
    const TKMatrix& GetCornerTable() const { return fCornerTable; }

private:
    TKMatrix fCornerTable;
};
